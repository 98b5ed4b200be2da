// SPDX-License-Identifier: MIT
// Kills changes at their system calls, and lets those calls fail: killed-saves PART PARTS [all]
//
// Every change is run once to see its calls. Then it is run again for each call behind the reading
// of the request: killed before it, and with each error that the call can end with. Stores and
// descriptions must be what they were before the change or what they are after it; the next request
// brings that about where the change was cut, and says so; no draft is left and nothing stays
// locked. What was told to be saved is saved, and what was refused is not.
//
// Between two calls that change a file nothing can differ on the disk, so that it is enough to kill
// before those; and one error a call will do. With "all", every call is a place to be killed at,
// and fails in every way. PART of PARTS, from 0, is what this run takes on.
import fs from 'node:fs';

import { MAIN, STORES, differing, expect, faultsOf, finish, get, post, restore, send, stores,
	treeOf } from './router.mjs';

const [part = '0', parts = '1', extent = ''] = process.argv.slice(2);
const CALLS = '/tmp/calls';
const SAYS_RECOVERED = /cut off half way/;

/* --- calls --- */

const OPEN = ['openat', 'open', 'creat'];
const WRITE = ['write', 'pwrite64', 'writev', 'fallocate', 'ftruncate', 'fsync', 'fdatasync'];
const MAKE = ['mkdir', 'mkdirat', 'rename', 'renameat', 'renameat2', 'link', 'linkat'];
const REMOVE = ['unlink', 'unlinkat', 'rmdir'];
const GIVE = ['fchmod', 'fchmodat', 'chmod', 'fchown', 'fchownat', 'chown'];
const LOOK = ['read', 'pread64', 'getdents64', 'fstat', 'newfstatat'];

// Those that change what is on the disk, or who may, and the last.
const CHANGING = [...OPEN, ...WRITE, ...MAKE, ...REMOVE, ...GIVE, 'sendfile', 'copy_file_range',
	'flock', 'close', 'exit_group'];

// The errors that calls end with on a disk that is full, broken or write-protected, and in a
// process without room for another file. Opening a file to read it ends with none of those toWrite.
const ERRORS = [
	{ error: 'ENOSPC', calls: [...OPEN, ...WRITE, ...MAKE], toWrite: true },
	{ error: 'EIO', calls: [...OPEN, ...WRITE, ...MAKE, ...REMOVE, ...GIVE, ...LOOK] },
	{ error: 'EROFS', calls: [...OPEN, 'ftruncate', ...MAKE, ...REMOVE, ...GIVE],
		toWrite: true },
	{ error: 'EMFILE', calls: [...OPEN, 'dup', 'dup3', 'pipe2', 'memfd_create', 'socket'] },
];

function errorsOf(call)
{
	const reads = OPEN.includes(call.name) && !/O_(WRONLY|RDWR|CREAT|TRUNC)/.test(call.line);
	return ERRORS.filter(row => row.calls.includes(call.name) && !(row.toWrite && reads))
		.map(row => row.error);
}

// The calls of a change behind the last read of the request, each with its number among those of
// its name.
function callsOf(request)
{
	const answer = send(request, ['/usr/bin/strace', '-f', '-o', CALLS, MAIN]);
	const counts = {};
	const calls = fs.readFileSync(CALLS, 'latin1').split('\n').map(line => {
		const [, name] = /^\d+ +([a-z_0-9]+)\(/.exec(line) ?? [];
		counts[name] = (counts[name] ?? 0) + 1;
		return { name, nth: counts[name], line: line.replace(/^\d+ +/, '') };
	}).filter(call => call.name);
	const body = calls.findLastIndex(call => /^read\(0,/.test(call.line));
	return { answer, calls: calls.slice(body + 1) };
}

// A signal gets through only where strace looks at every call.
const tamper = (request, call, how) => send(request, ['/usr/bin/strace', '-f', '-o', '/dev/null',
	...how.startsWith('error') ? ['--seccomp-bpf'] : [],
	'-e', `trace=${call.name}`, '-e', `inject=${call.name}:${how}:when=${call.nth}`, MAIN]);

/* --- changes --- */

const change = (kind, action, object) => post({ obj: kind, type: 'display', action, ...object });

const CHANGES = {
	'save of a port list': () => change('port', 'save',
		{ id: 'new', desc: 'for the printer', port_list: ['9100', '515'] }),
	'update of a port list': () => change('port', 'update',
		{ id: 'sip', desc: 'calls', port_list: '5060-5062', changed: ['desc',
		'port_list'] }),
	'delete of a port list': () => change('port', 'delete', { id: 'smb2' }),
	'save of a class': () => change('class', 'save', { id: 'new', parent_id: 'fibre', prio: '2',
		rate: '1', rate_unit: 'Mbps', leaf: 'none', filter_id: 'to-guests', changed: '' }),
	'update of a class': () => change('class', 'update', { id: 'fibre-web',
		parent_id: 'fibre-staff', prio: '3', rate: '9', rate_unit: 'Mbps', ceil: '19',
		ceil_unit: 'Mbps', mtu: '1500', leaf: 'sfq', filter_id: 'staff-http',
		unuse_filter_id: 'staff-https', changed: ['rate', 'filter_id'] }),
	'delete of a class': () => change('class', 'delete', { id: 'fibre-voice' }),
	'update of a filter': () => change('filter', 'update', { id: 'sip', trans_proto: 'udp',
		prio: '2', int_ip_id: 'phones', ext_ip_id: 'provider', int_port_id: 'any-port',
		ext_port_id: 'sip', tos: '5', changed: 'prio' }),
	'update of a policy': () => change('policy', 'update', { id: 'LAN1', desc: 'the fibre',
		root_class: 'fibre', default_class: 'fibre-rest', r2q: '20', changed: ['desc',
		'r2q'] }),
	'save of a root with its bands': () => change('basic', 'save', { shape: 'root', id: 'dmz',
		high: 'dmz-voice', middle: 'workshop-desk', low: 'dmz-rest' }),
	'update of a band': () => change('basic', 'update', { shape: 'band', id: 'workshop-desk',
		shared: ['sip', 'plc'] }),
	'another name of an address list': () => post({ obj: 'router', type: 'rename', kind: 'ip',
		id: 'phones', name: 'telephones' }),
	'another name of a filter': () => post({ obj: 'router', type: 'rename', kind: 'filter',
		id: 'sip', name: 'calls' }),
	'the first steps': () => post({ obj: 'router', type: 'first', action: 'make', line: 'LAN2',
		up: '20', calls: '1', work: '1', office: '192.168.7.0/24' }),
	'a restore': () => post({ obj: 'router', type: 'history', action: 'back', entry: '1' }),
	'an import': bundleOf,
};

// What comes before a change, so that it has what it needs.
const FIRST = {
	'delete of a port list': [change('port', 'save', { id: 'smb2', desc: 'old',
		port_list: '446' })],
	'save of a class': [change('class', 'update', { id: 'office-guests', filter_id: [],
		unuse_filter_id: 'to-guests', changed: 'filter_id' })],
	'a restore': [
		change('class', 'save', { id: 'c1', parent_id: 'fibre', rate: '1',
		rate_unit: 'Mbps',
			filter_id: 'f1', leaf: 'none' }),
		change('port', 'update', { id: 'sip', desc: 'calls', port_list: '1' }),
		change('ip', 'save', { id: 'new', desc: 'x', ip_list: '10.0.0.1' })],
};

function bundleOf()
{
	const bundle = send(get({ obj: 'router', type: 'bundle' })).body;
	send(change('port', 'update', { id: 'sip', desc: 'other', port_list: '2' }));
	send(change('ip', 'save', { id: 'new', ip_list: '10.0.0.1' }));
	const variables = { CONTENT_TYPE: 'application/x-qos-bundle' };
	const ask = (action, more = {}) => ({ ...get({ obj: 'router', type: 'bundle', action,
		...more }),
		method: 'POST', body: bundle, variables });
	const [, revision] = /^Revision: (\w+)/m.exec(send(ask('check')).head) ?? [];
	return ask('import', { revision });
}

/* --- what must hold --- */

const is = (files, others) => differing(files, others).length === 0;
const isDone = answer => answer.status === 303 || (answer.status === 200 &&
	/location\.replace\(|The bundle was imported/.test(answer.body));
const isOpen = () => fs.existsSync(`${STORES}/.history/open`);
const strays = () => Object.keys(treeOf('/etc')).filter(name => name.includes('draft'));

// The next request is a change that ends without one, so that it recovers and says so.
const NEXT = change('port', 'save', { id: 'sip', port_list: '1' });

function checkEnd(what, answer, before, after)
{
	const faults = [];
	const wasOpen = isOpen();
	const next = send(NEXT);
	faults.push(...faultsOf(next));
	if (wasOpen !== SAYS_RECOVERED.test(next.out))
		faults.push(wasOpen ? `the next request does not say so: ${next.out.slice(-400)}`
			: 'the next request tells of a change that was not cut');
	const now = stores();
	if (!is(now, before) && !is(now, after))
		faults.push(`neither before nor after: ${differing(now, before)} differ from before,
			` +
			`${differing(now, after)} from after`);
	else if (answer.hasHead && isDone(answer) && !is(now, after))
		faults.push('told to be done, and is not');
	if (isOpen())
		faults.push('the change is still open');
	faults.push(...strays().map(name => `leaves ${name}`));
	expect(what, faults);
}

// A change that is not killed ends with an answer: it is done, or refused with everything as it
// was. Where an earlier one was cut and cannot be put back, that one waits for the next. A store
// that is there and cannot be read ends the program with 255 and a line; what it leaves is for the
// next too.
function checkFailure(what, answer, before, after, wasCut)
{
	const gaveUp = answer.code === 255 && /^libcfl: /m.test(answer.err);
	const faults = faultsOf({ ...answer, hasHead: true, code: gaveUp ? 0 : answer.code });
	const isWritten = !gaveUp && answer.hasHead && /<\/(html|script)>\s*$/.test(answer.body);
	const waits = wasCut && isOpen();
	if (isWritten && !isDone(answer) && !waits && !is(stores(), before))
		faults.push(`refused, and not as before: ${differing(stores(), before)}; ` +
			`${answer.status} ${answer.body.slice(-200)}`);
	expect(`${what}, at once`, faults);
	checkEnd(what, answer, before, after);
}

/* --- the run --- */

const sample = treeOf('/etc');
let turn = 0;
const isMine = () => turn++ % Number(parts) === Number(part);

function layOut(files)
{
	if (!Object.keys(files).some(name => name.includes('/.history/')))
		fs.rmSync(`${STORES}/.history`, { recursive: true, force: true });
	restore('/etc', files);
}

// Leaves a change of a class cut between its two stores.
function cutChange()
{
	const request = CHANGES['update of a class']();
	const files = treeOf('/etc');
	const { calls } = callsOf(request);
	layOut(files);
	const place = calls.findLast(call => /^rename.*qos_config\/filter"/.test(call.line));
	tamper(request, place, 'signal=KILL');
}

// What a call is tried with: of the errors, without "all", one, another at each call.
function waysOf(call)
{
	const errors = errorsOf(call).map(error => `error=${error}`);
	if (extent === 'all')
		return ['signal=KILL', ...errors];
	const kills = CHANGING.includes(call.name) ? ['signal=KILL'] : [];
	return errors.length > 0 ? [...kills, errors[call.nth % errors.length]] : kills;
}

function tryChange(name, request, first, before = stores())
{
	const wasCut = isOpen();
	const { answer, calls } = callsOf(request);
	const after = stores();
	if (!isDone(answer) || is(before, after)) {
		expect(name, [`changes nothing: ${answer.out.slice(-400)}`]);
		return;
	}
	for (const call of calls) {
		for (const how of waysOf(call)) {
			if (!isMine())
				continue;
			layOut(first);
			const what = `${name}: ${how} at call ${call.nth}, ${call.line.slice(0,
				120)}`;
			const ended = tamper(request, call, how);
			if (how !== 'signal=KILL')
				checkFailure(what, ended, before, after, wasCut);
			else if (ended.signal === 'SIGKILL')
				checkEnd(what, ended, before, after);
			else
				expect(what, ['was not killed']);
		}
	}
}

for (const [name, make] of Object.entries(CHANGES)) {
	layOut(sample);
	for (const request of FIRST[name] ?? [])
		send(request);
	const request = make();
	tryChange(name, request, treeOf('/etc'));
}

// The way back from a cut change is cut itself, and fails itself.
layOut(sample);
const whole = stores();
cutChange();
expect('a change that is cut', isOpen() && !is(stores(), whole) ? [] : ['is whole']);
tryChange('a change after one that was cut', CHANGES['update of a port list'](), treeOf('/etc'),
	whole);
finish();

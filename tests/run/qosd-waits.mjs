// SPDX-License-Identifier: MIT
// What qosd waits for, and whom it answers meanwhile, with a qosctl that writes down how it is
// called and does what a test wants:
// qosd-waits start | retries | clients | turns | confirmation | slow | hours | state
import fs from 'node:fs';
import net from 'node:net';
import { spawn, spawnSync } from 'node:child_process';

import { expect, finish } from './router.mjs';

const QOSD = '/usr/local/sbin/qosd';
const CONTROL = '/run/qos/control', PID_FILE = '/run/qos/qosd.pid';
const RECORD = '/run/qos/applied', CONFIRM = '/run/qos/confirm';
const CALLS = '/tmp/calls';
const FAKETIME = '/usr/lib/x86_64-linux-gnu/faketime/libfaketime.so.1';

const sleep = seconds => new Promise(resolve => setTimeout(resolve, 1000 * seconds));
const is = (what, found, expected) => {
	const [one, other] = [found, expected].map(value => JSON.stringify(value));
	expect(what, one === other ? [] : [`is ${one}, not ${other}`]);
};
const holds = (what, condition) => expect(what, condition ? [] : ['does not hold']);

// Waits until it is so; at most that many seconds.
async function until(what, isSo, seconds = 10)
{
	for (let i = 0; i < 100 * seconds; i++) {
		if (isSo())
			return true;
		await sleep(0.01);
	}
	expect(what, [`is not so after ${seconds} s`]);
	return false;
}

/* --- the daemon and its qosctl --- */

const does = (action, lines) => fs.writeFileSync(`/tmp/do-${action}`, lines);

function calmDown()
{
	for (const name of fs.readdirSync('/tmp'))
		if (name.startsWith('do-'))
			fs.rmSync(`/tmp/${name}`);
	forget();
}

const calls = () => fs.readdirSync(CALLS).sort()
	.map(name => fs.readFileSync(`${CALLS}/${name}`, 'utf8').trim()).filter(Boolean);
const callsOf = words => calls().filter(call => call === words).length;

function forget()
{
	for (const name of fs.readdirSync(CALLS))
		fs.rmSync(`${CALLS}/${name}`);
}

async function start(variables = {}, options = [], descriptors = 1024)
{
	const it = spawn('/usr/bin/prlimit',
		[`--nofile=${descriptors}`, QOSD, '--foreground', ...options],
		{ env: { ASAN_OPTIONS: process.env.ASAN_OPTIONS ?? '', ...variables } });
	it.told = '';
	it.stderr.on('data', block => it.told += block);
	it.stdout.on('data', () => {});
	it.ended = new Promise(resolve => it.on('close', (code, signal) => {
		it.end = code ?? signal;
		resolve(it.end);
	}));
	await until('it starts', () => it.end !== undefined ||
		(fs.existsSync(CONTROL) && fs.existsSync(PID_FILE) &&
		fs.readFileSync(PID_FILE, 'utf8').trim() === String(it.pid)));
	return it;
}

async function end(it, signal = 'SIGTERM')
{
	it.kill(signal);
	const status = await it.ended;
	expect('what it tells', /Sanitizer|runtime error/.test(it.told) ? [it.told] : []);
	return status;
}

function resident(it)
{
	const status = fs.readFileSync(`/proc/${it.pid}/status`, 'utf8');
	return Number(/^VmRSS:\s*(\d+)/m.exec(status)[1]);
}

// The ticks of the processor that it took.
const used = it => fs.readFileSync(`/proc/${it.pid}/stat`, 'utf8').split(' ').slice(13, 15)
	.reduce((sum, ticks) => sum + Number(ticks), 0);

/* --- clients --- */

// What comes back for these bytes; isEnd says that nothing more will be asked.
const ask = (bytes, isEnd = false) => new Promise(resolve => {
	const it = net.connect({ path: CONTROL, allowHalfOpen: true });
	let answer = '';
	it.setEncoding('utf8');
	it.on('connect', () => (isEnd ? it.end(bytes) : it.write(bytes)));
	it.on('data', block => answer += block);
	it.on('error', () => {});
	it.on('end', () => it.destroy());
	it.on('close', () => resolve(answer));
});

const question = async line => {
	const answer = await ask(line + '\n');
	try {
		return JSON.parse(answer);
	} catch {
		return { answer };
	}
};

// Writes and goes.
const hangUp = bytes => new Promise(resolve => {
	const it = net.connect(CONTROL);
	it.on('error', () => {});
	it.on('close', resolve);
	it.on('connect', () => it.write(bytes, () => it.destroy()));
});

const OBJECT = `echo '{"qos":1,"devices":[]}'\n`;

/* --- the parts --- */

async function testStart()
{
	does('-boot', 'echo nothing >&2; exit 6\n');
	let it = await start({}, ['--group', 'pages']);
	await until('the boot apply', () => callsOf('apply --boot') === 1);
	const info = fs.statSync(CONTROL);
	is('the mode of the socket', info.mode & 0o777, 0o660);
	const groups = fs.readFileSync('/proc/self/gid_map', 'utf8');
	if (process.getuid() === 0 && /^\s*0\s+0\s+4294967295/m.test(groups))
		is('the group of the socket', info.gid, 4321);
	await until('an empty router is told of', () => it.told.includes('nothing is configured'));
	holds('it is no error', !it.told.includes('failed'));

	const second = spawnSync(QOSD, ['--foreground'], { encoding: 'utf8' });
	is('a second one ends', second.status, 1);
	holds('a second one says why', second.stderr.includes('another qosd runs'));
	is('the first one answers on', (await question('history')).exit, 0);

	it.kill('SIGHUP');
	await sleep(0.3);
	is('calls of a router without anything applied', calls(), ['apply --boot']);
	fs.writeFileSync(RECORD, 'no record');
	await sleep(0.1);
	it.kill('SIGHUP');
	await until('SIGHUP applies again', () => callsOf('apply --again') === 1);
	forget();
	fs.symlinkSync('/usr/share/zoneinfo/Europe/Vienna', '/etc/localtime');
	await until('another zone applies again', () => callsOf('apply --again') === 1);
	fs.rmSync('/etc/localtime');
	await until('no zone applies again', () => callsOf('apply --again') === 2);
	is('SIGTERM ends it', await end(it), 0);
	holds('the shaping stays', !calls().some(call => call.startsWith('stop')));
	is('what is left', fs.readdirSync('/run/qos').sort(), ['applied', 'qosd.lock']);

	forget();
	it = await start();
	await until('a start with a record applies again', () => callsOf('apply --again') === 1);
	it.kill('SIGKILL');
	await it.ended;
	holds('a kill leaves socket and file', fs.existsSync(CONTROL) && fs.existsSync(PID_FILE));
	const other = spawn('/usr/bin/flock', ['--no-fork', PID_FILE, '/bin/sh', '-c', 'echo; exec sleep 60']);
	await new Promise(resolve => other.stdout.once('data', resolve));
	is('the lock is root\'s alone', fs.statSync('/run/qos/qosd.lock').mode & 0o777, 0o600);
	it = await start(); // although somebody else has locked what all may read
	other.kill();
	await until('the next one applies again', () => callsOf('apply --again') === 2);
	is('the next one answers', (await question('history')).exit, 0);

	does('-again', 'sleep 1; : > /tmp/applied-whole\n');
	it.kill('SIGHUP');
	await until('an apply runs', () => callsOf('apply --again') === 3);
	is('SIGTERM waits for it', await end(it), 0);
	holds('it was whole', fs.existsSync('/tmp/applied-whole'));

	// in the background: whoever starts it goes on when the first apply is through
	does('-again', 'sleep 0.5; : > /tmp/applied-first\n');
	const began = spawnSync(QOSD, [], { encoding: 'utf8' });
	is('a start in the background', began.status, 0);
	holds('is through when the first apply is', fs.existsSync('/tmp/applied-first'));
	const pid = Number(fs.readFileSync(PID_FILE, 'utf8'));
	process.kill(pid, 'SIGTERM');
	await until('it ends', () => !fs.existsSync(PID_FILE));

	// a qosctl that is not there
	it = await start({}, ['--qosctl', '/no/such/qosctl']);
	await until('is told', () => it.told.includes('/no/such/qosctl cannot be started'));
	is('and answered', (await question('status')).told, 'qosctl cannot be started');
	is('and no end', await end(it), 0);

	for (const [options, status] of [[['--help'], 0], [['--version'], 0], [['--nonsense'], 2],
		[['word'], 2], [['--group'], 2]])
		is(`qosd ${options}`, spawnSync(QOSD, options).status, status);
}

// What was cut or could not be started is tried again after a pause, what is refused much later.
async function testRetries()
{
	does('-boot', 'kill -KILL $$\n');
	let it = await start();
	await until('the boot apply', () => callsOf('apply --boot') === 1);
	await until('that it was cut is told', () => it.told.includes('was cut by signal 9'));
	await sleep(5);
	is('not at once', calls(), ['apply --boot']);
	does('-boot', 'exit 1\n');
	await until('it is tried again', () => callsOf('apply --boot') === 2, 8);
	fs.writeFileSync(RECORD, 'no record');
	does('-again', 'kill -KILL $$\n');
	await sleep(12);
	is('what is refused is not', calls(), ['apply --boot', 'apply --boot']);
	it.kill('SIGHUP');
	await until('what was applied', () => callsOf('apply --again') === 1);
	does('-again', '');
	await until('is tried again too', () => callsOf('apply --again') === 2, 12);
	is('SIGTERM ends it', await end(it), 0);

	calmDown();
	fs.rmSync(RECORD);
	it = await start({}, ['--qosctl', '/tmp/late']);
	await until('is told', () => it.told.includes('/tmp/late cannot be started'));
	fs.copyFileSync('/usr/local/sbin/qosctl', '/tmp/late');
	await until('it is there later', () => callsOf('apply --boot') === 1, 12);
	await sleep(12);
	is('once', calls(), ['apply --boot']);
	is('SIGTERM ends it', await end(it), 0);
}

async function testClients(isSanitized)
{
	does('status', OBJECT);
	does('plan', `head -c 3000000 /dev/zero | tr '\\0' x\n`);
	const it = await start();
	await question('status');
	await sleep(0.2);
	const before = resident(it);
	const megabyte = 'x'.repeat(1 << 20);
	let expected = 0, answered = 0;
	const wants = async (line, isRight) => {
		expected++;
		if (isRight(await ask(line)))
			answered++;
	};
	const isStatus = answer => answer === '{"qos":1,"exit":0,"told":"","devices":[]}\n';
	const isPlan = answer => JSON.parse(answer).output.length === 3000000;
	const isRefusal = answer => JSON.parse(answer || '{}').exit === 2;
	const all = [];
	for (let i = 0; i < 100; i++) {
		all.push([
			() => wants('status\n', isStatus),
			() => hangUp('status\n'),
			() => hangUp('stat'),
			() => wants(megabyte + '\n', isRefusal),
			() => hangUp(megabyte),
			() => wants('nonsense \0\xff\n', isRefusal),
			() => wants('status\nstatus\nmore', isStatus),
			() => hangUp(''),
			() => wants('plan\n', isPlan),
			() => hangUp('plan\n'),
		][i % 10]());
	}
	await Promise.all(all);
	is('all who asked have their answer', answered, expected);
	is('a line without an end', JSON.parse(await ask('status', true)).exit, 2);
	is('an asker that has said all', await ask('status\n', true),
		'{"qos":1,"exit":0,"told":"","devices":[]}\n');
	is('nothing asked', await ask('', true), '');
	does('check', 'kill -SEGV $$\n');
	is('a qosctl that crashes', (await question('check')).exit, 1);
	is('a qosctl that prints no JSON', (await question('diff')).told, '');
	if (!isSanitized) {
		await until('its memory is what it was', () => resident(it) <= before + 300, 2);
		expect('its memory', resident(it) < 2048 ? [] : [`is ${resident(it)} KiB`]);
	}
	const children = `/proc/${it.pid}/task/${it.pid}/children`;
	is('no child stays', fs.readFileSync(children, 'utf8'), '');
	is('SIGTERM ends it', await end(it), 0);
}

// What changes something is one at a time and never cut; what reads is not waited for, and ends
// with who asked.
async function testTurns()
{
	const alone = 'mkdir /tmp/alone || : > /tmp/two-at-once; sleep 0.1; rmdir /tmp/alone\n';
	for (const verb of ['apply', 'undo', 'compile', '-again'])
		does(verb, alone);
	does('status', OBJECT);
	const it = await start();
	fs.writeFileSync(RECORD, 'no record');
	await sleep(0.1);
	const all = [];
	for (let i = 0; i < 12; i++) {
		all.push(question(['apply', 'undo', 'compile', 'apply confirm=5'][i % 4]));
		if (i % 3 === 0)
			it.kill('SIGHUP');
	}
	const began = Date.now();
	is('status meanwhile', (await question('status')).exit, 0);
	holds('it did not wait for its turn', Date.now() - began < 600);
	is('all are done', (await Promise.all(all)).map(answer => answer.exit), Array(12).fill(0));
	holds('never two at once', !fs.existsSync('/tmp/two-at-once'));
	await until('the rest', () => !fs.existsSync('/tmp/alone'));

	// an errand that is due waits for a client's apply as quietly as for anything else
	does('apply', 'sleep 3\n');
	const long = question('apply');
	await until('a long apply runs', () => callsOf('apply --json') === 4);
	it.kill('SIGHUP');
	await sleep(0.3);
	const before = used(it);
	await sleep(2);
	expect('it waits', used(it) - before < 20 ? [] : [`${used(it) - before} ticks`]);
	await long;

	calmDown();
	does('apply', 'sleep 0.5; : > /tmp/applied-alone\n');
	const leaving = net.connect(CONTROL);
	leaving.write('apply\n');
	await until('an apply runs', () => callsOf('apply --json') === 1);
	leaving.destroy();
	await until('it ends without its client', () => fs.existsSync('/tmp/applied-alone'));
	does('check', 'echo $$ > /tmp/checker; sleep 50\n');
	const client = net.connect(CONTROL);
	client.write('check\n');
	await until('a check runs', () => fs.existsSync('/tmp/checker'));
	await sleep(0.1);
	const checker = Number(fs.readFileSync('/tmp/checker', 'utf8'));
	client.destroy();
	await until('a check ends with its client', () => {
		try {
			process.kill(checker, 0);
			return false;
		} catch {
			return true;
		}
	});
	holds('who asked is told', /user \d+ asks: apply/.test(it.told));
	is('SIGTERM ends it', await end(it), 0);
}

const uptime = () => Math.floor(1000 * parseFloat(fs.readFileSync('/proc/uptime', 'utf8')));

// As qosctl does it: a draft that is renamed.
function waitFor(seconds)
{
	fs.writeFileSync('/run/qos/.confirm.x.draft', `until ${uptime() + 1000 * seconds}\n`);
	fs.renameSync('/run/qos/.confirm.x.draft', CONFIRM);
}

async function testConfirmation()
{
	does('-last-good', 'rm /run/qos/confirm\n');
	let it = await start();
	await until('it has started', () => calls().length === 1);
	waitFor(2);
	await sleep(0.8);
	is('not before its time', callsOf('apply --last-good'), 0);
	await until('the last good state comes back', () => callsOf('apply --last-good') === 1, 3);
	holds('it is told', it.told.includes('no confirmation came'));
	await sleep(0.3);
	waitFor(2);
	await sleep(0.3);
	fs.rmSync(CONFIRM);
	await sleep(2.5);
	is('a confirmation that came', callsOf('apply --last-good'), 1);

	waitFor(2);
	it.kill('SIGKILL');
	await it.ended;
	it = await start();
	await until('after a kill', () => callsOf('apply --last-good') === 2, 4);
	await until('it is through', () => !fs.existsSync(CONFIRM));
	it.kill('SIGKILL');
	await it.ended;
	waitFor(-5);
	it = await start();
	await until('over while it was dead', () => callsOf('apply --last-good') === 3, 3);
	await until('that is through', () => !fs.existsSync(CONFIRM));

	// who asks to confirm in time is not overtaken, though an apply runs until it is over
	does('apply', 'sleep 2\n');
	does('confirm', 'rm /run/qos/confirm\n');
	waitFor(2);
	const others = [question('apply'), question('apply')];
	await until('an apply runs', () => callsOf('apply --json') === 1);
	is('confirmed', (await question('confirm')).exit, 0);
	await Promise.all(others);
	is('and the other apply came after', calls().slice(-3).map(call => call.split(' ')[0]),
		['apply', 'confirm', 'apply']);
	is('no last good state', callsOf('apply --last-good'), 3);

	// one that fails is tried again, and not all the time
	does('-last-good', 'echo no room >&2; exit 1\n');
	waitFor(0);
	await until('it is tried', () => callsOf('apply --last-good') === 4);
	await sleep(2);
	is('once', callsOf('apply --last-good'), 4);
	holds('why it failed is told', it.told.includes('no room'));
	is('SIGTERM ends it', await end(it), 0);
}

// Clients that are slow, all at once: nothing of it keeps the others waiting.
async function testSlow()
{
	does('status', OBJECT);
	does('plan', `head -c 8000000 /dev/zero | tr '\\0' x\n`);
	let it = await start();
	const began = Date.now();
	const closed = [];
	const slow = bytes => {
		const client = net.connect(CONTROL);
		client.on('error', () => {});
		client.on('connect', () => client.write(bytes));
		return client;
	};
	for (let i = 0; i < 20; i++) {
		const half = slow('stat');
		half.resume();
		closed.push(new Promise(resolve => half.on('close', () => resolve(Date.now()))));
	}
	slow('plan\n').pause(); // never reads
	await sleep(0.5);
	is('others are answered', (await question('status')).exit, 0);
	holds('at once', Date.now() - began < 2000);
	const times = (await Promise.all(closed)).map(time => time - began);
	const areRight = times.every(time => time > 1500 && time < 5000);
	expect('half a line is waited for two seconds', areRight ? [] : [String(times)]);
	await sleep(11);
	const open = fs.readdirSync(`/proc/${it.pid}/fd`).length;
	expect('who does not read is left', open <= 12 ? [] : [`${open} descriptors`]);
	is('SIGTERM ends it', await end(it), 0);

	// who cannot be taken on is no work
	it = await start({}, [], 40);
	const many = Array.from({ length: 40 }, () => slow(''));
	await sleep(1);
	const before = used(it);
	await sleep(2);
	expect('without descriptors it waits', used(it) - before < 20 ? [] : [`${used(it) - before} ticks`]);
	many.forEach(one => one.destroy());
	is('and answers later', (await question('status')).exit, 0);
	is('and ends', await end(it), 0);

	is('too few are told', await (await start({}, [], 20)).ended, 1);
}

// How saved, compiled and running stand, without a child and while others are waited for.
async function testState()
{
	const STORES = '/etc/conf/qos_config', SCRIPTS = '/etc/script/qos_config';
	for (const folder of [STORES, SCRIPTS])
		fs.mkdirSync(folder, { recursive: true });
	const touch = (path, ago) => {
		const at = Date.now() / 1000 - ago;
		fs.utimesSync(path, at, at);
	};
	const it = await start();
	await until('the boot apply', () => calls().length === 1);
	let state = await question('state');
	const empty = { qos: 1, exit: 0, told: '', running: [], changing: null, seconds_left: null,
		applied: null, before: null, is_before_nothing: false, compiled: null,
		compiled_at: null, is_stored_newer: false, is_compiled_newer: false, failed: null, devices: [] };
	is('of an empty router', state, empty);
	is('no child was started for it', calls(), ['apply --boot']);

	fs.writeFileSync(`${STORES}/policy`, '[LAN1]\nQDISC=htb\n');
	is('saved', (await question('state')).is_stored_newer, true);
	fs.writeFileSync(`${SCRIPTS}/eth0`, 'QDISC=htb\n');
	touch(`${STORES}/policy`, 60);
	touch(`${SCRIPTS}/eth0`, 30);
	state = await question('state');
	is('compiled', [state.is_stored_newer, state.is_compiled_newer], [false, true]);
	is('since when', state.compiled_at, Math.floor(fs.statSync(`${SCRIPTS}/eth0`).mtimeMs / 1000));
	touch(`${STORES}/policy`, 10);
	is('saved once more', (await question('state')).is_stored_newer, true);

	// a compile that failed, by whoever it was, until scripts are newer
	fs.mkdirSync('/var/lib/qos', { recursive: true });
	const then = Math.floor(Date.now() / 1000) - 8;
	fs.writeFileSync('/var/lib/qos/compiled', `qos-compiled 1\n0 ${then}\nno class fibre\n`);
	state = await question('state');
	is('a compile that failed', [state.failed?.verb, state.failed?.told], ['compile', 'no class fibre']);
	touch(`${STORES}/policy`, 3);
	is('may be mended by a save', (await question('state')).failed, null);
	touch(`${STORES}/policy`, 60);
	is('or not', (await question('state')).failed?.verb, 'compile');
	touch(`${SCRIPTS}/eth0`, 0);
	is('is over with newer scripts', (await question('state')).failed, null);

	// what a client has done, and what it told, of which a part is kept
	does('apply', `echo 'eth0: refused' >&2; yes | head -c 8000 >&2; exit 1\n`);
	await question('apply');
	state = await question('state');
	is('what failed', state.failed?.verb, 'apply');
	holds('what it told', state.failed?.told.startsWith('eth0: refused\ny\n'));
	is('how much of it', state.failed?.told.length, 2047);
	does('confirm', 'exit 1\n');
	await question('confirm');
	is('a confirmation that nothing waits for', (await question('state')).failed?.verb, 'apply');
	does('undo', 'sleep 1\n');
	for (let i = 0; i < 4; i++) {
		does('plan', 'sleep 1\n');
		hangUp('plan\n');
	}
	const long = question('undo');
	await until('an undo runs', () => callsOf('undo --json') === 1);
	const began = Date.now();
	state = await question('state');
	is('what changes something', state.changing, 'undo');
	holds('it did not wait', Date.now() - began < 500);
	await long;
	state = await question('state');
	is('done since', [state.failed, state.changing], [null, null]);

	// what the daemon did by itself, which ends no failure of a client
	fs.writeFileSync(RECORD, 'no record');
	await sleep(0.1);
	does('-again', 'echo no such queue >&2; exit 1\n');
	it.kill('SIGHUP');
	await until('it failed', () => it.told.includes('no such queue'));
	is('an errand that failed', (await question('state')).failed?.told, 'no such queue');
	const again = async () => {
		does('-again', '');
		forget();
		it.kill('SIGHUP');
		await until('it is done again', () => callsOf('apply --again') === 1);
		await sleep(0.3);
	};
	await again();
	is('one that is done', (await question('state')).failed, null);
	await question('apply');
	await again();
	holds('a failure of a client stays', (await question('state')).failed?.told.startsWith('eth0: refused'));
	await question('undo');
	is('an end', (await question('state')).failed, null);

	waitFor(30);
	state = await question('state');
	holds('a confirmation', state.seconds_left === 30 || state.seconds_left === 29);
	fs.rmSync(CONFIRM);
	is('is over', (await question('state')).seconds_left, null);

	// one that did not come, until the next apply or a save, not by a compile
	does('-last-good', 'rm /run/qos/confirm\n');
	const runOut = async () => {
		waitFor(0);
		await until('the last good state came back', () => !fs.existsSync(CONFIRM));
		await sleep(0.3);
		({ failed: state.failed } = await question('state'));
		is('nobody confirmed', [state.failed?.verb, state.failed?.told],
			['confirm', 'nobody confirmed in time: what ran before runs again']);
	};
	await runOut();
	does('compile', '');
	await question('compile');
	is('a compile is no answer', (await question('state')).failed?.verb, 'confirm');
	does('apply', '');
	await question('apply');
	is('an apply is', (await question('state')).failed, null);
	await runOut();
	touch(`${STORES}/policy`, -2);
	is('and so is a save', (await question('state')).failed, null);
	touch(`${STORES}/policy`, 60);
	for (let i = 0; i < 5000; i++)
		fs.writeFileSync(`${SCRIPTS}/x${i}`, '');
	const TRACE = '/run/qos/compile.trace', trace = async () => (await question('trace')).output;
	is('no trace', await trace(), '');
	fs.writeFileSync(TRACE, 'do_policy(4)\n"x"\n');
	is('a trace', await trace(), 'do_policy(4)\n"x"\n');
	fs.writeFileSync(TRACE, 'begin\n' + 'step\n'.repeat(9000));
	is('the end of a long one', await trace(), 'step\n'.repeat(3276));
	fs.rmSync(TRACE);
	fs.symlinkSync('/etc/group', TRACE);
	is('not what a link leads to', await trace(), '');
	fs.rmSync(TRACE);
	is('a folder of no compiler', (await question('state')).exit, 0);
	is('SIGTERM ends it', await end(it), 0);
}

// Turns of a schedule, under a clock that is not the system's.
async function testHours()
{
	fs.mkdirSync('/run/qos', { recursive: true });
	fs.writeFileSync(RECORD, 'no record');
	const zones = [['UTC', '2026-11-21 17:59:57'], ['Asia/Kathmandu', '2026-11-21 17:59:57'],
		['Europe/Vienna', '2026-03-29 01:59:57'], ['Europe/Vienna', '2026-10-25 02:59:57']];
	for (const [TZ, FAKE] of zones) {
		forget();
		const it = await start({ TZ, FAKETIME: `@${FAKE}`, LD_PRELOAD: FAKETIME,
			FAKETIME_DONT_FAKE_MONOTONIC: '1' });
		await until('it has started', () => callsOf('apply --again') === 1);
		await sleep(1);
		is(`${TZ} ${FAKE}: before the hour`, callsOf('apply --again'), 1);
		await until(`${TZ} ${FAKE}: at the hour`, () => callsOf('apply --again') === 2, 4);
		await sleep(1);
		is(`${TZ} ${FAKE}: behind the hour`, callsOf('apply --again'), 2);
		is('SIGTERM ends it', await end(it), 0);
	}
}

const PARTS = { start: testStart, retries: testRetries, clients: testClients, turns: testTurns,
	confirmation: testConfirmation, slow: testSlow, hours: testHours, state: testState };
await PARTS[process.argv[2]](fs.readFileSync(QOSD).includes('__asan_init'));
finish();

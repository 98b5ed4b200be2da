// SPDX-License-Identifier: MIT
// Shows, changes and compiles every router of hostile_stores.mjs. Whatever its stores hold, each
// program ends, what they hold never becomes markup, a page changes nothing, a change leaves the
// lines of the others, and no file gets anywhere but where stores, descriptions and scripts are.
import fs from 'node:fs';
import { spawnSync } from 'node:child_process';

import { MARKS, hostileStores } from './hostile_stores.mjs';
import { COMPILER, KINDS as PRINTED, STORES, differing, encoded, expect, faultsOf, finish, get, post, restore,
	send, stores, treeOf } from './router.mjs';

const SCRIPTS = '/etc/script/qos_config/';
const SECONDS = 60; // whatever takes longer hangs
const KINDS = [...PRINTED, 'basic'];

// The pages of a kind on which what the stores hold shows.
const SHOWN = { policy: 'LAN1', class: 'fibre-web', filter: 'sip', port: 'sip', ip: 'phones',
	basic: 'workshop' };
const CHANGES = {
	policy: { id: 'LAN1', root_class: 'fibre', default_class: 'fibre-rest', r2q: '11' },
	class: { id: 'new', parent_id: 'fibre', prio: '3', rate: '8', rate_unit: 'Mbps',
	leaf: 'none',
		filter_id: 'sip' },
	filter: { id: 'new', trans_proto: 'udp', prio: '1', int_ip_id: 'phones', tos: '5' },
	port: { id: 'new', port_list: '5060-5061' },
	ip: { id: 'new', ip_list: '192.168.1.200-219' },
	basic: { id: 'new', shape: 'root', high: 'newer', middle: 'workshop-desk' },
};
const change = (kind, action) => post({ obj: kind, type: 'display',
	action: kind === 'policy' ? 'update' : action, ...CHANGES[kind] });

const page = (kind, action, id) => get({ obj: kind, type: 'display', action, id });
const pagesOf = kind => [
	get({ obj: kind, type: 'list' }), page(kind, 'edit', SHOWN[kind]), get({ obj: kind,
	type: 'display', action: 'new' }),
	get({ obj: 'router', type: 'state', kind, id: SHOWN[kind] }),
	get({ obj: 'router', type: 'rename', kind, id: SHOWN[kind] }),
	get({ obj: kind, type: 'list', action: 'json' }),
	get({ obj: kind, type: 'list', action: 'ask', id: SHOWN[kind] }),
];
const ALL_PAGES = [...KINDS.flatMap(kind => pagesOf(kind).slice(0, 2)),
	get({ obj: 'router', type: 'history' }), get({ obj: 'router', type: 'overview' })];

// Names that are in the way of a listing, and those of sections that a page may be asked for.
function sectionsIn(kind)
{
	const path = `${STORES}/${kind}`;
	const isFile = fs.lstatSync(path, { throwIfNoEntry: false })?.isFile();
	const text = isFile ? fs.readFileSync(path, 'latin1') : '';
	return [...text.matchAll(/^\[(.*)\]/gm)].map(found => found[1])
		.filter(name => /[^A-Za-z0-9_.-]|\.\.|^[^A-Za-z0-9]|^$/.test(name)).slice(0, 3);
}

const FOLDERS = ['/etc', '/tmp', '/var', '/usr/local'];
const named = () => FOLDERS.flatMap(folder => Object.keys(treeOf(folder, () => false)));
const isExpected = name => name.startsWith(`${STORES}/`) || name.startsWith(SCRIPTS) ||
	name === '/tmp/qos_devinfo';

function checkPages(name, kind)
{
	const before = stores();
	const odd = kind ? sectionsIn(kind).flatMap(id =>
		[page(kind, 'view', id), page(kind, 'edit', id),
			get({ obj: kind, type: 'list', action: 'ask', id })]) : [];
	const pages = kind ? [...pagesOf(kind), ...odd] : ALL_PAGES;
	for (const request of pages)
		expect(`${name}: ${request.query}`, faultsOf(send(request), MARKS));
	expect(`${name}: pages change nothing`, differing(before, stores()));
}

// A page that changes a store leaves every line of it that is not of the object.
function checkChange(name, kind, action)
{
	const before = stores();
	const answer = send(change(kind, action));
	const faults = faultsOf(answer, MARKS);
	const after = stores(), changed = differing(before, after);
	if (answer.status >= 400 && changed.length > 0)
		faults.push(`is refused with ${answer.status} and changes ${changed}`);
	for (const file of changed) {
		const lines = new Set((after[file] ?? '').split(/\r?\n/));
		const lost = (before[file] ?? '').split(/\r?\n/).filter(line => !lines.has(line) &&
			!/^(USE|R2Q|ROOT_CLASS|DEFAULT_CLASS|\[new\])/.test(line));
		if (before[file] !== undefined && !file.includes('/desc/') && action === 'save' &&
			lost.length > 0)
			faults.push(`${file} loses ${JSON.stringify(lost.slice(0, 5)).slice(0,
				300)}`);
	}
	expect(`${name}: ${action} of a ${kind}`, faults);
}

function checkCompile(name)
{
	const before = stores();
	const ran = spawnSync(COMPILER, [], { encoding: 'latin1', timeout: 1000 * SECONDS,
		killSignal: 'SIGKILL', maxBuffer: 1 << 28,
		env: { ASAN_OPTIONS: process.env.ASAN_OPTIONS ?? '' } });
	const faults = [];
	if (![0, 1, 255].includes(ran.status))
		faults.push(`ended with ${ran.status ?? ran.signal}: ${ran.stderr.slice(0, 2000)}`);
	if (/Sanitizer|runtime error/.test(ran.stderr))
		faults.push(ran.stderr.slice(0, 2000));
	if (ran.stdout.includes('(null)') || ran.stderr.includes('(null)'))
		faults.push('prints a null');
	faults.push(...differing(before, stores()).map(file => `changes ${file}`));
	for (const script of fs.readdirSync(SCRIPTS, 'latin1')) {
		if (!/^[A-Za-z0-9][^/]*$/.test(script) || script.includes('draft'))
			faults.push(`leaves ${JSON.stringify(script)}`);
	}
	expect(`${name}: compiled`, faults);
}

const sample = treeOf('/etc');
const [least = '100'] = process.argv.slice(2);
let count = 0;
const before = new Set(named());
for (const [name, kind, make] of hostileStores()) {
	count++;
	make();
	checkPages(name, kind);
	checkCompile(name);
	for (const changed of kind ? [kind] : ['class', 'port', 'basic']) {
		checkChange(name, changed, 'save');
		checkChange(name, changed, 'update');
		const id = CHANGES[changed].id;
		expect(`${name}: delete of a ${changed}`, faultsOf(send(
			post({ obj: changed, type: 'display', action: 'delete', id })), MARKS));
	}
	expect(`${name}: no stray file`, named().filter(file => !before.has(file) &&
		!isExpected(file)));
	expect(`${name}: no draft`, named().filter(file => file.includes('draft')));
	fs.rmSync(STORES, { recursive: true });
	restore('/etc', sample);
}
expect('the size of the corpus', count >= Number(least) ? [] : [`only ${count} stores`]);
finish();

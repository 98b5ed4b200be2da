// SPDX-License-Identifier: MIT
// Many clients change the stores at once, each its own objects, beside a compiler that runs all the
// time: clients-at-once [CLIENTS [ROUNDS]], a round being ten changes.
//
// At every moment each filter that a class names is there, and each list that a filter names: no
// compile may miss one. In the end nothing is lost, nothing of the sample is changed, and each
// filter is marked "use" where a class or a band names it, and only there. One number that all of
// them raise, each from the page that it saw, ends as high as often as it was raised.
import { spawn } from 'node:child_process';

import { COMPILER, differing, expect, faultsOf, finish, get, post, read, sendBeside,
	stores } from './router.mjs';

const [clients, rounds] = [process.argv[2] ?? 16, process.argv[3] ?? 5].map(Number);
const RAISES = 2; // of the common number, by each client

const change = (kind, action, object) => post({ obj: kind, type: 'display', action, ...object });
const isDone = answer => answer.status === 200 && answer.body.includes('location.replace(');

async function must(request)
{
	const answer = await sendBeside(request);
	const faults = faultsOf(answer);
	if (!isDone(answer))
		faults.push(`is answered with ${answer.status}: ${answer.body.slice(-300)}`);
	expect(request.body, faults);
}

/* --- one client --- */

const lists = (i, last) => ({ port_list: [String(1000 + i), `2000-${2000 + last}`] });
const filter = (id, list, tos) => ({ id, trans_proto: 'tcp', prio: '2', int_ip_id: 'staff',
	ext_ip_id: 'anywhere', int_port_id: 'any-port', ext_port_id: list, tos });
const classOf = (id, rate, more) => ({ id, parent_id: 'fibre', prio: '5', rate, rate_unit: 'Kbps',
	ceil: '1', ceil_unit: 'Mbps', leaf: 'none', ...more });

async function playRound(client, round)
{
	const [list, gone, kept, id] = ['p', 'g', 'f',
		'c'].map(kind => `${kind}${client}-${round}`);
	// As the page script posts it, and as a page without a script does.
	const marked = (round + client) % 2 === 0;
	const changed = (...names) => marked ? { changed: names } : {};
	await must(change('port', 'save', { id: list, ...lists(client, round),
		...changed('port_list') }));
	await must(change('filter', 'save', { ...filter(gone, list, '1'), ...changed('tos') }));
	await must(change('filter', 'save', { ...filter(kept, list, ''), ...changed('prio') }));
	await must(change('class', 'save', classOf(id, '10',
		{ filter_id: gone, ...changed('filter_id', 'rate') })));
	await must(change('class', 'update', classOf(id, '20',
		{ filter_id: kept, unuse_filter_id: gone, ...changed('filter_id', 'rate') })));
	await must(change('filter', 'update', { ...filter(gone, list, '3'), ...changed('tos') }));
	await must(change('port', 'update', { id: list, ...lists(client, round + 9),
		...changed('port_list') }));
	await must(change('filter', 'delete', { id: gone }));
	await must(change('class', 'save', classOf(`${id}x`, '1', changed('rate'))));
	await must(change('class', 'delete', { id: `${id}x` }));
}

// Raises the rate of a class that all raise, from what its page showed.
async function raise()
{
	for (;;) {
		const shown = await sendBeside(
			get({ obj: 'router', type: 'state', kind: 'class', id: 'common' }));
		const { revision, values } = JSON.parse(shown.body);
		const answer = await sendBeside(change('class', 'update',
			classOf('common', String(Number(values.rate) + 1), { revision,
			changed: 'rate' })));
		if (answer.status !== 409) {
			expect('a number is raised', isDone(answer)
				? [] : [answer.out.slice(-400)]);
			return;
		}
	}
}

async function play(client)
{
	for (let round = 0; round < rounds; round++) {
		await playRound(client, round);
		if (round < RAISES)
			await raise();
	}
}

/* --- the compiler beside them --- */

const compile = () => new Promise(resolve => {
	const ran = spawn(COMPILER, { stdio: ['ignore', 'ignore', 'pipe'] });
	const told = [];
	ran.stderr.on('data', block => told.push(block));
	ran.on('close', code => resolve({ code, told: Buffer.concat(told).toString('latin1') }));
});

let running = true, compiles = 0;

// What it tells of the sample alone is no news.
async function compileBeside(known)
{
	for (; running; compiles++) {
		const { code, told } = await compile();
		const news = told.split('\n').filter(line => !known.includes(line));
		expect('a compile beside the clients', code === 1 && news.length === 0
			? [] : [`ended with ${code}: ${news.slice(0, 5).join('; ')}`]);
	}
}

/* --- what is stored in the end --- */

function sectionsOf(kind)
{
	const sections = new Map();
	let values;
	for (const line of read(kind).split('\n')) {
		const [, name] = /^\[(.*)\]$/.exec(line) ?? [];
		const equals = line.indexOf('=');
		if (name !== undefined)
			sections.set(name, values = new Map());
		else if (equals > 0 && !line.startsWith('#'))
			values.set(line.slice(0, equals), line.slice(equals + 1));
	}
	return sections;
}

const named = section => [...section].filter(([key]) => key.startsWith('FILTER_ID['))
	.map(([, value]) => value);

function checkMarks(filters)
{
	const used = new Set([...sectionsOf('class').values(), ...sectionsOf('basic').values()]
		.flatMap(named));
	for (const [id, values] of filters) {
		const mark = values.get('USE') === 'use';
		expect(`the mark of ${id}`, mark === used.has(id)
			? [] : [`is ${values.get('USE')}`]);
	}
	for (const id of used)
		expect(`the filter ${id}`, filters.has(id) ? [] : ['is named and not there']);
}

function checkObjects(ports, filters, classes)
{
	for (let client = 0; client < clients; client++) {
		for (let round = 0; round < rounds; round++) {
			const key = `${client}-${round}`;
			const list = [...ports.get(`p${key}`)?.values() ?? []];
			const kept = classes.get(`c${key}`);
			const faults = [];
			if (JSON.stringify(list) !== JSON.stringify(lists(client,
				round + 9).port_list))
				faults.push(`its ports are ${list}`);
			if (filters.get(`f${key}`)?.get('EXT_PORT_ID') !== `p${key}`)
				faults.push('its filter is lost');
			if (filters.has(`g${key}`) || classes.has(`c${key}x`))
				faults.push('what it deleted is there');
			if (kept?.get('RATE') !== '20' || String(named(kept)) !== `f${key}`)
				faults.push(`its class is ${kept ? [...kept].join(' ') : 'lost'}`);
			expect(`what client ${client} saved in round ${round}`, faults);
		}
	}
}

const before = stores();
const linesOf = (files, name) => new Set(files[name].split('\n'));

await must(change('class', 'save', classOf('common', '100', { filter_id: [] })));
const known = (await compile()).told.split('\n');
const compiler = compileBeside(known);
await Promise.all(Array.from({ length: clients }, (none, client) => play(client)));
running = false;
await compiler;

const after = stores();
for (const name of differing(before, after)) {
	const lines = linesOf(after, name);
	expect(`${name} of the sample`, [...linesOf(before, name)].filter(line => !lines.has(line))
		.map(line => `loses ${line}`));
}
const [ports, filters, classes] = ['port', 'filter', 'class'].map(sectionsOf);
checkObjects(ports, filters, classes);
checkMarks(filters);
const rate = classes.get('common')?.get('RATE'), raised = 100 + clients * Math.min(RAISES, rounds);
expect('the common number', rate === String(raised) ? [] : [`is ${rate}, not ${raised}`]);
expect('the compiler', compiles > 3 ? [] : [`ran ${compiles} times only`]);
finish();

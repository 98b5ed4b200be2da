// SPDX-License-Identifier: MIT
// The pages of the sample router by their own buttons: what is filled in arrives in the stores, and
// what is refused leads back to the filled-in form.
import { wait } from './browser.mjs';
import { answer, arrive, button, cgi, checked, choose, click, keep, list, open, openEdit, openNew,
	pick, press, query, read, refused, remove, returned, run, said, same, site, stored, texts,
	type, unfold, value, values } from './session.mjs';

async function drivePolicy()
{
	await open(site + '/');
	await arrive('?obj=router&type=overview');
	await open(cgi + query('policy', 'open', 'LAN1'));
	same('root class', await value('root_class'), 'fibre');
	await choose('select[name=id]', 'LAN2');
	await arrive(query('policy', 'open', 'LAN2'));
	same('device without a policy',
		[await value('id'), await value('r2q'), await value('root_class')],
		['LAN2', '', '']);
	await type('[name=r2q]', '30');
	await pick(button('add1') + '@0', 'fibre');
	await pick(button('add1') + '@1', 'office');
	same('picked', [await value('root_class'), await value('default_class')],
		['fibre', 'office']);
	await click(button('delete1') + '@1');
	same('cleared', await value('default_class'), '');
	await type('[name=desc]', 'not shaped');
	await click(button('save'));
	await wait('the saved policy', () => stored('policy', 'LAN2'));
	await wait('the edit page', async () => (await texts('a img[name=edit]')).length === 1);
	same('saved', [stored('policy', 'LAN2'), read('desc/LAN2.policy')],
		['ROOT_CLASS=fibre\nR2Q=30\nQDISC=htb\n', 'not shaped']);
	same('summary', await texts('.list td a'), ['WAN1 (LAN1)', 'DMZ (LAN2)', 'LAN (LAN3)',
		'WAN2 (LAN4)', 'SERIAL (LAN5)']);
	await type('[name=r2q]', '40');
	await click(button('delete1') + '@0');
	await click(button('edit'));
	await wait('the update', () => stored('policy', 'LAN2').includes('R2Q=40'));
	await arrive(query('policy', 'open', 'LAN2'));
	same('updated', stored('policy', 'LAN2'), 'ROOT_CLASS=\nR2Q=40\nQDISC=htb\n');

	// A page that is older than the policy of its device offers to save it.
	await open(cgi + query('policy', 'new', 'LAN1'));
	await type('[name=desc]', 'mine');
	await refused('save', 'Duplicated ID', query('policy', 'new', 'LAN1'));
	same('form after a refusal', [await value('desc'), await value('root_class')],
		['mine', 'fibre']);

	await open(cgi + list('policy'));
	same('no delete of policies', await run(`document.querySelectorAll('.act a').length`), 0);
}

async function fillClass(id)
{
	await type('[name=id]', id);
	await pick(button('add1'), 'fibre');
	await choose('[name=prio]', '4');
	await type('[name=rate]', '2');
	await choose('[name=rate_unit]', 'Mbps');
	await choose('[name=unuse_filter_id]', 'school');
	await click('input[type=button]@2');
	await choose('[name=leaf]', 'sfq');
	await type('[name=quantum]', '1514');
	await type('[name=perturb]', '10');
	for (const box of ['[name=time_enable]@0', '[name="dow[1]"]@0', '[name="dow[6]"]@0'])
		await click(box);
	await choose('[name=start_hour]', '08');
	await type('[name=time_rate]@0', '512');
}

const CLASS = 'PARENT_ID=fibre\nPRIO=4\nRATE=2\nRATE_UNIT=Mbps\nMTU=1500\nLEAF=sfq\n' +
	'QUANTUM=1514\nPERTURB=10\nFILTER_ID[0]=school\nTIME_ENABLE[0]=enable\nSTART_HOUR[0]=08\n' +
	'END_HOUR[0]=00\nTIME_RATE[0]=512\nTIME_RATE_UNIT[0]=Mbps\nDOW10=1\nDOW60=6\n';
// The same with another leaf, without its filter and with its table switched off.
const CHANGED_CLASS = CLASS.replace('LEAF=sfq\nQUANTUM=1514\nPERTURB=10\nFILTER_ID[0]=school\n' +
	'TIME_ENABLE[0]=enable\n', 'LEAF=bfifo\n').replace('DOW10=1\nDOW60=6\n', 'LIMIT=9000\n');

// The free filters: those of other classes are offered with their owner's name.
const free = () => run(`[...document.getElementsByName('unuse_filter_id')[0].options]
	.filter(({ text }) => !/^\\S+ \\(/.test(text)).map(({ value }) => value)`);

export async function refuseClass(id)
{
	const before = [read('class'), read('filter')];
	await openNew('class');
	await fillClass(id);
	await unfold('Schedule 3');
	for (const box of ['[name=time_enable]@2', '[name="dow[2]"]@2'])
		await click(box);
	await type('[name=time_rate]@2', '7');
	await refused('save', 'Duplicated ID', query('class', 'new'));
	same('form after a refusal',
		[await value('id'), await value('parent_id'), await value('leaf'),
			await value('quantum'), await value('perturb')],
		[id, 'fibre', 'sfq', '1514', '10']);
	same('lists after a refusal', [await values('filter_id'), await free()], [['school'], []]);
	// The third table has moved up to the first that is on.
	same('schedules after a refusal', [await checked('time_enable'), await checked('dow[6]'),
		await checked('dow[2]'), await values('time_rate'), await values('start_hour')],
	[[true, true, false], [true, false, false], [false, true, false], ['512', '7', ''],
		['08', '00', '00']]);
	same('stores after a refusal', [read('class'), read('filter')], before);
}

async function driveClass()
{
	await openNew('class');
	same('new class', [await value('mtu'), await value('leaf'), await texts('#param1 input')],
		['1500', 'none', []]);
	await fillClass('fibre-new');
	await click(button('save'));
	await arrive(list('class'));
	same('saved', stored('class', 'fibre-new'), CLASS);
	same('filter is taken', /USE=.*/.exec(stored('filter', 'school'))[0], 'USE=use');

	await openEdit('class', 'fibre-new');
	same('shown',
		[await value('parent_id'), await value('prio'), await value('quantum'),
			await value('perturb'), await values('filter_id')],
		['fibre', '4', '1514', '10', ['school']]);
	same('shown schedules',
		[await checked('time_enable'), await checked('dow[1]'), await values('start_hour')],
		[[true, false, false], [true, false, false], ['08', '00', '00']]);
	await click('input[type=button]@1');
	same('filters handed back', [await values('filter_id'), await free()], [[], ['school']]);
	await choose('[name=leaf]', 'bfifo');
	await type('[name=limit]', '9000');
	await click('[name=time_enable]@0');
	await click(button('edit'));
	await arrive(list('class'));
	same('updated', stored('class', 'fibre-new'), CHANGED_CLASS);
	same('filter is free', /USE=.*/.exec(stored('filter', 'school'))[0], 'USE=unuse');

	await refuseClass('fibre-new');
	await click('input[type=button]@1'); // the filter stays free
	await type('[name=id]', 'fibre-other');
	await click(button('save'));
	await arrive(list('class'));
	same('sent again', stored('class', 'fibre-other').includes('QUANTUM=1514\n'), true);
	await openNew('class');
	await click(button('cancel'));
	await arrive(list('class'));

	await openEdit('class', 'fibre-voice');
	same('limit', await value('limit'), '30');
	const inputs = `[...document.querySelectorAll('#param1 input, #param2 input')]
		.map(e => e.name)`;
	for (const [leaf, names] of [['sfq', ['quantum', 'perturb']], ['pfifo', ['limit']],
		['none', []], ['bfifo', ['limit']]]) {
		await choose('[name=leaf]', leaf);
		same(`parameters of ${leaf}`, await run(inputs), names);
	}
	for (const id of ['fibre-new', 'fibre-other']) {
		await remove('class', id);
		await arrive(list('class'));
		await wait('the delete', () => stored('class', id) === '');
	}
	await keep('class', 'fibre-rest', 'it takes the rest of WAN1 (LAN1)');
	same('class of a policy stays', stored('class', 'fibre-rest') !== '', true);
}

const TAKEN = 'Duplicated priority: 4 stands in a filter already, and a change to it is refused.';

async function driveFilter()
{
	await openNew('filter');
	await type('[name=id]', 'dns');
	await choose('[name=prio]', '2');
	await choose('[name=trans_proto]', 'udp');
	for (const [n, id] of [[1, 'staff'], [2, 'any-port'], [3, 'provider'], [4, 'sip']])
		await pick(button('add' + n), id);
	await choose('[name=tos]', '6');
	await click(button('save'));
	await arrive(list('filter'));
	const filter = 'NET_PROTO=IP\nTRANS_PROTO=udp\nPRIO=2\nINT_IP_ID=staff\n' +
		'EXT_IP_ID=provider\nINT_PORT_ID=any-port\nEXT_PORT_ID=sip\nTOS=6\n';
	same('saved', stored('filter', 'dns'), filter);

	await openNew('filter');
	await type('[name=id]', 'dns');
	await choose('[name=prio]', '9');
	await pick(button('add3'), 'vault');
	await refused('save', 'Duplicated ID', query('filter', 'new'));
	same('form after a refusal', [await value('id'), await value('ext_ip_id')],
		['dns', 'vault']);

	await openEdit('filter', 'dns');
	same('shown', [await value('prio'), await value('tos'), await value('int_ip_id'),
		await value('ext_port_id')], ['2', '6', 'staff', 'sip']);
	await choose('[name=prio]', '4');
	await pick(button('add1'), 'guests');
	await click(button('edit'));
	await wait('the summary', async () => (await texts('#wrong a')).length === 1);
	same('what is wrong', [await texts('#wrong a'), await said('prio')], [
		['Priority: ' + TAKEN], [TAKEN]]);
	same('form after a refusal', [await value('prio'), await value('int_ip_id')],
		['4', 'guests']);
	same('store after a refusal', stored('filter', 'dns'), filter);
	same('remedies', await texts('.said button'), ['Keep 2', 'Use 9']);
	await click('.said button@1');
	await wait('the remedy', async () => await value('prio') === '9' &&
		(await said('prio')).length === 0);
	await choose('[name=tos]', '');
	await click(button('edit'));
	await arrive(list('filter'));
	same('updated', stored('filter', 'dns'),
		filter.replace('=2', '=9').replace('staff', 'guests').replace('=6', '='));
	await openEdit('filter', 'dns');
	await click(button('cancel'));
	await arrive(list('filter'));
	await remove('filter', 'dns');
	await arrive(list('filter'));
	await wait('the delete', () => stored('filter', 'dns') === '');
	await keep('filter', 'sip', 'the class fibre-voice names it');
}

// What the two kinds of list differ in: how an entry is typed, and which are wrong.
const beside = (typed, allowed) => `${typed}: no entry, allowed is ${allowed}. `;
const noPort = typed => beside(typed,
	'a port (80) or an ascending range (1024-2048), within 0 to 65535');
export const PORTS = {
	kind: 'port', key: 'PORT_LIST', used: 'any-port',
	fillIn: async ([low, high]) => {
		await type('[name=num]', low);
		await type('[name=mask]', high);
	},
	wrong: [
		[['65536', ''], noPort('65536')],
		[['9', '8'], noPort('9-8')],
		[['80', '80'], '80-80: in the list already. '],
	],
	entries: [['80', ''], ['0', '65535'], ['1024', '2048']],
	stored: ['80', '0-65535', '1024-2048'],
};
const noAddress = typed => beside(typed, 'an address (192.168.1.10), one with a prefix length ' +
	'(192.168.1.0/24), or an ascending range of its last number (192.168.1.10-20)');
export const ADDRESSES = {
	kind: 'ip', key: 'IP_LIST', used: 'phones',
	fillIn: async ([address, mark, end]) => {
		await type('[name=ip]', address);
		await choose('[name=sss]', mark);
		await type('[name=prefix]', end);
	},
	wrong: [
		[['1.2.3', '/', ''], noAddress('1.2.3')],
		[['1.2.3.4', '/', '33'], noAddress('1.2.3.4/33')],
		[['1.2.3.4', '-', '3'], noAddress('1.2.3.4-3')],
		[['10.0.0.1', '/', ''], '10.0.0.1: in the list already. '],
	],
	entries: [['10.0.0.1', '/', ''], ['10.0.0.0', '/', '24'], ['10.0.0.8', '-', '15']],
	stored: ['10.0.0.1', '10.0.0.0/24', '10.0.0.8-15'],
};

const ADD = button('Image271211'), DELETE = button('Image261211');

async function fillList({ fillIn, entries })
{
	for (const entry of entries) {
		await fillIn(entry);
		await click(ADD);
	}
}

export async function refuseList(row, id)
{
	await openNew(row.kind);
	await type('[name=id]', id);
	await type('[name=desc]', 'others');
	await fillList(row);
	await refused('save', 'Duplicated ID', query(row.kind, 'new'));
	same('form after a refusal',
		[await value('id'), await value('desc'), await values(`${row.kind}_list`)],
		[id, 'others', row.stored]);
}

async function driveList(row)
{
	const { kind, key, used, fillIn, wrong, stored: entries } = row, field = `${kind}_list`;
	const lines = some => some.map((entry, i) => `${key}[${i}]=${entry}\n`).join('');

	await openNew(kind);
	await type('[name=id]', 'fresh');
	await type('[name=desc]', 'some words');
	await click(button('save'));
	same('a list needs an entry', await answer(), 'ID or Port list is empty.');
	await returned(query(kind, 'new'));
	await fillList(row);
	for (const [entry, message] of wrong) {
		await fillIn(entry);
		await click(ADD);
		same(`what is said of ${entry}`, await texts('.said.typed'), [message]);
		await fillIn(entry.map(part => (/[-/]/.test(part) ? part : '')));
		await click(ADD);
		same('empty boxes', await texts('.said.typed'), []);
	}
	same('entries', await values(field), entries);
	await click(DELETE);
	same('delete of nothing', await texts('.said.typed'), ['Select entries of the list first.']);
	await click(button('save'));
	await arrive(list(kind));
	same('saved', [stored(kind, 'fresh'), read(`desc/fresh.${kind}`)],
		[lines(entries), 'some words']);

	await refuseList(row, 'fresh');

	await openEdit(kind, 'fresh');
	same('shown', [await value('desc'), await values(field)], ['some words', entries]);
	await click(`[name=${field}] option@1`);
	await click(DELETE);
	await click(button('edit'));
	await arrive(list(kind));
	same('updated', stored(kind, 'fresh'), lines([entries[0], entries[2]]));

	await openEdit(kind, 'fresh');
	await click(button('cancel'));
	await arrive(list(kind));
	await remove(kind, 'fresh');
	await arrive(list(kind));
	await wait('the delete', () => stored(kind, 'fresh') === '');
	await keep(kind, used, 'the filter sip names it');
}

// The printed buttons have their images, and words beside them.
async function driveButtons()
{
	const missing = `[...document.images]
		.filter(image => !image.complete || image.naturalWidth !== 62).length`;
	const wordless = `[...document.querySelectorAll('a:has(> img)')]
		.filter(link => link.role !== 'button' || !link.textContent.trim()).length`;
	for (const kind of ['policy', 'class', 'filter', 'port', 'ip']) {
		await open(cgi + query(kind, 'new', 'LAN1'));
		same(`images of ${kind}`, [await run(missing), await run(wordless)], [0, 0]);
	}
	await openNew('ip');
	same('buttons of a list', await texts('a[role=button]'),
		['Add New entries', 'Remove selected New entries', 'Save', 'Cancel']);
	await run(`document.querySelectorAll('.save a')[1].focus()`);
	await press(' ');
	await arrive(list('ip'));
}

export const pages = { policy: drivePolicy, class: driveClass, filter: driveFilter,
	port: () => driveList(PORTS), ip: () => driveList(ADDRESSES), buttons: driveButtons };

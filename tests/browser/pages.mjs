// The pages of the sample router by their own buttons: what is filled in arrives in the stores, and
// what is refused leads back to the filled-in form.
import { wait } from './webdriver.mjs';
import { answer, arrive, button, cgi, checked, choose, click, list, open, openEdit, openNew, pick,
	point, query, read, refused, remove, returned, run, same, site, stored, texts, type, value,
	values } from './session.mjs';

async function drivePolicy()
{
	await open(site + '/');
	await arrive(query('policy', 'open', 'LAN1'));
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
	same('summary', (await texts('td[width="25%"]')).map(text => text.trim()),
		['fibre, 20 Mbps up', 'not shaped', 'office and guests', 'spare line',
			'leased line to the workshop']);
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

	await remove('policy', 'LAN2');
	await arrive(query('policy', 'open', 'LAN2'));
	same('a policy stays', stored('policy', 'LAN2'), 'ROOT_CLASS=\nR2Q=40\nQDISC=htb\n');
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
	'END_HOUR[0]=00\nTIME_RATE[0]=512\nTIME_RATE_UNIT[0]=bps\nDOW10=1\nDOW60=6\n';
// The same with another leaf, without its filter and with its table switched off.
const CHANGED_CLASS = CLASS.replace('LEAF=sfq\nQUANTUM=1514\nPERTURB=10\nFILTER_ID[0]=school\n' +
	'TIME_ENABLE[0]=enable\n', 'LEAF=bfifo\n').replace('DOW10=1\nDOW60=6\n', 'LIMIT=9000\n');

// The free filters: those of other classes are offered with their owner's name.
const free = async () => (await texts('[name=unuse_filter_id] option'))
	.filter(name => !/ /.test(name));

export async function refuseClass(id)
{
	const before = [read('class'), read('filter')];
	await openNew('class');
	await fillClass(id);
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
	await remove('class', 'fibre-rest');
	same('class of a policy', await answer(), 'This is used in another DB');
	await arrive(list('class'));
	same('class of a policy stays', stored('class', 'fibre-rest') !== '', true);
}

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
	await pick(button('add3'), 'vault');
	await refused('save', 'Duplicated ID', query('filter', 'new'));
	same('form after a refusal', [await value('id'), await value('ext_ip_id')],
		['dns', 'vault']);

	await openEdit('filter', 'dns');
	same('shown', [await value('prio'), await value('tos'), await value('int_ip_id'),
		await value('ext_port_id')], ['2', '6', 'staff', 'sip']);
	await choose('[name=prio]', '4');
	await pick(button('add1'), 'guests');
	await refused('edit', 'Duplicated priority', query('filter', 'edit', 'dns'));
	same('form after a refusal', [await value('prio'), await value('int_ip_id')],
		['4', 'guests']);
	same('store after a refusal', stored('filter', 'dns'), filter);
	await choose('[name=prio]', '9');
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
	await remove('filter', 'sip');
	same('filter of a class', await answer(), 'This is used in another DB');
	await arrive(list('filter'));
}

// What the two kinds of list differ in: how an entry is typed, and which are wrong.
const NO_PORT = 'A port is a number from 0 to 65535.';
export const PORTS = {
	kind: 'port', key: 'PORT_LIST', used: 'any-port',
	fillIn: async ([low, high]) => {
		await type('[name=num]', low);
		await type('[name=mask]', high);
	},
	wrong: [
		[['', ''], NO_PORT],
		[['65536', ''], NO_PORT],
		[['9', '8'], 'A range begins with its lower port.'],
		[['80', '80'], '80 is in the list already.'],
	],
	entries: [['80', ''], ['0', '65535'], ['1024', '2048']],
	stored: ['80', '0-65535', '1024-2048'],
};
const NO_ADDRESS = 'An address is four numbers from 0 to 255 with dots between them.';
export const ADDRESSES = {
	kind: 'ip', key: 'IP_LIST', used: 'phones',
	fillIn: async ([address, mark, end]) => {
		await type('[name=ip]', address);
		await choose('[name=sss]', mark);
		await type('[name=prefix]', end);
	},
	wrong: [
		[['1.2.3', '/', ''], NO_ADDRESS],
		[['1.2.3.4', '/', '33'], 'A prefix length is a number from 0 to 32.'],
		[['1.2.3.4', '-', '3'], 'A range ends with a number from 4 to 255.'],
		[['10.0.0.1', '/', ''], '10.0.0.1 is in the list already.'],
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
		same(`alert of ${entry}`, await answer(), message);
	}
	same('entries', await values(field), entries);
	await click(DELETE);
	same('delete of nothing', await answer(), 'Select the entries to delete first.');
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
	// On the page of a port list the button does nothing.
	await arrive(kind === 'port' ? query(kind, 'edit', 'fresh') : list(kind));
	await remove(kind, 'fresh');
	await arrive(list(kind));
	await wait('the delete', () => stored(kind, 'fresh') === '');
	await remove(kind, used);
	same('list of a filter', await answer(), 'This is used in another DB');
	await arrive(list(kind));
}

async function driveButtons()
{
	await openNew('ip');
	const source = () => run(`document.images.save.src.split('/').pop()`);
	await point(button('save'));
	same('hovered button', await source(), 'save01_02.gif');
	await point('h1');
	same('button that was left', await source(), 'save01_01.gif');
	const missing = `[...document.images]
		.filter(image => !image.complete || image.naturalWidth !== 62).length`;
	for (const kind of ['policy', 'class', 'filter', 'port', 'ip']) {
		await open(cgi + query(kind, 'new', 'LAN1'));
		same(`images of ${kind}`, await run(missing), 0);
	}
}

export const pages = { policy: drivePolicy, class: driveClass, filter: driveFilter,
	port: () => driveList(PORTS), ip: () => driveList(ADDRESSES), buttons: driveButtons };

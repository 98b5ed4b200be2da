// SPDX-License-Identifier: MIT
// What is saved unchanged changes no file, and one change changes only that.
import fs from 'node:fs';
import { wait } from './browser.mjs';
import { cgi, list, open, query, read, run, same, stored, write } from './session.mjs';

const KINDS = ['policy', 'class', 'filter', 'port', 'ip'];
const page_of = (kind, id) => query(kind, kind === 'policy' ? 'open' : 'edit', id);

// All files of the stores, one text each.
function read_all()
{
	const names = fs.readdirSync(`${process.env.QOS_ROOT}/etc/conf/qos_config/desc`).sort();
	return [...KINDS, 'basic', ...names.map(name => 'desc/' + name)]
		.map(name => `${name}:\n${read(name)}`).join('\n');
}

async function save(kind, id)
{
	await run(`(go_update(page.form), true)`);
	await wait(`the page after the save of ${id}`, () => run(`document.readyState === 'complete' &&
		performance.timeOrigin > arguments[0] && location.href.endsWith(arguments[1])`, opened,
	kind === 'policy' ? query(kind, 'open', id) : list(kind)));
}

let opened = 0;

async function edit(kind, id)
{
	await open(cgi + page_of(kind, id));
	opened = await run(`performance.timeOrigin`);
}

async function driveUnchanged()
{
	const before = read_all();
	for (const kind of KINDS) {
		for (const [, id] of read(kind).matchAll(/^\[(.*)\]$/gm)) {
			await edit(kind, id);
			await save(kind, id);
			same(`${kind} ${id} saved unchanged`, read_all(), before);
		}
	}
}

// Changes: of what, a field and its value, with the number of the table where it stands in
// several; and what that changes in the section of the store.
const CHANGES = [
	['policy LAN1', 'r2q', '11', 'R2Q=10', 'R2Q=11'],
	['policy LAN4', 'r2q', '12', 'QDISC=htb\n', 'QDISC=htb\nR2Q=12\n'],
	['policy LAN1', 'root_class', 'office', 'ROOT_CLASS=fibre', 'ROOT_CLASS=office'],
	['policy LAN1', 'default_class', '', 'DEFAULT_CLASS=fibre-rest', 'DEFAULT_CLASS='],
	['class fibre-guests', 'parent_id', 'fibre-web', 'PARENT_ID=fibre', 'PARENT_ID=fibre-web'],
	['class fibre-guests', 'prio', '7', 'PRIO=6', 'PRIO=7'],
	['class fibre-guests', 'rate', '2', '\nRATE=1', '\nRATE=2'],
	['class fibre-guests', 'rate', '', '\nRATE=1\nRATE_UNIT=Mbps', '\nRATE='],
	['class fibre-guests', 'rate_unit', 'Kbps', '\nRATE_UNIT=Mbps', '\nRATE_UNIT=Kbps'],
	['class fibre-guests', 'ceil', '3', '\nCEIL=2', '\nCEIL=3'],
	['class dsl-voice', 'ceil_unit', 'Mbps', '\nCEIL_UNIT=Kbps', '\nCEIL_UNIT=Mbps'],
	['class fibre-guests', 'mtu', '1400', 'MTU=1500', 'MTU=1400'],
	['class fibre-guests', 'perturb', '20', 'PERTURB=10', 'PERTURB=20'],
	['class fibre-guests', 'burst', '5', 'DOW61=6\n', 'DOW61=6\nBURST=5\nBURST_UNIT=B\n'],
	['class fibre-guests', 'start_hour', '07', 'START_HOUR[0]=08', 'START_HOUR[0]=07'],
	['class fibre-guests', 'end_hour@1', '22', 'END_HOUR[1]=23', 'END_HOUR[1]=22'],
	['class fibre-guests', 'time_rate@1', '5', 'TIME_RATE[1]=4', 'TIME_RATE[1]=5'],
	['class fibre-guests', 'time_rate_unit', 'bps', 'TIME_RATE_UNIT[0]=Kbps',
		'TIME_RATE_UNIT[0]=bps'],
	['class fibre-guests', 'time_burst', '9', 'TIME_BURST[0]=10', 'TIME_BURST[0]=9'],
	['class fibre-guests', 'time_ceil@1', '11', 'TIME_CEIL[1]=10', 'TIME_CEIL[1]=11'],
	['class fibre-guests', 'dow[1]', '', 'DOW10=1\n', ''],
	['class fibre-guests', 'dow[0]', '0', 'DOW61=6\n', 'DOW61=6\nDOW00=0\n'],
	['class fibre-voice', 'limit', '31', 'LIMIT=30', 'LIMIT=31'],
	['class fibre-web', 'quantum', '1600', 'QUANTUM=1514', 'QUANTUM=1600'],
	['filter sip', 'prio', '9', 'PRIO=1', 'PRIO=9'],
	['filter sip', 'trans_proto', 'tcp', 'TRANS_PROTO=udp', 'TRANS_PROTO=tcp'],
	['filter sip', 'int_ip_id', 'staff', 'INT_IP_ID=phones', 'INT_IP_ID=staff'],
	['filter sip', 'ext_ip_id', 'vault', 'EXT_IP_ID=provider', 'EXT_IP_ID=vault'],
	['filter sip', 'int_port_id', 'sip', 'INT_PORT_ID=any-port', 'INT_PORT_ID=sip'],
	['filter sip', 'ext_port_id', 'rtp', 'EXT_PORT_ID=sip', 'EXT_PORT_ID=rtp'],
	['filter sip', 'tos', '', 'TOS=5', 'TOS='],
	['port web-pair', 'port_list', ['80', '443', '8080'], 'PORT_LIST[1]=443\n',
		'PORT_LIST[1]=443\nPORT_LIST[2]=8080\n'],
	['port web-pair', 'port_list', ['443'], 'PORT_LIST[0]=80\nPORT_LIST[1]=443\n',
		'PORT_LIST[0]=443\n'],
	['ip staff', 'ip_list', ['192.168.1.32-127', '192.168.1.151'], '1.150', '1.151'],
];

const CHANGE = `((name, value) => {
	const [field, table] = name.split('@');
	const found = fields_of(page.form).filter(input => input.name === field)[table || 0];
	if (found.type === 'select-multiple')
		found.replaceChildren(...value.map(entry => new Option(entry, entry)));
	else if (found.type === 'checkbox')
		found.checked = Boolean(value);
	else
		found.value = value;
	found.dispatchEvent(new Event('change', { bubbles: true }));
})(...arguments)`;

async function driveChanges()
{
	const sample = read('class');
	// A unit without a number, as older pages left it, is mended by any change.
	write('class', sample.replace('TIME_BURST[0]=\n', 'TIME_BURST[0]=10\n')
		.replace('TIME_BURST_UNIT[0]=\n', 'TIME_BURST_UNIT[0]=B\n'));
	const before = read_all();
	for (const [object, field, value, ...replaced] of CHANGES) {
		const [kind, id] = object.split(' ');
		const store = read(kind);
		let section = stored(kind, id);
		for (let i = 0; i < replaced.length; i += 2) {
			same(`${object} has`, section.includes(replaced[i]), true);
			section = section.replace(replaced[i], replaced[i + 1]);
		}
		await edit(kind, id);
		await run(CHANGE, field, value);
		await save(kind, id);
		const head = `[${id}]\n`;
		same(`${field} of ${object} becomes ${value}`, read(kind),
			store.replace(head + stored_in(store, id), head + section));
		write(kind, store);
		same(`nothing else than ${field} of ${object}`, read_all(), before);
	}
	write('class', sample);
}

const stored_in = (store, id) => ('\n' + store).split(`\n[${id}]\n`)[1].split(/^[[#]/m)[0];

async function driveDescriptions()
{
	const before = read_all();
	// The last has none yet.
	for (const [kind, id] of [['policy', 'LAN1'], ['port', 'web-pair'], ['ip', 'vault'],
		['ip', 'mail-server']]) {
		const name = `desc/${id}.${kind}`;
		const file = id === 'mail-server' ? null : read(name);
		await edit(kind, id);
		await run(CHANGE, 'desc', 'other words');
		await save(kind, id);
		same(`description of ${id}`, read(name).trim(), 'other words');
		write(name, file);
		same(`nothing else than the description of ${id}`, read_all(), before);
	}
}

export const unchanged = { unchanged: driveUnchanged, 'single changes': driveChanges,
	descriptions: driveDescriptions };

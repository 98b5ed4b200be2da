// SPDX-License-Identifier: MIT
// Requests that no page of this router sends, each with the status, or statuses, that must refuse
// it. They are made from tables, the same on every run: every field with every value that it must
// not hold, and whatever may be wrong about the request around the fields.
import { FORM, encoded, fields, get, post } from './router.mjs';

// What would show in an answer where a value got there as it is.
export const MARKS = [/<q>/, /q'x/, /q"x/];
const MARK = `<q>q'xq"x`;

/* --- values by the form of their field --- */

const COMMANDS = ['a;touch /tmp/ran', '$(touch /tmp/ran)', '`touch /tmp/ran`', 'a|touch /tmp/ran',
	'a&&touch /tmp/ran', 'a\ntouch /tmp/ran', '%s%s%n', '{a,b}', '*', '~', '!a', 'a\\'];
const BYTES = ['a\x00b', '\x00', '\x01', '\x7f', 'a\x1b[31m', '\xff', '\xc0\xaf',
	'\xc0\xae\xc0\xae\xc0\xaf', '\xe0\x80\xaf',
	'\xf0\x80\x80\xaf', '\xed\xa0\x80', '\xf5\x80\x80\x80', '\xc3', '\x80'];
const MARKUP = [MARK, `a'b`, 'a"b', 'a<b', 'a>b', 'a&b', `'onmouseover=alert(1) q'x`,
	'</script><script>alert(1)</script>', '<!--', ']]>', 'javascript:alert(1)'];
const PLACES = ['..', '.', 'a..b', '../../etc/passwd', '/etc/passwd', 'a/b', 'a\\b', '.a', 'a/../b',
	'%2e%2e%2f', 'desc/LAN1.policy'];
const SECTIONS = ['a]', '[a', 'a=b', '#a', 'a\n[b]', 'a\r\nPRIO=1', 'a\rb', 'a\nb', 'a\tb', ' a',
	'a ', ''];
const LONG = ['i'.repeat(33), 'i'.repeat(4000)];
const NUMBERS = ['-1', '+1', ' 1', '1 ', '1.5', '1e3', '0x1', '1,000', '1 000', '12345678901',
	'9'.repeat(400), '\xd9\xa1', 'NaN', 'one', '1;reboot', '1\n', '1%'];
const UNITS = ['', 'kbps', 'Gbps', 'bps Kbps', 'Mbps ', ' bps', 'bit', 'B/s'];

const without = (list, ...gone) => list.filter(value => !gone.includes(value));
const ID = [...PLACES, ...SECTIONS, ...MARKUP, ...COMMANDS, ...BYTES, ...LONG];
const VALUES = {
	ID, REFERENCE: without(ID, ''),
	NUMBER: [...NUMBERS, MARK, ...COMMANDS.slice(0, 4), ...BYTES.slice(0, 4)],
	CHOICE: [...UNITS, '0', '-1', '99', 'x', MARK, ...BYTES.slice(0, 3), ...COMMANDS.slice(0,
	2)],
	CHOICE_OR_NOTHING: ['8', '-1', '00', ' ', 'x', MARK, ...BYTES.slice(0, 3)],
	LINE: [...BYTES, MARK, 'a<b', 'a>b', 'a&b', 'a\nb', 'a\rb', 'a\tb', 'x'.repeat(100),
		'</script><script>alert(1)</script>'],
	PORTS: ['', '-1', '65536', '80-79', '80-', '-80', '1-2-3', 'http', '80,81', ' 80', '80 ',
	'80\n',
		'0x50', '99999999999', MARK, ...BYTES.slice(0, 3), ...COMMANDS.slice(0, 3)],
	ADDRESSES: ['', '1.2.3', '1.2.3.4.5', '256.1.1.1', '1.2.3.256', '1.2.3.9-8', '1.2.3.4/33',
		'1.2.3.4/', '1.2.3.4 ', ' 1.2.3.4', '1.2.3.4\n', '1.2.3.4;reboot', '::1',
		'localhost',
		'1.2.3.4-', '1.2.3.4 -5', '1.2.3.4-5 6', '-1.2.3.4', MARK, ...BYTES.slice(0, 3),
		...COMMANDS.slice(0, 3)],
};

/* --- fields by kind --- */

const SCHEDULE = { start_hour: 'CHOICE', end_hour: 'CHOICE', time_rate: 'NUMBER',
	time_rate_unit: 'CHOICE', time_burst: 'NUMBER', time_burst_unit: 'CHOICE',
	time_ceil: 'NUMBER', time_ceil_unit: 'CHOICE', time_cburst: 'NUMBER',
	time_cburst_unit: 'CHOICE' };
const FIELDS = {
	policy: { id: 'ID', desc: 'LINE', root_class: 'REFERENCE', default_class: 'REFERENCE',
		bandwidth: 'NUMBER', bandwidth_unit: 'CHOICE', r2q: 'NUMBER' },
	class: { id: 'ID', parent_id: 'REFERENCE', prio: 'CHOICE', rate: 'NUMBER',
		rate_unit: 'CHOICE', ceil: 'NUMBER', ceil_unit: 'CHOICE', burst: 'NUMBER',
		burst_unit: 'CHOICE', cburst: 'NUMBER', cburst_unit: 'CHOICE', mtu: 'NUMBER',
		filter_id: 'ID', unuse_filter_id: 'ID', leaf: 'CHOICE', quantum: 'NUMBER',
		perturb: 'NUMBER', limit: 'NUMBER', time_enable: 'CHOICE', 'dow[3]': 'CHOICE',
		...SCHEDULE },
	filter: { id: 'ID', trans_proto: 'CHOICE', prio: 'CHOICE', int_ip_id: 'REFERENCE',
		ext_ip_id: 'REFERENCE', int_port_id: 'REFERENCE', ext_port_id: 'REFERENCE',
		nat: 'LINE', tos: 'CHOICE_OR_NOTHING' },
	port: { id: 'ID', desc: 'LINE', port_list: 'PORTS' },
	ip: { id: 'ID', desc: 'LINE', ip_list: 'ADDRESSES' },
	basic: { id: 'ID', low: 'REFERENCE', middle: 'REFERENCE', high: 'REFERENCE',
		filter_id: 'ID' },
};

// An object of the sample, and what its page would post to leave it as it is.
const POSTED = {
	policy: { id: 'LAN1', root_class: 'fibre', default_class: 'fibre-rest', r2q: '10' },
	class: { id: 'fibre-web', parent_id: 'fibre-staff', prio: '3', rate: '8',
		rate_unit: 'Mbps', ceil: '19', ceil_unit: 'Mbps', mtu: '1500', leaf: 'sfq',
		filter_id: ['staff-http', 'staff-https'] },
	filter: { id: 'sip', trans_proto: 'udp', prio: '1', int_ip_id: 'phones',
		ext_ip_id: 'provider', int_port_id: 'any-port', ext_port_id: 'sip', tos: '5' },
	port: { id: 'sip', port_list: '5060-5061' },
	ip: { id: 'phones', ip_list: '192.168.1.200-219' },
	basic: { id: 'workshop-desk', shape: 'band', filter_id: 'desk' },
};
const change = (kind, action, more = {}) =>
	({ obj: kind, type: 'display', action, ...POSTED[kind], ...more });

function* wrongFields()
{
	let turn = 0;
	for (const [kind, forms] of Object.entries(FIELDS)) {
		for (const [name, form] of Object.entries(forms)) {
			for (const value of VALUES[form]) {
				// A bad first value, and a bad one behind a good one.
				const action = ['save', 'update'][turn++ % 2];
				const values = name === 'filter_id' && turn % 4 === 0
					? ['sip', value] : value;
				yield [400, post(change(kind, action, { [name]: values }))];
			}
		}
	}
}

// What the page script adds to a form.
function* wrongMarks()
{
	const revisions = ['', '0', 'zz', 'g'.repeat(16), 'a'.repeat(4000), '-1', MARK, 'A B',
		...BYTES];
	for (const revision of revisions)
		yield [400, post(change('port', 'update', { revision }))];
	for (const changed of ['nobody', 'RATE', 'rate ', 'PORT_LIST', MARK, ...BYTES])
		yield [400, post(change('class', 'update', { changed }))];
	const days = ['7', '10', '11', '0123456', '01234567', 'mon', '-1', ' ', MARK, ...BYTES];
	for (const day of days.filter(day => day !== '0123456')) {
		const table = { time_enable: 'enable', start_hour: '08', end_hour: '18',
			time_rate: '1', time_rate_unit: 'Mbps', days: day, changed: 'rate' };
		yield [400, post(change('class', 'update', table))];
	}
	yield [400, post(change('class', 'update', { days: '1' }))];
	yield [400, post(change('class', 'update', { time_enable: ['enable', 'enable'],
		days: '1' }))];
	// Nobody looks at what names no filter that is posted; the save is one of a taken id.
	for (const shared of without(ID, ''))
		yield [[200, 400], post(change('class', 'save', { shared }))];
	for (const shared of ID)
		yield [400, post(change('basic', 'update', { shared }))];
}

function* tooMany()
{
	const many = (count, make) => Array.from({ length: count }, (none, i) => make(i));
	yield [400, post(change('port', 'update', { port_list: many(18, i => `${i + 1}`) }))];
	yield [400, post(change('port', 'save', { id: 'new', port_list: many(5000, () => '1') }))];
	yield [400, post(change('ip', 'update', { ip_list: many(18, i => `10.0.0.${i}`) }))];
	yield [400, post(change('class', 'update', { filter_id: many(65, i => `f${i}`) }))];
	yield [400, post(change('basic', 'update', { filter_id: many(65, i => `f${i}`) }))];
	yield [400, post(change('basic', 'update', { shared: many(64, i => `f${i}`) }))];
	yield [400, post(change('class', 'update', { unuse_filter_id: many(65, i => `f${i}`) }))];
	yield [400, post(change('class', 'update', { time_enable: many(4, () => 'enable') }))];
	yield [400, post(change('class', 'update', { time_enable: many(4, () => 'enable'),
		days: many(4, () => '1') }))];
}

// Pages of objects that no request may name.
function* wrongPages()
{
	for (const [i, id] of ID.entries()) {
		const kinds = Object.keys(FIELDS), kind = kinds[i % kinds.length];
		for (const action of ['view', 'edit', 'new', 'open'])
			yield [400, get({ obj: kind, type: 'display', action, id })];
		yield [[400, 404], get({ obj: kind, type: 'list', action: 'ask', id })];
		yield [400, post({ obj: kind, type: 'display', action: 'delete', id })];
		yield [[400, 404], get({ obj: 'router', type: 'state', kind, id })];
		const rename = { obj: 'router', type: 'rename', kind };
		yield [[400, 404], get({ ...rename, id })];
		yield [[400, 409], post({ ...rename, id, name: 'new' })];
		yield [400, post({ ...rename, id: POSTED[kind].id, name: id })];
	}
	for (const word of [MARK, '', 'x', 'basic ', 'POLICY', '../class', ...BYTES]) {
		yield [400, get({ obj: word, type: 'list' })];
		yield [400, get({ obj: 'port', type: word })];
		yield [400, get({ obj: 'port', type: 'display', action: word, id: 'sip' })];
		yield [400, post({ obj: word, type: 'display', action: 'save', id: 'new' })];
		yield [400, get({ obj: 'router', type: 'state', kind: word, id: 'sip' })];
		yield [400, get({ obj: 'router', type: word })];
	}
	yield [400, get({})];
	yield [400, get({ type: 'list' })];
	yield [400, { query: `&&&&=&=&=${encoded(MARK)}` }];
	for (const action of ['save', 'update', 'delete'])
		yield [405, get(change('port', action))];
	for (const action of ['view', 'edit', 'new', 'open'])
		yield [405, post(change('port', action))];
	for (const method of ['PUT', 'DELETE', 'PATCH', 'OPTIONS', 'TRACE', 'CONNECT', 'get',
		'Post',
		'', MARK, 'GET ', 'POST\n', 'X'.repeat(5000)])
		yield [405, { method, query: 'obj=port&type=list', body: fields(change('port',
			'save')) }];
}

// The request around the fields. The change in it would be taken.
function* wrongFrames()
{
	const good = change('port', 'update', { port_list: '1' });
	const body = fields(good);
	for (const length of ['-1', 'x', '1x', '0x10', ' 1', '+5', '1.5', String(body.length + 1),
		'\xff'])
		yield [400, post(good, { CONTENT_LENGTH: length })];
	for (const length of ['65537', '4294967296', '18446744073709551617', '9'.repeat(60)])
		yield [413, post(good, { CONTENT_LENGTH: length })];
	for (const type of ['', 'text/plain', 'multipart/form-data; boundary=x', 'application/json',
		`${FORM}x`, `x${FORM}`, 'application/x-qos-bundle', MARK, null])
		yield [400, post(good, { CONTENT_TYPE: type })];
	yield [413, { method: 'POST', body: `${body}&x=${'x'.repeat(65536)}` }];
	yield [413, { method: 'POST', body: '&'.repeat(1 << 20) }];
	yield [413, { query: `obj=port&type=list&x=${'x'.repeat(65536)}` }];
	for (const nul of ['%00', 'a%00', '%00=1', 'x=%00', 'x=a%00b'])
		yield [400, { method: 'POST', body: `${body}&${nul}` }];
	yield [400, { method: 'POST', body: `${body}&x=\x00` }];
	yield [400, { query: 'obj=port&type=list&x=%00' }];
	for (const escape of ['%', '%2', '%zz', '%%41', '%u0041', '%1', '%-1'])
		yield [400, { method: 'POST', body: `${body}&desc=${escape}%3C` }];
	yield [400, { query: `obj=port&type=list${'&'.repeat(30000)}&id=%3Cq%3E` }];
	yield [400, { method: 'POST', body: `obj=port&obj=${'&x=1'.repeat(12000)}` }];
}

// Who asks, and from where.
function* wrongHosts()
{
	const good = change('port', 'update', { port_list: '1' });
	const hosts = ['router.example', 'evil.example:8080', 'localhost.evil.example',
		'127.0.0.1.nip.example', 'evil@localhost', 'localhost/', 'localhost:x',
		'localhost:', '', '[::1', '::1]', '1.2.3', '256.1.1.1', '0x7f000001',
		'2130706433x', MARK, 'a b', '\xff', '.'];
	for (const host of [...hosts, null]) {
		yield [421, get({ obj: 'port', type: 'list' }, { HTTP_HOST: host })];
		yield [421, post(good, { HTTP_HOST: host })];
	}
	const origins = ['http://evil.example', 'https://evil.example', 'null',
		'http://localhost.evil.example', 'http://localhost:81',
		'http://localhost@evil.example', 'http://evil.example/localhost',
		'http://127.0.0.1', 'localhost', 'file://', '', MARK, '//localhost',
		'http:localhost', 'javascript:localhost', '\xff', 'http://localhost\n', 'http://',
		'ftp://localhost'];
	for (const origin of origins) {
		yield [403, post(good, { HTTP_ORIGIN: origin })];
		yield [403, post(good, { HTTP_REFERER: `${origin}/page`, HTTP_ORIGIN: null })];
		yield [403, post(good, { HTTP_ORIGIN: 'http://localhost', HTTP_REFERER: origin })];
	}
	for (const site of ['cross-site', 'same-site', '', 'SAME-ORIGIN', 'x', MARK,
		'same-origin, cross-site'])
		yield [403, post(good, { HTTP_SEC_FETCH_SITE: site })];
}

// Pages of the router itself.
function* wrongRouter()
{
	const bundle = (action, more, body, variables = {}) => ({ method: 'POST', body,
		query: fields({ obj: 'router', type: 'bundle', action, ...more }),
		variables: { CONTENT_TYPE: 'application/x-qos-bundle', ...variables } });
	for (const action of ['check', 'import']) {
		for (const body of ['', 'x', MARK, '\x00'.repeat(100), 'x'.repeat(100000),
			'\xff'.repeat(50)])
			yield [400, bundle(action, {}, body)];
		yield [413, bundle(action, {}, 'x'.repeat((1 << 20) + 1))];
	}
	for (const revision of ['', 'x', MARK, ...BYTES.slice(0, 3)])
		yield [400, bundle('import', { revision }, 'x')];
	yield [409, post({ obj: 'router', type: 'history', action: 'back', entry: '0' })];
	for (const entry of ['', '-1', 'x', '99999999999999999999', '../open', MARK, ...BYTES])
		yield [400, post({ obj: 'router', type: 'history', action: 'back', entry })];
	yield [400, post({ obj: 'router', type: 'history', action: MARK, entry: '1' })];
	yield [405, post({ obj: 'router', type: 'rules' })];
	yield [405, get({ obj: 'router', type: 'history', action: 'back', entry: '1' })];
	yield [405, get({ obj: 'router', type: 'bundle', action: 'import', revision: 'a' })];
}

// A form that is weighed while it is typed, whatever stands in it: no change, and sound JSON.
function* wrongForms()
{
	for (const [kind, forms] of Object.entries(FIELDS)) {
		for (const [name, form] of Object.entries(forms)) {
			for (const value of VALUES[form])
				yield [[200, 400], post(change(kind, 'weigh', { [name]: value }))];
		}
		for (const value of [...ID, ...NUMBERS])
			yield [[200, 400], post(change(kind, 'weigh', { new: value, days: value }))];
	}
	yield [405, get(change('class', 'weigh'))];
}

// The answers of a new router to its first steps.
function* wrongSteps()
{
	const good = { obj: 'router', type: 'first', line: 'LAN2', inside: '', up: '5', calls: '1',
		work: '1', office: '10.0.0.1-99', fair: '1' };
	const steps = { line: ID, inside: without(ID, ''), up: ['', ...NUMBERS.slice(0, 4), MARK,
		...BYTES], office: without(VALUES.ADDRESSES, '1.2.3.4 ', ' 1.2.3.4'),
		phones: without(VALUES.ADDRESSES, '', '1.2.3.4 ', ' 1.2.3.4') };
	for (const [name, values] of Object.entries(steps)) {
		for (const value of values)
			yield [[200, 400], post({ ...good, action: 'make', [name]: value })];
	}
	for (const action of without(ID, ''))
		yield [400, post({ ...good, action })];
}

const PACKET = { src: '192.168.1.200', sport: '5060', dst: '203.0.113.10', dport: '5060',
	proto: 'udp', device: 'LAN1', tos: '0', fragment: '1' };

// The pages that look at what is there: whatever is asked of them, they show or refuse it, and ask
// nothing of the router that changes it.
function* wrongViews()
{
	const shown = [200, 400, 404];
	const ANY = [...new Set([...ID, ...NUMBERS, ...UNITS])];
	const page = (type, more) => get({ obj: 'router', type, ...more });
	for (const value of ANY) {
		for (const type of ['overview', 'status', 'rules'])
			yield [[200, 400], page(type, { id: value, device: value, action: value })];
		yield [[200, 400, 405], page('apply', { id: value, device: value, action: value })];
		for (const name of ['span', 'device'])
			yield [shown, page('curves', { [name]: value })];
		yield [shown, page('week', { from: value })];
		for (const name of Object.keys(PACKET))
			yield [shown, page('explain', { ...PACKET, [name]: value })];
		yield [shown, get({ obj: 'class', type: 'list', action: 'json', id: value })];
		yield [shown, get({ obj: 'class', type: 'list', action: value })];
		yield [[400, 404], get({ obj: 'class', type: 'list', action: 'ask', id: value })];
		yield [400, post({ obj: 'router', type: 'apply', action: value })];
	}
	for (const type of ['overview', 'curves', 'week', 'explain', 'status'])
		yield [405, post({ obj: 'router', type })];
	// Without qosd nothing can be compiled or applied.
	for (const action of ['compile', 'compile-apply', 'apply', 'confirm', 'undo'])
		yield [503, post({ obj: 'router', type: 'apply', action })];
}

export function* hostileRequests()
{
	for (const make of [wrongFields, wrongMarks, tooMany, wrongPages, wrongFrames, wrongHosts,
		wrongRouter, wrongForms, wrongSteps, wrongViews]) {
		for (const [status, request] of make())
			yield { set: make.name, statuses: [status].flat(), request };
	}
}

// SPDX-License-Identifier: MIT
// The answers of qosctl's plan, explain and week: qosctl_answers.mjs QOSCTL SCRIPTS
//
// SCRIPTS is a copy of the sample office's, which is written to. What week says is compared with a
// reading of the schedule lines of its own, by the clocks that this runtime knows.
import { spawnSync } from 'node:child_process';
import fs from 'node:fs';

const [qosctl, scripts] = process.argv.slice(2);
let failed = false;

function fail(what)
{
	failed = true;
	console.log(`FAILED: ${what}`);
}

function expect(what, found, wanted)
{
	if (JSON.stringify(found) !== JSON.stringify(wanted))
		fail(`${what}: ${JSON.stringify(found)}, not ${JSON.stringify(wanted)}`);
}

function run(args, zone = 'UTC0')
{
	const done = spawnSync(qosctl, ['--scripts', scripts, ...args],
		{ env: { TZ: zone, ASAN_OPTIONS: process.env.ASAN_OPTIONS ?? '' },
			encoding: 'utf8', maxBuffer: 1 << 28 });
	return { status: done.status, out: done.stdout, err: done.stderr };
}

// An answer as JSON: one line, and nothing on standard error.
function ask(args, zone)
{
	const { status, out, err } = run([...args, '--json'], zone);
	expect(`${args.join(' ')}: status`, [status, err], [0, '']);
	if (out.indexOf('\n') !== out.length - 1)
		fail(`${args.join(' ')}: more than a line`);
	return JSON.parse(out);
}

// Refused with that status, one line that says why, and no answer.
function refuse(status, why, args)
{
	const done = run(args);
	expect(`${args.join(' ')}: refused`, [done.status, done.out], [status, '']);
	if (!why.test(done.err) || done.err.trimEnd().includes('\n'))
		fail(`${args.join(' ')}: ${done.err}`);
}

/* --- explain --- */

const lineOf = (file, text) =>
	`${file}:${fs.readFileSync(`${scripts}/${file}`, 'utf8').split('\n').indexOf(text) + 1}`;
const voice = 'eth0-2:10.fibre-voice';
const backup = 'eth0-2:60.fibre-backup'; // has other rates in the night
const control = 'hdlc0-2:1.workshop-control';

const PACKETS = [
	// device, proto, src, dst, more; id, classid, rule
	['eth0', 'udp', '192.168.1.217:5060', '203.0.113.11:5060', ['--tos', '0xa0'],
		'fibre-voice', '1:10',
		lineOf(voice, 'IPTRULE=192.168.1.216/30:0,203.0.113.10/31:5060-5061;udp.5')],
	['eth0', 'udp', '192.168.1.217:5060', '203.0.113.11:5060', ['--tos', '184'],
		'fibre-voice', '1:10',
		lineOf(voice, 'IPTRULE=192.168.1.216/30:0,203.0.113.10/31:5060-5061;udp.5')],
	['eth0', 'udp', '192.168.1.217:5060', '203.0.113.11:5060', [], 'fibre-rest', '1:1000', null],
	['eth0', 'udp', '192.168.1.217:5060', '203.0.113.11:5060', ['--tos', '0xa0', '--fragment'],
		'fibre-rest', '1:1000', null],
	['eth0', 'tcp', '192.168.1.65:40000', '8.8.8.8:443', [], 'fibre-web', '1:30',
		lineOf('eth0-2:20:30.fibre-web', 'IPTRULE=192.168.1.64/26:0,0.0.0.0/0:443;tcp.')],
	['eth0', '6', '192.168.1.65:40000', '8.8.8.8:443', [], 'fibre-web', '1:30',
		lineOf('eth0-2:20:30.fibre-web', 'IPTRULE=192.168.1.64/26:0,0.0.0.0/0:443;tcp.')],
	['eth0', 'tcp', '192.168.20.129', '8.8.8.8', ['--fragment'], 'fibre-guests', '1:50',
		lineOf('eth0-2:50.fibre-guests', 'IPTRULE=192.168.20.128/26:0,0.0.0.0/0:0;tcp.')],
	['eth0', 'icmp', '192.168.20.129', '8.8.8.8', [], 'fibre-rest', '1:1000', null],
	['eth2', 'udp', '203.0.113.10:16511', '192.168.1.219:9', ['--tos', '0xbf'],
		'office-phones', '1:10', lineOf('eth2-2:10.office-phones',
			'RULE=203.0.113.10/31:16384/0xff80,192.168.1.216/30:0/0x0;udp.5')],
	['eth2', 'udp', '203.0.113.10:16512', '192.168.1.219:9', ['--tos', '0xbf'],
		'office-rest', '1:1000', null],
	['hdlc0', 'tcp', '192.168.1.20:9', '10.7.0.20:502', ['--tos', '0xe0'], 'workshop-control',
		'2:1', lineOf(control, 'RULE=192.168.1.20/30:0/0x0,10.7.0.20/32:502/0xffff;tcp.7')],
	['hdlc0', 'tcp', '192.168.1.20:9', '10.7.0.20:502', [], 'workshop-desk', '2:2', null],
	['hdlc0', 'icmp', '1.1.1.1', '2.2.2.2', ['--tos', '0x10'], 'workshop-control', '2:1', null],
	['hdlc0', '50', '1.1.1.1', '2.2.2.2', ['--tos', '0x08'], 'workshop-files', '2:3', null],
];

function explain([device, proto, src, dst, more, id, classid, rule])
{
	const args = ['explain', '--device', device, '--proto', proto, '--src', src, '--dst', dst,
		...more];
	const answer = ask(args);
	expect(args.join(' '), [answer.qos, answer.id, answer.classid, answer.rule,
		answer.shadowed], [1, id, classid, rule, []]);
	expect('the device', answer.devices.map(one => one.device), [device]);
	expect('its classes', answer.devices[0].classes.filter(one =>
		one.id === id && one.classid === classid).length, 1);
	const text = run(args);
	expect(`${args.join(' ')}: text`, [text.status, text.err], [0, '']);
	for (const word of [id, classid, rule ?? 'none matches']) {
		if (!text.out.includes(word))
			fail(`${args.join(' ')}: no ${word} in ${text.out}`);
	}
}

function checkExplain()
{
	PACKETS.forEach(explain);
	const web = 'eth0-2:20:30.fibre-web';
	fs.appendFileSync(`${scripts}/${web}`,
		'PRIORULE=3\nIPTRULE=192.168.1.64/26:0,0.0.0.0/0:1-1023;tcp.\nMARK=900\n');
	fs.appendFileSync(`${scripts}/eth0-2:20:40.fibre-mail`,
		'RULE=0.0.0.0/0:0/0x0,8.8.8.8/32:0/0x0;.\nPRIORULE=9\n');
	fs.appendFileSync(`${scripts}/eth0-2:20.fibre-staff`, // an inner class
		'RULE=0.0.0.0/0:0/0x0,8.8.8.8/32:0/0x0;.\nPRIORULE=1\n');
	const lost = ask(['explain', '--device', 'eth0', '--proto', 'tcp', '--src',
		'192.168.1.65:1', '--dst', '8.8.8.8:443']);
	expect('rules that lose', lost.shadowed, [
		lineOf(web, 'IPTRULE=192.168.1.64/26:0,0.0.0.0/0:1-1023;tcp.'),
		lineOf('eth0-2:20:40.fibre-mail', 'RULE=0.0.0.0/0:0/0x0,8.8.8.8/32:0/0x0;.')]);

	fs.renameSync(`${scripts}/nas0-2:1000.dsl-rest`, `${scripts}/../rest`);
	const direct = ask(['explain', '--device', 'nas0', '--proto', 'tcp', '--src', '1.1.1.1:1',
		'--dst', '2.2.2.2:2']);
	expect('unshaped', [direct.id, direct.classid, direct.rule], [null, 'direct', null]);
	fs.renameSync(`${scripts}/../rest`, `${scripts}/nas0-2:1000.dsl-rest`);
}

const ASKED = { device: 'eth0', proto: 'tcp', src: '1.2.3.4:5', dst: '5.6.7.8:9' };
const WRONG = {
	device: ['eth9', '', '../eth0'],
	proto: ['TCP', 'sctp', '256', '-1', '', '6 ', '0x6', '99999999999'],
	src: ['1.2.3', '1.2.3.4:', '1.2.3.4:65536', '1.2.3.4:80:80', '1.2.3.4 :80', '::1', 'host:80',
		'1.2.3.4/24', '1.2.3.4:-1', '', '01.2.3.4', '111.111.111.1111'],
	dst: ['1.2.3.256', '1.2.3.4: 80', '1.2.3.4:0x50'],
	tos: ['256', '0x100', '-1', '', '0x', '0xg', '1 ', '1.5'],
};

function refusePackets()
{
	const args = (asked) => ['explain', ...Object.entries(asked).flatMap(
		([name, value]) => [`--${name}`, value])];
	for (const [name, values] of Object.entries(WRONG)) {
		for (const value of values)
			refuse(2, /./, args({ ...ASKED, [name]: value }));
	}
	for (const name of Object.keys(ASKED)) {
		const { [name]: gone, ...others } = ASKED;
		refuse(2, new RegExp(`--${name} is missing`), args(others));
	}
}

/* --- week --- */

const ZONES = [
	['Europe/Berlin', 'CET-1CEST,M3.5.0,M10.5.0/3'],
	['America/New_York', 'EST5EDT,M3.2.0,M11.1.0'],
	['Australia/Lord_Howe', '<+1030>-10:30<+11>-11,M10.1.0,M4.1.0'],
	['Asia/Kathmandu', '<+0545>-5:45'],
];
const STEP = 15 * 60 * 1000;
const DAYS = 366;
const UNITS = { bps: 1, Kbps: 1000, Mbps: 1e6, B: 1, KB: 1024, MB: 1 << 20 };

function sizeOf(text)
{
	if (text === undefined)
		return null;
	const [, number, unit] = /^(\d+)(\D+)$/.exec(text);
	return number * UNITS[unit];
}

// The values of a class and its slots, in the order of their lines.
function readClass(file)
{
	const own = {}, slots = [];
	for (const line of fs.readFileSync(`${scripts}/${file}`, 'utf8').split('\n')) {
		const pair = /^(RATE|CEIL|BURST|CBURST)=(.*)$/.exec(line);
		if (pair)
			own[pair[1].toLowerCase()] = sizeOf(pair[2]);
		const slot = /^TIME=(\d*)\/(\d\d):00-(\d\d):00;([^/,]+)(?:\/([^,]+))?(?:,([^/]+)(?:\/(.+))?)?$/
			.exec(line);
		if (slot)
			slots.push({ days: slot[1], from: +slot[2], to: +slot[3], rate: sizeOf(slot[4]),
				burst: sizeOf(slot[5]), ceil: sizeOf(slot[6]), cburst: sizeOf(slot[7]) });
	}
	return { own, slots };
}

// The rates of each hour of the week, "day.hour".
function hoursOf({ own, slots })
{
	const hours = {};
	for (let hour = 0; hour < 7 * 24; hour++) {
		hours[`${Math.floor(hour / 24)}.${hour % 24}`] =
			[own.rate, own.ceil ?? own.rate, own.burst ?? null, own.cburst ?? null];
	}
	for (const slot of [...slots].reverse()) {
		const ceil = slot.ceil ?? (own.ceil ? Math.max(own.ceil, slot.rate) : slot.rate);
		const length = slot.from === slot.to ? 24 : (slot.to - slot.from + 24) % 24;
		for (const day of slot.days) {
			for (let i = 0; i < length; i++) {
				const hour = (slot.from === slot.to ? 0 : slot.from) + i;
				hours[`${(+day + Math.floor(hour / 24)) % 7}.${hour % 24}`] = [slot.rate,
					ceil, slot.burst ?? own.burst ?? null,
					slot.cburst ?? own.cburst ?? null];
			}
		}
	}
	return hours;
}

// What the clocks of a zone show: the hour of the week, and the date as ISO 8601 has it.
function clockOf(zone)
{
	const format = new Intl.DateTimeFormat('en-GB', { timeZone: zone, hourCycle: 'h23',
		weekday: 'short', year: 'numeric', month: '2-digit', day: '2-digit', hour: '2-digit',
		minute: '2-digit', second: '2-digit' });
	const days = ['Sun', 'Mon', 'Tue', 'Wed', 'Thu', 'Fri', 'Sat'];
	return (time) => {
		const part = Object.fromEntries(format.formatToParts(time).map(
			({ type, value }) => [type, value]));
		return { hour: `${days.indexOf(part.weekday)}.${+part.hour}`,
			date: `${part.year}-${part.month}-${part.day}T${part.hour}:${part.minute}:${
				part.second}` };
	};
}

function checkSpans(name, spans, hours, shown, clock)
{
	let at = shown[0].time, n = 0;
	for (const [i, span] of spans.entries()) {
		const rates = [span.rate, span.ceil, span.burst, span.cburst];
		const from = Date.parse(span.from), to = Date.parse(span.to);
		if (from !== at || clock(from).date !== span.from.slice(0, 19))
			fail(`${name}: a span from ${span.from}`);
		const next = spans[i + 1];
		if (next && String([next.rate, next.ceil, next.burst, next.cburst]) === String(rates))
			fail(`${name}: equal neighbours at ${span.to}`);
		for (; n < shown.length && shown[n].time < to; n++) {
			if (String(hours[shown[n].hour]) !== String(rates)) {
				fail(`${name}: ${rates} at ${new Date(shown[n].time).toISOString()}`);
				return;
			}
		}
		at = to;
	}
	expect(`${name}: the end`, [n, at], [shown.length, shown[shown.length - 1].time + STEP]);
}

function checkWeek([zone, rules])
{
	const answer = ask(['week', '--from', '2026-01-01T00:00', '--days', String(DAYS)], rules);
	const clock = clockOf(zone);
	const shown = [];
	for (let time = Date.parse(answer.from); time < Date.parse(answer.to); time += STEP)
		shown.push({ time, hour: clock(time).hour });
	expect(`${zone}: days`, [shown.length, clock(Date.parse(answer.to)).date],
		[DAYS * 24 * 3600 * 1000 / STEP, '2027-01-02T00:00:00']);
	let classes = 0;
	for (const device of answer.devices) {
		for (const one of device.classes) {
			const file = fs.readdirSync(scripts).find(name =>
				name.startsWith(`${device.device}-`) && name.endsWith(`.${one.id}`));
			classes++;
			if (device.discipline === 'spq') {
				expect(`${one.id}: a band`, one.spans, []);
				continue;
			}
			checkSpans(`${zone}, ${one.id}`, one.spans, hoursOf(readClass(file)), shown,
				clock);
		}
	}
	expect('classes and bands', classes, fs.readdirSync(scripts).filter(name =>
		name.includes('-') && name !== 'hdlc0-2.workshop').length);
}

function checkWeeks()
{
	fs.appendFileSync(`${scripts}/eth2-2:20.office-guests`,
		'TIME=6/22:00-03:00;3Mbps\nTIME=0/01:00-02:00;30Mbps/9KB,40Mbps/8KB\n' +
		'TIME=03/00:00-00:00;4Mbps\n');
	ZONES.forEach(checkWeek);
	const one = ask(['week', '--class', 'fibre-backup', '--days', '1']);
	expect('one class', one.devices.map(device => [device.device, device.classes.length]),
		[['eth0', 1]]);
	const today = new Date(one.from);
	expect('from midnight', [one.from.slice(10), Date.now() - today < 24 * 3600 * 1000],
		['T00:00:00+00:00', true]);
	const week = ask(['week']);
	expect('a week', (Date.parse(week.to) - Date.parse(week.from)) / 3600000, 7 * 24);
	const { slots } = readClass(backup);
	const text = run(['week', '--class', 'fibre-backup', '--from', '2026-10-24T00:00', '--days',
		'2'], ZONES[0][1]);
	for (const word of ['fibre-backup (1:60)', `${slots[0].rate / 1e6} Mbit/s`, '30 KB', 'CEST', 'CET',
		'The clock is set: Sun 2026-10-25 02:59 CEST is followed by Sun 2026-10-25 02:00 CET'])
		expect(`week as text: ${word}`, text.out.includes(word), true);
	refuse(2, /no class 'none'/, ['week', '--class', 'none']);
	for (const from of ['', 'x', '2026-13-01', '2026-11-21T25:00', '@-1', '@99999999999999999999'])
		refuse(2, /--from/, ['week', '--from', from]);
	for (const days of ['0', '367', '-1', 'x', '', '1.5'])
		refuse(2, /--days/, ['week', '--days', days]);
}

/* --- plan, and scripts with faults --- */

function checkPlan()
{
	const plan = run(['plan']);
	expect('plan', [plan.status, plan.err], [0, '']);
	for (const device of ['eth0', 'eth2', 'hdlc0', 'nas0']) {
		expect(`a plan of ${device}`, plan.out.includes(`# tc ${device}\n`), true);
		const alone = run(['plan', '--device', device]).out;
		expect(`${device} alone`, [alone.match(/^# tc .*$/gm), plan.out.includes(alone)],
			[[`# tc ${device}`], true]);
	}
	const night = run(['plan', '--device', 'eth0', '--at', '2026-11-21T03:00']).out;
	const noon = run(['plan', '--device', 'eth0', '--at', '2026-11-21T12:00']).out;
	const rateOf = text => /^class .* classid 1:60 .*rate (\w+)/m.exec(text)?.[1];
	const { own, slots } = readClass(backup);
	expect('rates of an hour', [rateOf(night), rateOf(noon)],
		[`${slots[0].rate}bit`, `${own.rate}bit`]);
	for (const at of ['', 'noon', '2026-02-30T00:00'])
		refuse(2, /--at/, ['plan', '--at', at]);
}

// A fault stops its own device and no other.
function checkFaults()
{
	const whole = run(['plan']).out;
	const others = ['eth2', 'hdlc0', 'nas0'].map(device => run(['plan', '--device', device]).out);
	fs.appendFileSync(`${scripts}/eth0-2:50.fibre-guests`, 'CEIL=bps\n');
	const plan = run(['plan']);
	expect('a plan beside a fault', [plan.status, plan.out], [1, others.join('')]);
	expect('the fault', /eth0-2:50\.fibre-guests, line \d+: /.test(plan.err), true);
	expect('the whole had more', whole.length > plan.out.length, true);
	const week = run(['week', '--json']);
	expect('a week beside a fault', [week.status, JSON.parse(week.out).devices.map(
		one => one.device)], [1, ['eth2', 'hdlc0', 'nas0']]);
	const packet = ['--proto', 'tcp', '--src', '1.1.1.1:1', '--dst', '2.2.2.2:2'];
	const left = run(['explain', '--device', 'eth0', ...packet]);
	expect('a packet of that device', [left.status, left.out], [1, '']);
	expect('one of another', run(['explain', '--device', 'eth2', ...packet]).status, 0);
	expect('a plan of another', run(['plan', '--device', 'eth2']).status, 0);
}

checkExplain();
refusePackets();
checkWeeks();
checkPlan();
checkFaults();
process.exit(failed ? 1 : 0);

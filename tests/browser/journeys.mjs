// SPDX-License-Identifier: MIT
// An administrator's days on a router with qosd and a kernel of its own: journeys.mjs [TITLE ...].
// tests/run/journeys serves the router and runs this. What a journey takes is counted: presses, which
// are clicks and the keys that press a button or take an entry, and pages that are loaded.
import { execFileSync } from 'node:child_process';
import dgram from 'node:dgram';
import net from 'node:net';
import { wait } from './browser.mjs';
import { arrive, button, cgi, choose, click, complaints, list, open, page, press, query, read, run, same,
	session, settle, site, stored, sumUp, texts, type, value, write } from './session.mjs';

const KINDS = ['policy', 'class', 'filter', 'port', 'ip', 'basic'];
const router = type => `?obj=router&type=${type}`;
const ids = kind => [...read(kind).matchAll(/^\[(.*)\]$/gm)].map(([, id]) => id);

// --- counting ---

let presses = 0, loads = 0;

function startCounting()
{
	presses = loads = 0;
	page().removeAllListeners('load');
	page().on('load', () => loads++);
}

async function pressed(name)
{
	presses++;
	await click(name);
}

async function struck(key)
{
	presses++;
	await press(key);
}

// Ends a count: at most so many presses and pages.
function counted(what, mostPresses, mostLoads)
{
	console.log(`${what}: ${presses} presses, ${loads} pages`);
	same(`${what} in ${mostPresses} presses`, presses <= mostPresses, true);
	same(`${what} in ${mostLoads} pages`, loads <= mostLoads, true);
}

// A link or button of the page by what it says.
async function named(words)
{
	const mark = `(words => {
		const found = document.readyState === 'complete' &&
			[...document.querySelectorAll('a, button, summary')].find(element =>
				element.textContent.trim().startsWith(words) && element.checkVisibility());
		for (const other of document.querySelectorAll('[data-named]'))
			delete other.dataset.named;
		if (found)
			found.dataset.named = '';
		return Boolean(found);
	})(...arguments)`;
	await wait(`"${words}"`, () => run(mark, words).catch(() => false));
	return '[data-named]';
}

const pressNamed = async words => pressed(await named(words));

// --- the router ---

const ask = (...words) => execFileSync(process.env.QOS_INSIDE, words, { encoding: 'utf8' });
const status = () => JSON.parse(ask('qosctl', 'status', '--json'));

function sent(id)
{
	const classes = status().devices.flatMap(device => device.classes);
	return classes.find(one => one.id === id)?.sent_packets;
}

// Sends packets from an address to another, which nobody answers.
async function send(from, to, port, count)
{
	execFileSync('ip', ['address', 'replace', `${from}/32`, 'dev', 'lo']);
	const socket = dgram.createSocket('udp4');
	await new Promise(resolve => socket.bind(0, from, resolve));
	for (let n = 0; n < count; n++)
		await new Promise(resolve => socket.send('words', port, to, resolve));
	socket.close();
}

// Asks for a connection, in vain.
async function knock(from, to, port)
{
	execFileSync('ip', ['address', 'replace', `${from}/32`, 'dev', 'lo']);
	const socket = net.connect({ host: to, port, localAddress: from });
	socket.on('error', () => {});
	await new Promise(resolve => setTimeout(resolve, 200));
	socket.destroy();
}

async function compileAndApply()
{
	await pressNamed('Compile and apply');
	await wait('the confirmation', async () =>
		(await texts('.apply').catch(() => []))[0]?.includes('confirm within'));
	await pressNamed('Keep');
	await wait('the end', async () =>
		(await texts('.apply').catch(() => []))[0]?.startsWith('Running'));
}

// --- journeys ---

async function driveConfigured()
{
	startCounting();
	await open(site + '/');
	await arrive(router('overview'));
	const text = await run('document.querySelector("main").textContent');
	const missing = [...ids('policy'), ...ids('class'), ...ids('filter')]
		.filter(id => !text.includes(id));
	same('everything stands on it', missing, []);
	counted('what is configured', 0, 1);
}

async function chooseList(field, words)
{
	await pressed(`a[onclick*="${field}"]`);
	await wait('the chooser', async () => (await texts('dialog[open] li')).length > 1);
	await press(...words);
	await struck('Enter');
	await wait(`${words} to be taken`, async () => await value(field) === words);
}

async function drivePrinters()
{
	startCounting();
	await open(site + '/');
	await pressNamed('Addresses');
	await pressNamed('New');
	await type('[name=id]', 'printers');
	await type('[name=ip]', '192.168.1.230-239');
	await pressed(button('save'));
	await arrive(list('ip'));
	await pressNamed('Filters');
	await pressNamed('New');
	await type('[name=id]', 'print');
	await chooseList('int_ip_id', 'printers');
	await pressNamed('Take any for what is missing');
	await wait('the lists', async () => await value('ext_port_id') !== '');
	await pressed(button('save'));
	await arrive(list('filter'));
	await pressNamed('Overview');
	await pressNamed('Add a class in fibre');
	await type('[name=id]', 'fibre-print');
	await type('[name=rate]', '1');
	await pressed('[name=unuse_filter_id] option[value=print]');
	await pressed('input[type=button]@2');
	await pressNamed('Mon to Fri');
	await type('[name=time_rate]@0', '2');
	await page().focus('[name=start_hour]');
	await press('8', 'Tab', '1', '8');
	await pressed(button('save'));
	await arrive(list('class'));
	same('class', [/PARENT_ID=fibre\n/, /\nRATE=1\nRATE_UNIT=Mbps\n/, /FILTER_ID\[0\]=print\n/,
		/START_HOUR\[0\]=08\nEND_HOUR\[0\]=18\n/, /TIME_RATE\[0\]=2\nTIME_RATE_UNIT\[0\]=Mbps\n/]
		.filter(line => !line.test(stored('class', 'fibre-print'))).map(String), []);
	same('list', stored('ip', 'printers'), 'IP_LIST[0]=192.168.1.230-239\n');
	counted('printers', 19, 10);
	await driveRunning();
}

async function driveRunning()
{
	startCounting();
	await open(site + '/');
	await pressNamed('Look and apply');
	await compileAndApply();
	counted('from saved to running', 4, 5);
	await knock('192.168.1.231', '198.51.100.7', 9100);
	same('a packet of a printer', sent('fibre-print') > 0, true);
}

async function driveFirstSteps()
{
	const before = KINDS.map(read);
	for (const kind of KINDS)
		write(kind, '');
	startCounting();
	await open(site + '/');
	await pressNamed('First steps');
	await choose('[name=line]', 'LAN1');
	await type('[name=up]', '20');
	await choose('[name=inside]', 'LAN3');
	await type('[name=down]', '100');
	await type('[name=office]', '192.168.1.32-127');
	await type('[name=guest_net]', '192.168.20.128-191');
	await type('[name=phones]', '192.168.1.200-219');
	if (process.env.QOS_LACKS.includes('sfq'))
		await click('[name=fair]');
	await pressNamed('Show what this makes');
	await pressNamed('Make these');
	await arrive(router('overview'));
	same('policies', ids('policy'), ['LAN1', 'LAN3']);
	await pressNamed('Look and apply');
	await compileAndApply();
	counted('from nothing to running', 8, 9);
	const calls = ids('class').find(id => /voice|call/.test(id));
	const [guests] = ids('class').filter(id => /guest/.test(id));
	await send('192.168.1.205', '198.51.100.7', 5060, 7);
	await send('192.168.20.130', '198.51.100.7', 443, 3);
	same('packets of a phone and a guest', [sent(calls), sent(guests)], [7, 3]);

	// And back again, in one step.
	await pressNamed('History');
	await pressNamed('Back to before');
	await wait('the stores to be empty', () => KINDS.every(kind => ids(kind).length === 0));
	await open(site + '/');
	await named('First steps');
	KINDS.forEach((kind, n) => write(kind, before[n]));
}

// Pages that are whole without scripts: what they are for is done.
async function driveWithoutScripts()
{
	await page().setJavaScriptEnabled(false);
	const follow = async words => {
		const link = await page().$(`main ::-p-text(${words})`);
		await Promise.all([page().waitForNavigation(), link.click()]);
	};
	const shows = async words => same(words, (await page().content()).includes(words), true);
	await page().goto(site + '/');
	await shows('fibre-voice');
	await page().goto(cgi + list('ip'));
	await shows('192.168.1.32-127');
	await page().goto(`${cgi}?type=list&action=ask&obj=ip&id=vault`);
	await page().goto(cgi + list('port'));
	await page().goto(`${cgi}${router('rename')}&kind=class&id=fibre-web`);
	await page().focus('[name=name]');
	await page().keyboard.press('End');
	await page().keyboard.type('-2');
	await Promise.all([page().waitForNavigation(), page().keyboard.press('Enter')]);
	await wait('the rename', () => ids('class').includes('fibre-web-2'));
	await page().goto(cgi + router('apply'));
	await follow('Compile only');
	await shows('Compiled, not running');
	await page().goto(cgi + router('history'));
	await follow('Back to before');
	await wait('the name to be back', () => ids('class').includes('fibre-web'));
	await page().setJavaScriptEnabled(true);
}

// The focus goes where the eye reads: down, and within a row to the right.
async function driveTabOrder()
{
	await page().setViewport({ width: 1280, height: 900 });
	await open(cgi + query('class', 'edit', 'fibre-web'));
	await settle(300);
	const seen = [];
	await page().focus('[name=prio]');
	for (let n = 0; n < 60; n++) {
		const at = await run(`(at => at === document.body ? null : (box => ({
			what: at.name || at.textContent.trim(), y: box.top + scrollY, x: box.left,
			bottom: box.bottom + scrollY, fixed: Boolean(at.closest('.save')) }))(
			at.getBoundingClientRect()))(document.activeElement)`);
		if (!at || at.fixed)
			break;
		seen.push(at);
		await press('Tab');
	}
	same('fields reached', seen.length > 12, true);
	const wrong = seen.filter((at, n) => n > 0 && at.bottom <= seen[n - 1].y);
	same('order of the focus', wrong.map(at => at.what), []);
}

// Whatever is refused, the menu is there and the way back.
async function driveRefusals()
{
	for (const [address, status] of [['?obj=none', 400], ['?obj=class&type=none', 400],
		[query('class', 'save', 'x'), 405], ['?obj=router&type=none', 400],
		[query('class', 'edit', 'a b'), 400]]) {
		const answered = await fetch(cgi + address);
		same(`status of ${address}`, answered.status, status);
		await open(cgi + address);
		same(`menu of ${address}`, (await texts('nav a')).length, 12);
		same(`way back of ${address}`, (await texts('main a')).length > 0, true);
	}
	same('what the browser said', complaints().filter(words => !/status of 40\d/.test(words)), []);
}

const JOURNEYS = { configured: driveConfigured, printers: drivePrinters,
	'without scripts': driveWithoutScripts, 'tab order': driveTabOrder,
	refusals: driveRefusals, 'first steps': driveFirstSteps };
const chosen = process.argv.length > 2 ? process.argv.slice(2) : Object.keys(JOURNEYS);

await session(Object.fromEntries(chosen.map(title => [title, JOURNEYS[title]])));
process.exit(sumUp());

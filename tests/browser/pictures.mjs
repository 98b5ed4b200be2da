// SPDX-License-Identifier: MIT
// Pictures of the real pages for the README and the guide, into a folder: pictures.mjs FOLDER.
// docs/make-pictures serves the sample router and runs this. On a router with a kernel of its own the
// office is at work: what is configured runs, and packets pass while the pictures are taken.
import { execFileSync, spawn } from 'node:child_process';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import { arrive, button, cgi, click, list, open, page, query, read, session, sumUp, type,
	write } from './session.mjs';

const SAMPLES = 25000; // ms in which qosd has read the counters twice, and knows a rate

// Of 500 bytes each: how many at once, from, to, and the TOS byte.
const PAUSE = 20; // ms
const PACKETS = [
	'4 udp 192.168.1.201:16390 203.0.113.10:16400 160',
	'26 tcp 192.168.1.70:40000 198.51.100.200:443 0',
	'5 tcp 192.168.1.2:40001 198.51.100.200:587 0',
	'10 tcp 192.168.20.130:40002 198.51.100.200:8080 0',
	'2 udp 192.168.1.99:40003 198.51.100.200:53 0',
];

const overview = '?obj=router&type=overview';
const apply = '?obj=router&type=apply';
const KINDS = ['policy', 'class', 'filter', 'port', 'ip', 'basic'];
const first = '?obj=router&type=first';
const FIRST_ANSWERS = [['up', '5'], ['down', '20'], ['phones', '192.168.1.200-219']];
const guests = query('class', 'edit', 'fibre-guests');

const [folder] = process.argv.slice(2);
const inside = process.env.QOS_INSIDE; // only where the router has a kernel of its own

// Begins the work, and gives what ends it.
async function beginWork()
{
	execFileSync('ip', ['route', 'add', '203.0.113.10/31', 'dev', 'eth0']);
	for (const verb of ['compile', 'apply'])
		execFileSync(inside, ['qosctl', verb]);
	const sender = spawn('perl',
		[fileURLToPath(new URL('../kernel/send-packets', import.meta.url))],
		{ stdio: ['pipe', 'inherit', 'inherit'] });
	const sending = setInterval(() => sender.stdin.write(PACKETS.join('\n') + '\n'), PAUSE);
	await new Promise(resolve => setTimeout(resolve, SAMPLES));
	return () => {
		clearInterval(sending);
		sender.stdin.end();
	};
}

async function takePicture(name, address, width = 1280, height = 845, scheme = 'light')
{
	await page().setViewport({ width, height });
	await page().emulateMediaFeatures([{ name: 'prefers-color-scheme', value: scheme }]);
	await open(cgi + address);
	await page().waitForNetworkIdle({ idleTime: 500 });
	await page().screenshot({ path: path.join(folder, `${name}.png`) });
}

async function saveRate(id, rate)
{
	await open(cgi + query('class', 'edit', id));
	await page().waitForNetworkIdle({ idleTime: 500 });
	await type('[name=rate]', rate);
	await click(button('edit'));
	await arrive(list('class'));
}

// What the first steps would make for the office of docs/guide/first-line.md, on an empty router.
async function takeFirstSteps()
{
	const before = KINDS.map(read);
	for (const kind of KINDS)
		write(kind, '');
	await page().setViewport({ width: 1280, height: 720 });
	await open(cgi + first);
	for (const [name, value] of FIRST_ANSWERS)
		await type(`[name=${name}]`, value);
	for (const name of ['work', 'guests'])
		await click(`[name=${name}]`);
	await click('main form button');
	await page().waitForNetworkIdle({ idleTime: 500 });
	await page().evaluate(() => window.scrollTo(0, 0));
	await page().screenshot({ path: path.join(folder, 'first-steps.png') });
	KINDS.forEach((kind, n) => write(kind, before[n]));
}

async function takePictures()
{
	await takeFirstSteps();
	const endWork = inside ? await beginWork() : () => {};
	await takePicture('overview', overview);
	await takePicture('class', guests);
	await takePicture('class-phone', guests, 360, 720, 'dark');
	await saveRate('fibre-mail', '2');
	await takePicture('apply', apply, 1280, 430);
	endWork();
}

await session({ pictures: takePictures });
process.exit(sumUp());

// A browser to drive: Debian's chromium, through chromedriver, by the WebDriver protocol.
//
// Elements are named by a CSS selector; "button@2" is the third that matches. Every wait ends
// after PATIENCE with an error. Message boxes stay open until answer() closes them.
import { spawn } from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';

const PATIENCE = 30000; // ms; a busy machine may take seconds for a page
const ELEMENT = 'element-6066-11e4-a52e-4f735466cecf'; // the protocol's key of an element's id
const FLAGS = ['--headless=new', '--no-sandbox', '--disable-gpu', '--disable-quic',
	'--no-first-run', '--disable-background-networking', '--disable-component-update',
	'--disable-sync', '--disable-dev-shm-usage'];

const sleep = ms => new Promise(resolve => setTimeout(resolve, ms));

// Calls probe until it gives something, and gives that.
export async function wait(what, probe)
{
	const end = Date.now() + PATIENCE;
	for (;;) {
		const found = await probe();
		if (found)
			return found;
		if (Date.now() > end)
			throw new Error(`waited in vain for ${what}`);
		await sleep(20);
	}
}

// Starts chromedriver on a free port and gives its process and address.
async function startDriver(home)
{
	const driver = spawn('chromedriver', ['--port=0'],
		{ env: { ...process.env, HOME: home }, stdio: ['ignore', 'pipe', 'inherit'] });
	let said = '', gone = null;
	driver.stdout.on('data', data => said += data);
	driver.on('error', error => gone = error);
	driver.on('exit', () => gone = gone || new Error('chromedriver has ended: ' + said));
	const port = await wait('chromedriver', () => {
		if (gone)
			throw gone;
		return /started successfully on port (\d+)/.exec(said)?.[1];
	});
	return { driver, address: `http://127.0.0.1:${port}` };
}

export async function openBrowser()
{
	const home = fs.mkdtempSync(path.join(os.tmpdir(), 'browser-'));
	const { driver, address } = await startDriver(home);
	let session = '';

	async function call(method, command, body)
	{
		const answer = await fetch(address + session + command,
			{ method, body: body && JSON.stringify(body) });
		const { value } = await answer.json();
		if (!answer.ok) {
			const [message] = value.message.split('\n');
			const error = new Error(`${command}: ${value.error}: ${message}`);
			error.kind = value.error;
			throw error;
		}
		return value;
	}

	async function close()
	{
		if (session)
			await call('DELETE', '').catch(() => {});
		const ended = driver.exitCode === null &&
			new Promise(resolve => driver.on('exit', resolve));
		driver.kill();
		await ended;
		fs.rmSync(home, { recursive: true, force: true, maxRetries: 20, retryDelay: 100 });
	}

	// Elements of the page, waited for.
	async function element(name)
	{
		const [selector, number] = name.split('@');
		return wait(name, async () => {
			const found = await call('POST', '/elements',
				{ using: 'css selector', value: selector }).catch(() => []);
			return found[number || 0]?.[ELEMENT];
		});
	}

	const run = (script, ...args) =>
		call('POST', '/execute/sync', { script: `return ${script}`, args });

	const browser = {
		close,
		run,
		open: url => call('POST', '/url', { url }),
		back: () => call('POST', '/back', {}),
		reload: () => call('POST', '/refresh', {}),
		url: () => call('GET', '/url'),
		// Presses keys, one after the other, where the focus is.
		press: async (...keys) => {
			const actions = keys.flatMap(value =>
				[{ type: 'keyDown', value }, { type: 'keyUp', value }]);
			await call('POST', '/actions',
				{ actions: [{ type: 'key', id: 'keyboard', actions }] });
		},
		// Opens a second tab, and goes to it; gives its name and that of the one left.
		openTab: async () => {
			const left = await call('GET', '/window');
			const { handle } = await call('POST', '/window/new', { type: 'tab' });
			await call('POST', '/window', { handle });
			return [left, handle];
		},
		goTo: handle => call('POST', '/window', { handle }),
		closeTab: async () => call('DELETE', '/window'),
		click: async name => call('POST', `/element/${await element(name)}/click`, {}),
		// Puts text into an input in place of what it holds.
		type: async (name, text) => {
			const id = await element(name);
			await call('POST', `/element/${id}/clear`, {});
			await call('POST', `/element/${id}/value`, { text });
		},
		// Chooses the option of that value in a select; in a multiple one, adds it.
		choose: async (name, value) => browser.click(`${name} option[value="${value}"]`),
		point: async name => {
			const move = { type: 'pointerMove', x: 0, y: 0,
				origin: { [ELEMENT]: await element(name) } };
			await call('POST', '/actions',
				{ actions: [{ type: 'pointer', id: 'mouse', actions: [move] }] });
		},
		// Closes the next message box, and gives its text.
		answer: async (yes = true) => {
			const look = () => call('GET', '/alert/text').catch(error => {
				if (error.kind !== 'no such alert')
					throw error;
			});
			const text = await wait('a message', look);
			await call('POST', yes ? '/alert/accept' : '/alert/dismiss', {});
			return text;
		},
		// Waits for a page whose address ends so, and has loaded.
		arrive: end => {
			const script = `document.readyState === 'complete' &&
				location.href.endsWith(arguments[0])`;
			return wait(`page ${end}`, () => run(script, end).catch(() => false));
		},
		// What the console has held since the last call: errors and warnings. Of a page
		// that names no icon the browser asks for one by itself.
		complaints: async () => {
			const log = await call('POST', '/se/log', { type: 'browser' });
			return log.filter(entry => !['INFO', 'DEBUG'].includes(entry.level))
				.map(entry => entry.message)
				.filter(message => !/\/favicon\.ico - /.test(message));
		},
	};

	try {
		const created = await call('POST', '/session', { capabilities: { alwaysMatch: {
			browserName: 'chrome',
			unhandledPromptBehavior: 'ignore',
			'goog:loggingPrefs': { browser: 'ALL' },
			'goog:chromeOptions': { binary: '/usr/bin/chromium',
				args: [...FLAGS, `--user-data-dir=${home}/profile`] },
		} } });
		session = `/session/${created.sessionId}`;
	} catch (error) {
		await close();
		throw error;
	}
	return browser;
}

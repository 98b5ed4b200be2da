// SPDX-License-Identifier: MIT
// A browser to drive: Debian's chromium, or its firefox-esr where QOS_BROWSER says so.
//
// Elements are named by a CSS selector; "button@2" is the third that matches. Every wait ends
// after PATIENCE with an error. Message boxes stay open until answer() closes them; that a page asks
// before it is left is answered with yes, and counted.
import fs from 'node:fs';
import puppeteer from 'puppeteer-core';

const PATIENCE = Number(process.env.QOS_PATIENCE || 30000); // ms; a busy machine may take seconds for a page
const SLOWDOWN = Number(process.env.QOS_SLOWDOWN || 1); // of the processor, in chromium: a poor one
const FLAGS = ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
	'--disable-background-networking', '--disable-component-update', '--disable-sync',
	'--disable-dev-shm-usage'];
const VIEW = { width: 1280, height: 900 };
const BROWSERS = {
	chromium: { executablePath: '/usr/bin/chromium', args: FLAGS },
	firefox: { browser: 'firefox', executablePath: '/usr/bin/firefox-esr' },
};

export const browserName = process.env.QOS_BROWSER || 'chromium';

const DESK = { width: 1280, height: 900 };

const sleep = ms => new Promise(resolve => setTimeout(resolve, ms));

// A page that is being left answers nothing.
async function answerOf(probe)
{
	try {
		return await probe();
	} catch (error) {
		if (!/context was destroyed|Cannot find context|detached|DiscardedBrowsing/.test(error))
			throw error;
		return null;
	}
}

// Calls probe until it gives something, and gives that.
export async function wait(what, probe)
{
	const end = Date.now() + PATIENCE;
	for (;;) {
		const found = await answerOf(probe);
		if (found)
			return found;
		if (Date.now() > end)
			throw new Error(`waited in vain for ${what}`);
		await sleep(20);
	}
}

// What is done to an element once it is there, in the page. Until a page is whole its scripts may
// move what stands in it, or do not answer it yet.
function findReady(selector, n)
{
	return document.readyState === 'complete' ? document.querySelectorAll(selector)[n] : null;
}

function markText(element)
{
	element.focus();
	element.select();
}

function isOption(element)
{
	return element.localName === 'option';
}

// As a click on it does, in a list that takes several another more.
function chooseOption(option)
{
	const list = option.closest('select');
	option.selected = list.multiple ? !option.selected : true;
	for (const type of ['input', 'change'])
		list.dispatchEvent(new Event(type, { bubbles: true }));
}

// Not below the bar at the lower edge. What comes into the page until the press may move it: one that
// would meet something else is not made.
function aim(element)
{
	element.scrollIntoView({ block: 'center' });
	const aimed = { met: '', clicked: false };
	const guard = event => {
		const meets = element.contains(event.target);
		if (event.type === 'pointerdown')
			aimed.met = meets || event.target.outerHTML.slice(0, 200);
		aimed.clicked ||= meets && event.type === 'click';
		if (aimed.met === true)
			return;
		event.preventDefault();
		event.stopImmediatePropagation();
	};
	window.aimed?.over.abort();
	window.aimed = aimed;
	aimed.over = new AbortController();
	for (const type of ['pointerdown', 'mousedown', 'pointerup', 'mouseup', 'click'])
		addEventListener(type, guard, { capture: true, signal: aimed.over.signal });
}

// Whether a press on an element leads to another page, whatever the page's scripts do.
function isWayOut(element)
{
	const link = element.closest('a[href]:not([target], [download], [role=button])');
	const [address, fragment] = link ? link.href.split('#') : [];
	return Boolean(link) && (fragment === undefined || address !== location.href.split('#')[0]);
}

// The page as it stands, in words: for who reads why a drive failed.
function tellPage()
{
	const textOf = element => element.textContent.replace(/\s+/g, ' ').trim().slice(0, 300);
	const tell = (title, list) => list.map(one => `\n  ${title} ${one}`).join('');
	const fields = [...document.querySelectorAll('input, select, textarea')].filter(({ name }) => name);
	return `  page     ${location.href} "${document.title}", ${document.readyState}` +
		tell('message ', [...document.querySelectorAll('.msg, .said, .apply, #changes, dialog[open]')]
			.filter(one => one.checkVisibility()).map(textOf)) +
		tell('fields  ', fields.length ? [fields.map(({ name, type, value, checked, options }) =>
			`${name}=${/checkbox|radio/.test(type) ? checked : type === 'select-multiple' ?
				[...options].map(option => option.value) : value}`).join(' ')] : []) +
		tell('focus   ', [document.activeElement?.outerHTML.slice(0, 200)]);
}

export async function openBrowser()
{
	const browser = await puppeteer.launch({ headless: true, defaultViewport: VIEW,
		...BROWSERS[browserName] });
	const dialogs = new Map(); // the open message box of a page
	const requests = new Map(); // what a page has asked for and not got yet
	let complaints = [], page, leavings = 0;

	// Of a request that a page left behind no end is told.
	function watchRequests(opened)
	{
		const open = new Set();
		requests.set(opened, open);
		opened.on('request', request => {
			if (request.isNavigationRequest())
				open.clear();
			open.add(request);
		});
		for (const end of ['requestfinished', 'requestfailed'])
			opened.on(end, request => open.delete(request));
	}

	function watch(opened)
	{
		opened.on('dialog', async dialog => {
			if (dialog.type() !== 'beforeunload')
				return dialogs.set(opened, dialog);
			leavings++;
			await dialog.accept().catch(() => {}); // firefox may be gone by then
		});
		opened.on('pageerror', error => complaints.push(error?.message ?? String(error)));
		watchRequests(opened);
		opened.on('console', message => {
			// That an answer was no success is told below, alike in all browsers.
			if (['error', 'warn'].includes(message.type()) &&
			    !/^Failed to load resource/.test(message.text()))
				complaints.push(message.text());
		});
		opened.on('response', answer => {
			if (answer.status() >= 400 && !/favicon\.ico$/.test(answer.url()))
				complaints.push(`${answer.url()}: status of ${answer.status()}`);
		});
		opened.setDefaultTimeout(PATIENCE);
		if (SLOWDOWN > 1)
			opened.emulateCPUThrottling(SLOWDOWN).catch(() => {});
		return opened;
	}

	async function element(name)
	{
		const [selector, number] = name.split('@');
		return wait(name, async () => (await page.evaluateHandle(findReady, selector,
			Number(number || 0)).catch(() => null))?.asElement());
	}

	// A message box stops the page and what was asked of it: who opened one does not wait, and
	// gets nothing.
	async function orDialog(promise)
	{
		const asked = page;
		const done = promise.then(answer => ({ answer }));
		done.catch(() => {});
		let over;
		while (!over && !dialogs.has(asked))
			over = await Promise.race([done, sleep(20)]);
		return over?.answer;
	}

	const run = (script, ...args) =>
		page.evaluate(`(function () { return ${script} }).apply(null, ${JSON.stringify(args)})`);

	// Where the page is left, or stopped by a message box, the press has met the element.
	async function pressAt(name, found)
	{
		const end = Date.now() + PATIENCE;
		for (let met = ''; met !== true;) {
			if (Date.now() > end)
				throw new Error(`${name} cannot be pressed: the press meets ${met}`);
			await found.evaluate(aim);
			await orDialog(found.click());
			const aimed = await orDialog(answerOf(() =>
				run(`window.aimed && (aimed.over.abort(), aimed)`)));
			if (aimed?.met === true && !aimed.clicked)
				throw new Error(`${name} moved away while it was pressed`);
			met = !aimed || aimed.met;
		}
	}

	async function pressWithControl(key, command)
	{
		await page.keyboard.down('Control');
		await page.keyboard.press(key, { commands: [command] });
		await page.keyboard.up('Control');
	}

	const it = {
		run,
		close: () => browser.close(),
		page: () => page,
		// firefox breaks off the first way out of a page that asks.
		open: async url => {
			await page.goto(url).catch(error => {
				if (!/interrupted an unfinished navigation/.test(error))
					throw error;
				return it.arrive(url);
			});
		},
		back: () => answerOf(() => run('history.back()')), // which may be quicker than its answer
		reload: () => page.reload(),
		url: () => page.url(),
		// Presses keys by their names, one after the other, where the focus is.
		press: async (...keys) => {
			for (const key of keys)
				await orDialog(page.keyboard.press(key));
		},
		// Pastes a text into an element, from the clipboard.
		paste: async (name, text) => {
			await run(`(document.activeElement.closest('main').append(Object.assign(
				document.createElement('textarea'), { id: 'copied', value: arguments[0] })),
				document.getElementById('copied').select(), true)`, text);
			await pressWithControl('c', 'Copy');
			await run(`(document.getElementById('copied').remove(), true)`);
			await (await element(name)).focus();
			await pressWithControl('v', 'Paste');
		},
		// Opens a second tab, and goes to it; gives it and the one left.
		openTab: async () => {
			const left = page;
			page = watch(await browser.newPage());
			await page.setViewport(DESK);
			return [left, page];
		},
		goTo: async tab => {
			page = tab;
			await page.bringToFront();
		},
		closeTab: () => page.close(),
		// After what went wrong: a fresh tab alone, with nothing to complain of.
		startAnew: async () => {
			const left = await browser.pages();
			page = watch(await browser.newPage());
			await page.setViewport(DESK);
			for (const tab of left) {
				await dialogs.get(tab)?.accept().catch(() => {});
				await tab.close();
			}
			dialogs.clear();
			complaints = [];
		},
		click: async name => {
			const found = await element(name);
			if (await found.evaluate(isOption))
				return orDialog(found.evaluate(chooseOption));
			const leads = await found.evaluate(isWayOut);
			await pressAt(name, found);
			if (leads)
				await wait(`the page behind ${name}`, () => run(
					`!window.aimed && document.readyState === 'complete'`));
		},
		// Puts text into an input in place of what it holds.
		type: async (name, text) => {
			const found = await element(name);
			await found.evaluate(markText);
			await page.keyboard.press('Backspace');
			for (const part of text.split(/(\n)/))
				await (part === '\n' ? page.keyboard.press('Enter')
					: page.keyboard.type(part));
			const held = await found.evaluate(({ value }) => value);
			if (held !== text)
				throw new Error(`"${text}" was typed into ${name}, which holds "${held}"`);
		},
		// Chooses the option of that value in a select; in a multiple one, adds it.
		choose: (name, value) => it.click(`${name} option[value="${value}"]`),
		point: async name => (await element(name)).hover(),
		// Closes the next message box, and gives its text.
		answer: async (yes = true) => {
			const dialog = await wait('a message', () => dialogs.get(page));
			dialogs.delete(page);
			await (yes ? dialog.accept() : dialog.dismiss());
			return dialog.message();
		},
		// Waits for a page whose address ends so, and has loaded.
		arrive: end => wait(`page ${end}`, () => run(`document.readyState === 'complete' &&
			location.href.endsWith(arguments[0])`, end).catch(() => false)),
		// Waits until the page has asked for nothing for so many milliseconds.
		settle: async quiet => {
			const end = Date.now() + PATIENCE;
			let since = Date.now();
			while (Date.now() - since < quiet && Date.now() < end) {
				await sleep(20);
				if (requests.get(page).size > 0)
					since = Date.now();
			}
		},
		// What stands on the page, and what it waits for.
		tell: async () => {
			const box = dialogs.get(page);
			const told = box ? `  asks     ${box.message()}` : await Promise.race([
				page.evaluate(tellPage).catch(error => `  page     ${error.message}`),
				sleep(5000).then(() => '  page     it does not answer')]);
			const open = [...requests.get(page)].map(request => `\n  awaits   ${request.method()} ` +
				`${request.url()} ${request.postData() || ''}`);
			return told + open.join('') + complaints.map(one => `\n  complains ${one}`).join('');
		},
		// How often a page asked before it was left, since the last call.
		leavings: () => [leavings, leavings = 0][0],
		// Errors and warnings since the last call: of scripts, and of answers.
		complaints: () => [complaints, complaints = []][0],
	};
	page = watch((await browser.pages())[0] || await browser.newPage());
	await page.setViewport(DESK);
	return it;
}

// The text of a script of a package, to be run in a page.
export const readScript = name =>
	fs.readFileSync(new URL(import.meta.resolve(name)), 'utf8');

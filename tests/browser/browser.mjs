// SPDX-License-Identifier: MIT
// A browser to drive: Debian's chromium, or its firefox-esr where QOS_BROWSER says so.
//
// Elements are named by a CSS selector; "button@2" is the third that matches. Every wait ends
// after PATIENCE with an error. Message boxes stay open until answer() closes them; that a page asks
// before it is left is answered with yes, and counted.
import fs from 'node:fs';
import puppeteer from 'puppeteer-core';

const PATIENCE = Number(process.env.QOS_PATIENCE || 30000); // ms; a busy machine may take seconds for a page
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

// What is done to an element once it is there, in the page.
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

// Not below the bar at the lower edge.
function bringIntoSight(element)
{
	element.scrollIntoView({ block: 'center' });
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
		return opened;
	}

	async function element(name)
	{
		const [selector, number] = name.split('@');
		return wait(name, async () => {
			const found = await page.$$(selector).catch(() => []);
			return found[number || 0];
		});
	}

	// A message box stops the page and what was asked of it: who opened one does not wait.
	async function orDialog(promise)
	{
		const asked = page;
		const done = promise.then(() => true);
		done.catch(() => {});
		for (let over = false; !over && !dialogs.has(asked);)
			over = await Promise.race([done, sleep(20)]);
	}

	const run = (script, ...args) =>
		page.evaluate(`(function () { return ${script} }).apply(null, ${JSON.stringify(args)})`);

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
		back: () => run('history.back()'),
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
			await found.evaluate(bringIntoSight);
			await orDialog(found.click());
		},
		// Puts text into an input in place of what it holds.
		type: async (name, text) => {
			const found = await element(name);
			await found.evaluate(markText);
			await page.keyboard.press('Backspace');
			for (const part of text.split(/(\n)/))
				await (part === '\n' ? page.keyboard.press('Enter')
					: page.keyboard.type(part));
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

// What the drives of the pages share: the checks, the stores of the router, and the steps that are
// the same on every page.
import fs from 'node:fs';
import path from 'node:path';
import { openBrowser, wait } from './webdriver.mjs';

export const site = process.env.QOS_SITE;
export const cgi = `${site}/qos_config/cgi-bin/main.cgi`;
const stores = path.join(process.env.QOS_ROOT, 'etc/conf/qos_config');
export const read = name => fs.readFileSync(path.join(stores, name), 'utf8');

// Puts a file of the stores back as it was; null: there was none.
export function write(name, text)
{
	if (text === null)
		fs.rmSync(path.join(stores, name), { force: true });
	else
		fs.writeFileSync(path.join(stores, name), text);
}

let checks = 0, failures = 0, suite = '';

export function same(what, got, expected)
{
	checks++;
	if (JSON.stringify(got) === JSON.stringify(expected))
		return;
	failures++;
	console.log(`FAILED ${suite}: ${what}\n  got      ${shorten(got, expected)}` +
		`\n  expected ${shorten(expected, got)}`);
}

// Of a text of several lines, what differs from another.
function shorten(text, other)
{
	if (typeof text !== 'string' || typeof other !== 'string')
		return JSON.stringify(text);
	const [lines, others] = [text.split('\n'), other.split('\n')];
	const start = lines.findIndex((line, i) => line !== others[i]);
	let end = 0;
	while (end < lines.length - start - 1 && lines.at(-1 - end) === others.at(-1 - end))
		end++;
	const part = lines.slice(start, lines.length - end).join('\n');
	return `(line ${start + 1}) ${JSON.stringify(part)}`;
}

// The keys of a section of a store, as text; empty when there is none.
export function stored(kind, id)
{
	const found = ('\n' + read(kind)).split(`\n[${id}]\n`)[1];
	return found === undefined ? '' : found.split(/^[[#]/m)[0];
}

export const query = (kind, action, id) =>
	`?obj=${kind}&type=display&action=${action}` + (id ? `&id=${id}` : '');
export const list = kind => `?obj=${kind}&type=list`;

let browser;
export const { answer, arrive, back, choose, click, closeTab, complaints, goTo, open, openTab,
	point, press, reload, run, type } =
	new Proxy({}, { get: (none, name) => (...args) => browser[name](...args) });

export const button = name => `img[name="${name}"]`;
export const value = name => run(`document.forms[0].elements[arguments[0]].value`, name);
export const values = name =>
	run(`[...document.forms[0].elements[arguments[0]]].map(e => e.value)`, name);
export const checked = name =>
	run(`[...document.forms[0].elements[arguments[0]]].map(e => e.checked)`, name);
export const texts = selector =>
	run(`[...document.querySelectorAll(arguments[0])].map(e => e.textContent)`, selector);

// Opens the chooser of a button, and takes the id.
export async function pick(buttonName, id)
{
	await click(buttonName);
	await click(`.chooser button[value="${id}"]`);
	await wait('the chooser to close', async () => (await texts('.chooser')).length === 0);
}

// From the list of a kind to the page of a new object, by their links.
export async function openNew(kind)
{
	await open(cgi + list(kind));
	await click('h1 a');
	await arrive(query(kind, 'new'));
}

export async function openEdit(kind, id)
{
	await open(cgi + list(kind));
	await click(`a[href$="action=edit&id=${id}"]`);
	await arrive(query(kind, 'edit', id));
}

const questions = {
	policy: 'Policies stay. Open this one instead?',
	class: 'Delete this class for good?',
	filter: 'Delete this filter for good?',
	port: 'Delete this list for good?',
	ip: 'Delete this list for good?',
};

// Deletes an object by the button of its list, after a first thought of not doing so.
export async function remove(kind, id)
{
	await open(cgi + list(kind));
	await run(`[...document.forms].find(form => form.elements.id.value === arguments[0])
		.querySelector('[type=submit]').setAttribute('name', 'chosen')`, id);
	await click('[name=chosen]');
	same('question before a delete', await answer(false), questions[kind]);
	await click('[name=chosen]');
	await answer();
}

// The page is there again, as it was filled in.
export async function returned(page)
{
	await arrive(page);
	await wait('the filled-in form',
		() => run(`document.forms.length === 1 && sent === false`));
}

// Deletes an object, which nothing asks about.
export async function drop(kind, id)
{
	await open(cgi + list(kind));
	await run(`[...document.forms].find(form => form.elements.id.value === arguments[0])
		.submit()`, id);
	await wait('the delete', () => !stored(kind, id));
	await arrive(list(kind));
}

// The form holds what is stored, after what was typed has been forgotten.
export const settled = () => wait('the form as it is stored', () => run(
	`document.readyState === 'complete' && !document.querySelector('.notice') && !is_dirty()`)
	.catch(() => false));

// What is said above the form begins so.
export const notice = text => wait(`the notice "${text}"`,
	async () => (await texts('.notice'))[0]?.startsWith(text));

// Sends the page, which is refused.
export async function refused(buttonName, message, page)
{
	await click(button(buttonName));
	same('alert', await answer(), message);
	await returned(page);
}

// Runs drives, functions by their titles, in one browser.
export async function session(drives)
{
	browser = await openBrowser();
	try {
		for (const [title, drive] of Object.entries(drives)) {
			suite = title;
			await drive();
			same('complaints in the console', await complaints(), []);
		}
	} catch (error) {
		failures++;
		console.log(`FAILED ${suite}: ${error.stack}`);
	} finally {
		await browser.close();
	}
}

// Says how many checks passed, and gives the exit status.
export function sumUp()
{
	console.log(`${checks - failures} of ${checks} checks passed`);
	return failures ? 1 : 0;
}

// What the drives of the pages share: the checks, the stores of the router, and the steps that are
// the same on every page.
import fs from 'node:fs';
import path from 'node:path';
import { openBrowser, wait } from './webdriver.mjs';

export const site = process.env.QOS_SITE;
export const cgi = `${site}/qos_config/cgi-bin/main.cgi`;
const stores = path.join(process.env.QOS_ROOT, 'etc/conf/qos_config');
export const read = name => fs.readFileSync(path.join(stores, name), 'utf8');

let checks = 0, failures = 0, suite = '';

export function same(what, got, expected)
{
	checks++;
	if (JSON.stringify(got) === JSON.stringify(expected))
		return;
	failures++;
	console.log(`FAILED ${suite}: ${what}\n  got      ${JSON.stringify(got)}` +
		`\n  expected ${JSON.stringify(expected)}`);
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
export const { answer, arrive, back, choose, click, complaints, open, point, run, type } =
	new Proxy({}, { get: (none, name) => (...args) => browser[name](...args) });

export const button = name => `img[name="${name}"]`;
export const value = name => run(`document.forms[0].elements[arguments[0]].value`, name);
export const values = name =>
	run(`[...document.forms[0].elements[arguments[0]]].map(e => e.value)`, name);
export const checked = name =>
	run(`[...document.forms[0].elements[arguments[0]]].map(e => e.checked)`, name);
export const texts = selector =>
	run(`[...document.querySelectorAll(arguments[0])].map(e => e.textContent)`, selector);

// Opens the picker of a button, and picks the id.
export async function pick(buttonName, id)
{
	const picker = 'select:not([name])';
	await click(buttonName);
	await click(`${picker} option[value="${id}"]`);
	await wait('the picker to close', async () => (await texts(picker)).length === 0);
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

// Sends the page, which is refused.
export async function refused(buttonName, message, page)
{
	await click(button(buttonName));
	same('alert', await answer(), message);
	await returned(page);
}

// Runs drives, functions by their titles, in a browser of these flags.
export async function session(name, flags, drives)
{
	browser = await openBrowser(flags);
	try {
		for (const [title, drive] of Object.entries(drives)) {
			suite = `${title} (${name})`;
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

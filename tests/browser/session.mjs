// SPDX-License-Identifier: MIT
// What the drives of the pages share: the checks, the stores of the router, and the steps that are
// the same on every page.
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { openBrowser, wait } from './browser.mjs';

export const site = process.env.QOS_SITE;
export const cgi = `${site}/qos_config/cgi-bin/main.cgi`;
const stores = path.join(process.env.QOS_ROOT, 'etc/conf/qos_config');
export const read = name => fs.readFileSync(path.join(stores, name), 'utf8');

// Puts a file of the stores back as it was, whole, for pages may ask for it; null: there was none.
export function write(name, text)
{
	const file = path.join(stores, name), draft = path.join(stores, '..', 'draft');
	if (text === null) {
		fs.rmSync(file, { force: true });
		return;
	}
	fs.writeFileSync(draft, text);
	fs.renameSync(draft, file);
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
export const { answer, arrive, back, choose, click, closeTab, complaints, goTo, leavings, open,
	openTab, page, paste, point, press, reload, run, settle, type } =
	new Proxy({}, { get: (none, name) => (...args) => browser[name](...args) });

export const button = name => `a:has(> img[name="${name}"])`;
export const value = name => run(`document.forms[0].elements[arguments[0]].value`, name);
export const values = name =>
	run(`[...document.forms[0].elements[arguments[0]]].map(e => e.value)`, name);
export const checked = name =>
	run(`[...document.forms[0].elements[arguments[0]]].map(e => e.checked)`, name);
export const texts = selector =>
	run(`[...document.querySelectorAll(arguments[0])].map(e => e.textContent)`, selector);

export const choices = () => texts('dialog li b');
export const closed = () => wait('the chooser to close',
	() => run(`!document.querySelector('dialog')`));

// Opens the chooser of a button; it has asked for what there is to choose.
export async function openChooser(buttonName)
{
	await click(buttonName);
	await wait('the choices', async () => (await choices()).length > 0);
}

// Opens the chooser of a button, and takes the id.
export async function pick(buttonName, id)
{
	await openChooser(buttonName);
	await click(`dialog li@${(await choices()).indexOf(id)}`);
	await closed();
}

// Unfolds what a heading hides.
export async function unfold(title)
{
	const n = (await texts('.fold span')).indexOf(title);
	if (await run(`document.querySelectorAll('.fold')[arguments[0]].ariaExpanded`, n) !== 'true')
		await click(`.fold@${n}`);
}

// What is said beside a field: it is tied to it. Only what is visible counts.
export const said = (name, n = 0) => run(`(field => (field.getAttribute('aria-describedby') || '')
	.split(' ').map(id => document.getElementById(id)).filter(Boolean)
	.map(note => note.firstChild.textContent))(document.getElementsByName(arguments[0])[arguments[1]])`,
	name, n);

// Save has summed up so many things that are wrong, and the summary has the focus.
export const summed = count => wait(`a summary of ${count}`, () => run(
	`document.querySelectorAll('#wrong:focus a').length === arguments[0]`, count));

// From the list of a kind to the page of a new object, by their links.
export async function openNew(kind)
{
	await open(cgi + list(kind));
	await click('.head a.btn');
	await arrive(query(kind, 'new'));
}

export async function openEdit(kind, id)
{
	await open(cgi + list(kind));
	same(`link to ${id}`, await run(`[...document.querySelectorAll('th a')]
		.some(a => a.search.endsWith('action=open&id=' + arguments[0]))`, id), true);
	await open(cgi + query(kind, 'edit', id));
}

const ask = (kind, id) => `?type=list&action=ask&obj=${kind}&id=${id}`;

async function openQuestion(kind, id)
{
	await open(cgi + list(kind));
	await click(`a[href="${ask(kind, id)}"]`);
	await arrive(ask(kind, id));
}

// Deletes an object by the button of its list, after a first thought of not doing so.
export async function remove(kind, id)
{
	await openQuestion(kind, id);
	await click('form .btn');
	await arrive(list(kind));
	same('kept', stored(kind, id) !== '', true);
	await openQuestion(kind, id);
	await click('form [type=submit]');
}

// The delete is off, and leads to the reason.
export async function keep(kind, id, reason)
{
	await open(cgi + list(kind));
	same(`delete of ${id} is off`, await run(`document.querySelector(
		'a[href="' + arguments[0] + '"]').ariaDisabled`, ask(kind, id)), 'true');
	await openQuestion(kind, id);
	same('reason', await texts('.msg.bad'), [`It cannot be deleted: ${reason}. Change that first.`]);
	same('no button', await run('document.forms.length'), 0);
	await open(cgi + list(kind));
}

// The page is there again, as it was filled in.
export async function returned(page)
{
	await arrive(page);
	await wait('the filled-in form',
		() => run(`document.readyState === 'complete' && page && sent === false`)
			.catch(() => false));
}

// Deletes an object straight away.
export async function drop(kind, id)
{
	await open(cgi + ask(kind, id));
	await click('form [type=submit]');
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

// Sends the page, which is refused: nothing has told it so before, and what was asked is not heard.
export async function refused(buttonName, message, page)
{
	await run(`(window.weigh = () => {}, clearTimeout(thinking), asking++,
		remove_notes('weighed'), true)`);
	await click(button(buttonName));
	same('alert', await answer(), message);
	await returned(page);
}

const STORES = ['policy', 'class', 'filter', 'port', 'ip', 'basic', 'desc'];

// A copy of the stores; putting it back is no change of a page.
function layAside()
{
	const aside = fs.mkdtempSync(path.join(os.tmpdir(), 'stores-'));
	for (const name of STORES)
		fs.cpSync(path.join(stores, name), path.join(aside, name), { recursive: true });
	return aside;
}

function putBack(aside)
{
	fs.rmSync(path.join(stores, 'desc'), { recursive: true });
	fs.cpSync(aside, stores, { recursive: true });
}

// Of a page that failed, for who looks into it: into the folder QOS_PICTURES.
async function takePicture()
{
	const folder = process.env.QOS_PICTURES;
	if (folder)
		await browser.page().screenshot({ path: path.join(folder, suite + '.png') })
			.catch(() => {}); // with a message box open there is none
}

// Runs drives, functions by their titles. Each finds the stores as they are now.
export async function session(drives)
{
	browser = await openBrowser();
	const aside = layAside();
	for (const [title, drive] of Object.entries(drives)) {
		suite = title;
		leavings();
		try {
			await drive();
			await browser.settle(50); // before the stores are put back
			same('complaints in the console', complaints(), []);
		} catch (error) {
			checks++;
			failures++;
			console.log(`FAILED ${suite}: ${error.stack}\n${await browser.tell()}`);
			await takePicture();
			await browser.startAnew();
		}
		putBack(aside);
	}
	await browser.close();
	fs.rmSync(aside, { recursive: true });
}

// Says how many checks passed, and gives the exit status.
export function sumUp()
{
	console.log(`${checks - failures} of ${checks} checks passed`);
	return failures ? 1 : 0;
}

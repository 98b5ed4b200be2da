// SPDX-License-Identifier: MIT
// How the pages stand on a phone and on a wide screen, light and dark: nothing is wider than the
// window, and automatic checks of accessibility and of our own markup find nothing.
import { HtmlValidate } from 'html-validate';
import { browserName, readScript, wait } from './browser.mjs';
import { arrive, back, button, cgi, click, closed, complaints, list, notice, open, openChooser, page,
	press, query, read, run, same, settle, settled, summed, texts, type, unfold, write } from './session.mjs';

const AXE = readScript('axe-core/axe.min.js');
const WIDTHS = [320, 768, 1280];
const LINES = 900; // px
// What the colours and the width change; the others are seen once.
const COLOURS = { runOnly: ['color-contrast'] };

const router = type => `?obj=router&type=${type}`;
const KINDS = ['policy', 'class', 'basic', 'filter', 'port', 'ip'];

// The pages of our own, and what each must show to be the page that is meant.
const OWN = ['overview', 'apply', 'curves', 'week', 'explain', 'history', 'bundle&action=offer',
	'first', 'rename&kind=class&id=fibre-web'].map(router).concat(
	KINDS.map(list),
	['class', 'filter', 'port', 'ip', 'basic'].map(kind =>
		list(kind) + `&action=ask&id=${first(kind)}`),
	query('basic', 'new'), query('basic', 'edit', 'workshop'),
	query('basic', 'edit', 'workshop-desk'),
	'?obj=none&type=list', query('class', 'save', 'x'));

const PRINTED = ['policy', 'class', 'filter', 'port', 'ip'].flatMap(kind => {
	const id = kind === 'policy' ? 'LAN1' : first(kind);
	return [query(kind, 'new', kind === 'policy' ? 'LAN2' : ''), query(kind, 'edit', id),
		query(kind, 'view', id)];
});

// The last object of a store: those of a list are on its page, whatever comes before.
function first(kind)
{
	return [...read(kind).matchAll(/^\[(.*)\]$/gm)].at(-1)[1];
}

const validator = new HtmlValidate({
	extends: ['html-validate:recommended'],
	rules: { 'no-inline-style': ['error', { allowedProperties: [] }],
		'attribute-boolean-style': 'off', 'attr-quotes': 'off', 'doctype-style': 'off',
		'long-title': 'off', 'no-trailing-whitespace': 'off',
		// The boxes of a list have one name, and post a value each.
		'form-dup-name': ['error', { shared: ['radio', 'checkbox', 'button', 'submit'] }] },
});

// Custom properties are figures that the style draws.
const withoutFigures = html => html.replace(/ style='(?:--\w+:[\d.]+%?;?)+'/g, '');

async function driveMarkup()
{
	for (const page of OWN) {
		const answer = await fetch(cgi + page);
		const report = await validator.validateString(withoutFigures(await answer.text()));
		same(`markup of ${page}`, report.results.flatMap(({ messages }) =>
			messages.map(({ line, message, ruleId }) => `${line}: ${ruleId}: ${message}`)), []);
	}
}

async function lookForFaults(what, options = {})
{
	const { violations } = await page().evaluate(asked => globalThis.axe.run(asked), options);
	same(`accessibility of ${what}`, violations.map(({ id, nodes }) =>
		`${id}: ${nodes.map(node => node.html.slice(0, 100)).join(' ')}`), []);
}

async function lookAtWidth(what)
{
	same(`width of ${what}`,
		await run('document.documentElement.scrollWidth - innerWidth > 0'), false);
}

// The page as it stands: on a phone, at the zooms of a desk, light and dark.
export async function look(what)
{
	await settle(100);
	await page().evaluate(AXE);
	for (const width of WIDTHS) {
		await page().setViewport({ width, height: LINES });
		await lookAtWidth(`${what}, ${width} px`);
		if (width !== 768)
			await lookForFaults(`${what}, ${width} px`);
	}
	if (browserName !== 'chromium')
		return;
	await page().emulateMediaFeatures([{ name: 'prefers-color-scheme', value: 'dark' }]);
	await lookForFaults(`${what}, dark`, COLOURS);
	await page().emulateMediaFeatures([]);
}

export async function lookAtAll(address)
{
	await open(cgi + address);
	await look(address);
}

// Of the answers that were no success.
const statuses = () => complaints().map(text => /status of (\d+)/.exec(text)?.[1]);

async function driveOwn()
{
	for (const address of OWN)
		await lookAtAll(address);
	same('the refusals', statuses(), ['400', '405']);
}

async function drivePrinted()
{
	for (const address of PRINTED)
		await lookAtAll(address);
}

// A class with all that is folded in sight, then with the chooser over it, then with what is wrong.
async function driveForm()
{
	await open(cgi + query('class', 'edit', 'fibre-web'));
	await settle(100);
	for (const title of ['Schedule 2', 'Schedule 3'])
		await unfold(title);
	await look('a class unfolded');
	await page().setViewport({ width: WIDTHS[0], height: LINES });
	await openChooser(button('add1'));
	await look('the chooser');
	await press('Escape');
	await closed();
	await type('[name=rate]', 'much');
	await click(button('edit'));
	await summed(1);
	await look('a class with an error');
	await run(`(document.forms[0].elements.rate.value = '8', keep(), true)`);
	await open(cgi + query('port', 'new'));
	await type('[name=num]', '70000');
	await click(button('Image271211'));
	await wait('what is said', async () => (await texts('.said.typed')).length === 1);
	await look('a list with an error');
	await run(`(forget(), true)`);
	await settled();
}

// What is refused for what was changed meanwhile.
async function driveConflict()
{
	await open(cgi + query('port', 'edit', 'web-pair'));
	await settle(100);
	await type('[name=desc]', 'mine');
	write('port', read('port').replace('PORT_LIST[1]=443\n', 'PORT_LIST[1]=444\n'));
	await click(button('edit'));
	await wait('the refusal',
		() => run(`document.readyState === 'complete' && !document.forms.length`));
	await look('a refusal as old');
	same('the one complaint', statuses(), ['409']);
	await back();
	await arrive(query('port', 'edit', 'web-pair'));
	await notice('web-pair has been changed meanwhile');
	await look('what is stored beside what was typed');
	await click('.notice button@1');
	await settled();
}

// A router of which nothing is configured.
async function driveEmpty()
{
	for (const kind of KINDS)
		write(kind, '');
	for (const address of [router('overview'), router('first'), router('apply'), ...KINDS.map(list)])
		await lookAtAll(address);
}

// At 200 % zoom, and on paper.
async function driveZoom()
{
	const pages = [router('overview'), router('apply'), list('class'),
		query('class', 'edit', 'fibre-guests')];
	for (const address of pages) {
		await page().setViewport({ width: 640, height: LINES / 2, deviceScaleFactor: 2 });
		await open(cgi + address);
		await settle(100);
		await lookAtWidth(`${address} at 200 %`);
		await page().evaluate(AXE);
		await lookForFaults(`${address} at 200 %`);
		if (browserName !== 'chromium')
			continue;
		await page().emulateMediaType('print');
		await lookAtWidth(`${address} on paper`);
		same(`what is no use on paper, of ${address}`, await run(`[...document.querySelectorAll(
			'nav, .apply, .save, .btn')].filter(part => part.checkVisibility()).length`), 0);
		await page().emulateMediaType(null);
	}
	await page().setViewport({ width: 1280, height: LINES });
}

// Titles tell the tabs apart.
async function driveTitles()
{
	const titles = [];
	for (const address of [...OWN, ...PRINTED].filter(one => !/none|save/.test(one))) {
		await open(cgi + address);
		await settle(100);
		titles.push(await run('document.title'));
	}
	same('titles that two pages have',
		titles.filter((title, n) => titles.indexOf(title) !== n), []);
}

export const looks = { markup: driveMarkup, titles: driveTitles, 'own pages': driveOwn,
	'printed pages': drivePrinted, 'states of forms': driveForm, 'old pages': driveConflict,
	'empty router': driveEmpty, 'zoom and paper': driveZoom };

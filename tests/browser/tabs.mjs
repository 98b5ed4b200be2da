// SPDX-License-Identifier: MIT
// One object open in two tabs: a form that is no longer the newest is refused, and shows what is
// stored beside what differs.
import { wait } from './browser.mjs';
import { answer, arrive, back, button, cgi, choose, click, closeTab, complaints, drop, goTo, list,
	notice, open, openTab, query, read, run, same, settled, stored, texts, type, value, values }
	from './session.mjs';

// Runs a drive that is given two tabs, functions that go to them.
async function inTwoTabs(drive)
{
	const [first, second] = await openTab();
	await drive(() => goTo(first), () => goTo(second));
	await goTo(second);
	await closeTab();
	await goTo(first);
}

const edit = (kind, id) => open(cgi + query(kind, 'edit', id));

async function save(kind)
{
	await click(button('edit'));
	await arrive(list(kind));
}

// The status of the page, as the browser was told.
const status = () => run(`performance.getEntriesByType('navigation')[0].responseStatus`);

// Sends the form, which is not the newest any more; the way back leads to it.
async function refusedAsOld(page)
{
	await click(button('edit'));
	await wait('the refusal', () => run(`document.readyState === 'complete' &&
		!document.forms.length`).catch(() => false));
	same('status', await status(), 409);
	const statuses = (complaints()).map(text => /status of (\d+)/.exec(text)?.[1]);
	same('the one complaint', statuses, ['409']);
	await back();
	await arrive(page);
}

const notes = name => run(`[...document.querySelectorAll('.said.stored')]
	.filter(({ of }) => of.name === arguments[0]).map(note => note.textContent)`, name);
const EDIT = query('class', 'edit', 'fibre-web');

// What is changed of fibre-web.
const WEB = /(\[fibre-web\][^]*?\n)RATE=8(\n[^]*?CEIL=)19(\n[^]*?BURST=)15/;

async function driveOrders()
{
	const before = read('class');
	await inTwoTabs(async (first, second) => {
		// One after the other: nothing is refused.
		for (const [go, to] of [[first, '9'], [second, '8']]) {
			await go();
			await edit('class', 'fibre-web');
			await type('[name=rate]', to);
			await save('class');
		}
		same('one after the other', read('class'), before);

		for (const [one, other] of [[first, second], [second, first]]) {
			await first();
			await edit('class', 'fibre-web');
			await second();
			await edit('class', 'fibre-web');
			await one();
			await type('[name=rate]', '9');
			await type('[name=burst]', '16');
			await save('class');
			await other();
			await type('[name=rate]', '7');
			await type('[name=ceil]', '18');
			await refusedAsOld(EDIT);
			await notice('fibre-web has been changed meanwhile');
			same('stored beside', [await notes('rate'), await notes('burst'),
				await notes('ceil'), await notes('mtu')],
			[['stored: 9'], ['stored: 16 (stays)'], ['stored: 19'], []]);
			same('mine',
				[await value('rate'), await value('burst'), await value('ceil')],
				['7', '15', '18']);
			await click('.notice button@0');
			await arrive(list('class'));
			same('mine over it', read('class'),
				before.replace(WEB, '$1RATE=7$218$316'));
			await edit('class', 'fibre-web');
			await type('[name=rate]', '8');
			await type('[name=ceil]', '19');
			await type('[name=burst]', '15');
			await save('class');
			same('as it was', read('class'), before);
		}
	});
}

async function driveTaking()
{
	await inTwoTabs(async (first, second) => {
		await first();
		await edit('port', 'web-pair');
		await type('[name=desc]', 'mine');
		await second();
		await edit('port', 'web-pair');
		await type('[name=desc]', 'theirs');
		await save('port');
		await first();
		await type('[name=num]', '8080');
		await click(button('Image271211'));
		await refusedAsOld(query('port', 'edit', 'web-pair'));
		await notice('web-pair has been changed meanwhile');
		same('stored beside', [await notes('desc'), await notes('port_list')],
			[['stored: theirs'], ['stored: 80, 443']]);
		await click('.notice button@1');
		await settled();
		same('taken', [await value('desc'), await values('port_list')],
			['theirs', ['80', '443']]);
		await type('[name=desc]', 'web, in the clear and not');
		await save('port');
	});
}

async function driveDeleted()
{
	const before = read('port');
	await inTwoTabs(async (first, second) => {
		await first();
		await open(cgi + query('port', 'new'));
		await type('[name=id]', 'fresh');
		await type('[name=num]', '99');
		await click(button('Image271211'));
		await click(button('save'));
		await arrive(list('port'));
		for (const anew of [true, false]) {
			await first();
			await edit('port', 'fresh');
			await type('[name=num]', anew ? '100' : '101');
			await click(button('Image271211'));
			await second();
			await drop('port', 'fresh');
			await first();
			await refusedAsOld(query('port', 'edit', 'fresh'));
			await notice('fresh has been deleted meanwhile.');
			complaints(); // of the state of what is not there
			await click(`.notice button@${anew ? 0 : 1}`);
			await arrive(list('port'));
			same('saved anew', stored('port', 'fresh'),
				anew ? 'PORT_LIST[0]=99\nPORT_LIST[1]=100\n' : '');
		}
	});
	same('port store', read('port'), before);
}

async function takeSchool()
{
	await choose('[name=unuse_filter_id]', 'school');
	await click('input[type=button]@2');
}

async function leaveSchool(id)
{
	await edit('class', id);
	await choose('[name=filter_id]', 'school');
	await click('input[type=button]@0');
	await save('class');
}

// A filter that another class has taken since this page was opened.
async function driveTaken()
{
	const before = [read('class'), read('filter')];
	const question = 'fibre-mail has the filter school. Give it to this class too?';
	await inTwoTabs(async (first, second) => {
		await first();
		await edit('class', 'fibre-web');
		await takeSchool();
		await second();
		await edit('class', 'fibre-mail');
		await takeSchool();
		await save('class');
		await first();
		await refusedAsOld(EDIT);
		await wait('its owner', async () =>
			(await texts('[name=filter_id] option')).some(text =>
				text.startsWith('school (fibre-mail)')));
		await click(button('edit'));
		same('question', await answer(false), question);
		await click(button('edit'));
		same('question', await answer(true), question);
		await arrive(list('class'));
		same('shared', /^FILTER_ID\[2\]=.*/m.exec(stored('class', 'fibre-web'))?.[0],
			'FILTER_ID[2]=school');
		await leaveSchool('fibre-web');
		await leaveSchool('fibre-mail');

		await open(cgi + query('class', 'new'));
		await type('[name=id]', 'fresh');
		await takeSchool();
		await second();
		await edit('class', 'fibre-mail');
		await takeSchool();
		await save('class');
		await first();
		await click(button('save'));
		same('question of a new class', await answer(false), question);
		same('not saved', stored('class', 'fresh'), '');
		await leaveSchool('fibre-mail');
	});
	same('class store', read('class'), before[0]);
	same('filter store', read('filter'), before[1]);
}

export const tabs = { 'two tabs': driveOrders, 'what is stored': driveTaking,
	deleted: driveDeleted, 'filter taken': driveTaken };

// SPDX-License-Identifier: MIT
// The lists: deletes that are asked about, or off with their reason, and what a save says on them.
import { wait } from './browser.mjs';
import { arrive, cgi, drop, keep, list, open, query, remove, run, same, stored, texts, value, write,
	read } from './session.mjs';

const note = async words =>
	same('note', await texts('.msg.good'), [`Saved: ${words}. It does not run yet.`]);

async function driveDeletes()
{
	const before = ['class', 'filter'].map(read);
	await keep('class', 'fibre-rest', 'it takes the rest of WAN1 (LAN1)');
	await keep('filter', 'sip', 'the class fibre-voice names it');
	await keep('port', 'any-port', 'the filter sip names it');
	await keep('basic', 'workshop-desk', 'it is the second band of workshop');
	await remove('filter', 'school');
	await arrive(list('filter'));
	await wait('the delete', () => stored('filter', 'school') === '');
	await note('school: filter removed');
	await drop('class', 'fibre-voice');
	await note('fibre-voice: class removed');
	await open(cgi + list('policy'));
	same('policies stay', await run(`document.querySelectorAll('.act a').length`), 0);
	['class', 'filter'].forEach((name, i) => write(name, before[i]));
}

async function driveSaves()
{
	const before = read('class');
	await open(cgi + query('class', 'edit', 'fibre-web'));
	await wait('the form', async () => await value('rate') === '8');
	await run(`document.forms[0].elements.rate.value = '7'`);
	await run(`document.forms[0].elements.rate.dispatchEvent(new Event('change'))`);
	await run(`go_update(document.forms[0])`);
	await arrive(list('class'));
	await note('fibre-web: rate 8 -> 7 Mbit/s');
	same('marked', await texts('.saved th'), ['fibre-web just saved']);
	write('class', before);
}

export const lists = { deletes: driveDeletes, 'saves on lists': driveSaves };

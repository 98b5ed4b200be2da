// SPDX-License-Identifier: MIT
// What was typed is kept with the page until it is saved, and is not left behind unasked.
import { browserName } from './browser.mjs';
import { answer, arrive, back, button, cgi, choose, click, drop, leavings, list, notice, open,
	query, read, refused, reload, run, same, settled, texts, type, unfold, value, values } from './session.mjs';

const EDIT = query('class', 'edit', 'fibre-web');

const openClass = () => open(cgi + EDIT);
const dirty = () => run(`is_dirty()`);

const BACK = 'What was typed here is back, and is not saved yet. forget it';

async function driveReload()
{
	const before = read('class');
	await openClass();
	same('untouched page', [await dirty(), await texts('.notice')], [false, []]);
	await reload();
	await arrive(EDIT);
	same('untouched page, reloaded', [await dirty(), await texts('.notice')], [false, []]);

	await type('[name=rate]', '7');
	await choose('[name=leaf]', 'pfifo');
	await type('[name=limit]', '55');
	await unfold('Schedule 2');
	await click('[name=time_enable]@1');
	await choose('[name=filter_id]', 'staff-http');
	await click('input[type=button]@0');
	await reload();
	if (browserName === 'chromium') // firefox reloads for a program without asking
		same('a reload asks', leavings(), 1);
	await notice(BACK);
	same('typed values', [await value('rate'), await value('leaf'), await value('limit'),
		await values('filter_id')], ['7', 'pfifo', '55', ['staff-https']]);
	await click('.notice button');
	await settled();
	same('stored values', [await value('rate'), await value('leaf'), await value('quantum'),
		await values('filter_id'), await texts('.notice')],
	['8', 'sfq', '1514', ['staff-http', 'staff-https'], []]);
	same('class store', read('class'), before);
}

const FILTERS = `nav a[href$='obj=filter&type=list']`;

async function driveLeaving()
{
	await openClass();
	await click(FILTERS);
	await arrive(list('filter'));
	same('an untouched page does not ask', leavings(), 0);

	await openClass();
	await type('[name=rate]', '7');
	await click(FILTERS);
	await arrive(list('filter'));
	same('leaving asks', leavings(), 1);
	await back();
	await arrive(EDIT);
	await notice(BACK);
	same('on the way back', await value('rate'), '7');
	await type('[name=rate]', '8');
	await click(FILTERS);
	await arrive(list('filter'));
	same('a page typed back does not ask', leavings(), 0);

	await openClass();
	await type('[name=rate]', '9');
	await click(button('edit'));
	await arrive(list('class'));
	same('a save does not ask', leavings(), 0);
	await saveRate('8');
}

async function saveRate(rate)
{
	await openClass();
	await type('[name=rate]', rate);
	await click(button('edit'));
	await arrive(list('class'));
}

async function driveDevice()
{
	const home = query('policy', 'open', 'LAN1');
	await open(cgi + home);
	await type('[name=r2q]', '31');
	await choose('select[name=id]', 'LAN3');
	same('another device asks', await answer(false),
		'What was typed here is not saved. Leave it?');
	same('the device stays', [await value('id'), await value('r2q')], ['LAN1', '31']);
	await choose('select[name=id]', 'LAN3');
	await answer(true);
	await arrive(query('policy', 'open', 'LAN3'));
	same('other device', [await value('id'), await value('r2q')], ['LAN3', '60']);
	await back();
	await arrive(home);
	await notice(BACK);
	same('on the way back', [await value('id'), await value('r2q')], ['LAN1', '31']);
	await click('.notice button');
	await settled();
}

// After a save that went through, the way back leads to what is stored.
async function driveSaved()
{
	await openClass();
	await type('[name=rate]', '9');
	await click(button('edit'));
	await arrive(list('class'));
	await back();
	await arrive(EDIT);
	await settled();
	same('saved', [await value('rate'), await texts('.notice')], ['9', []]);
	await saveRate('8');

	await open(cgi + query('port', 'new'));
	await type('[name=id]', 'fresh');
	await type('[name=num]', '80');
	await click(button('Image271211'));
	await click(button('save'));
	await arrive(list('port'));
	await back();
	await arrive(query('port', 'new'));
	await settled();
	same('new again', [await value('id'), await values('port_list')], ['', []]);
	await type('[name=id]', 'fresh');
	await type('[name=num]', '81');
	await click(button('Image271211'));
	await refused('save', 'Duplicated ID', query('port', 'new'));
	await notice(BACK);
	same('after a refusal', [await value('id'), await values('port_list')], ['fresh', ['81']]);
	await click('.notice button');
	await settled();
	await drop('port', 'fresh');
}

export const typed = { reload: driveReload, leaving: driveLeaving, device: driveDevice,
	saved: driveSaved };

// SPDX-License-Identifier: MIT
// What the script adds to the forms: the chooser, the fixed id and the copy, the check before a
// form is sent, the filters of others, and the days of schedule tables.
import { wait } from './browser.mjs';
import { answer, arrive, back, button, cgi, choices, choose, click, closed, complaints, drop, list,
	notice, open, openChooser, page, paste, pick, press, query, read, run, said, same, settled, stored,
	summed, texts, type, unfold, value, values, write } from './session.mjs';

const EDIT = query('class', 'edit', 'fibre-web');
const focus = () => run(`(at => at.querySelector('img')?.name || at.value || at.name || at.type)(
	document.activeElement)`);
const marked = () => texts('dialog li[aria-selected=true] b');

async function driveChooser()
{
	const before = read('class');
	await open(cgi + EDIT);
	await openChooser(button('add1'));
	same('search has the focus', await focus(), 'search');
	same('marked is what is chosen', await marked(), ['fibre-staff']);
	const offered = await choices();
	same('no class is offered itself', [offered.includes('fibre-web'), offered.at(-1)],
		[false, 'none']);
	await press('ArrowDown', 'ArrowDown', 'ArrowUp');
	same('marked by keys', await marked(), ['fibre-mail']);
	await press('Escape');
	await closed();
	same('left', [await value('parent_id'), await focus(), await run('is_dirty()')],
		['fibre-staff', 'add1', false]);
	await press(' ');
	await wait('the choices', async () => (await choices()).length > 0);
	await press(...'office-');
	same('found', [await choices(), await texts('dialog small[role=status]')],
		[['office-phones', 'office-guests', 'office-rest', 'none'], ['3 of 14']]);
	same('the first is marked', await marked(), ['office-phones']);
	await press('ArrowDown', 'Enter');
	await closed();
	same('taken by keys', [await value('parent_id'), await focus(), await run('is_dirty()')],
		['office-guests', 'add1', true]);
	same('class store', read('class'), before);
	await open(cgi + list('class'));
}

// None is taken only by who goes there, and a search without a result takes nothing.
async function driveNone()
{
	await open(cgi + EDIT);
	await openChooser(button('add1'));
	await press(...'nowhere');
	same('nothing is found', [await choices(), await marked()], [['none'], []]);
	same('nothing can be taken', await run(`document.querySelector('dialog .first').disabled`),
		true);
	await press('Enter');
	same('still open', [await value('parent_id'), (await texts('dialog[open]')).length],
		['fibre-staff', 1]);
	await press('ArrowDown', 'Enter');
	await closed();
	same('none', await value('parent_id'), '');
	await openChooser(button('add1'));
	await click('dialog form button@1');
	await closed();
	same('left by its button', await value('parent_id'), '');
	await pick(button('add1'), 'office');
	same('taken by a click', await value('parent_id'), 'office');
	await open(cgi + list('class'));
}

// A list that cannot be had says so, and is had by trying again.
async function driveNoList()
{
	await open(cgi + EDIT);
	const fail = `(window.answered = window.fetch, window.fetch = () => Promise.reject(), true)`;
	await run(fail);
	await click(button('add1'));
	await wait('the reason', async () =>
		(await texts('dialog [role=status]'))[0]?.startsWith('The router did not answer.'));
	await press('Enter');
	same('nothing is taken', [await value('parent_id'), await choices()], ['fibre-staff', []]);
	await run(`(window.fetch = window.answered, true)`);
	await click('dialog [role=status] button');
	await wait('the choices', async () => (await choices()).length > 0);
	same('had again', await marked(), ['fibre-staff']);
	await press('Escape');
	await closed();
}

async function driveId()
{
	for (const [kind, id] of [['class', 'fibre'], ['filter', 'sip'], ['port', 'sip'],
		['ip', 'staff']]) {
		await open(cgi + query(kind, 'edit', id));
		await click('[name=id]');
		await press(...'xyz');
		same(`id of a ${kind}`, [await value('id'), await run('is_dirty()')], [id, false]);
		await open(cgi + query(kind, 'new'));
		await click('[name=id]');
		await press(...'xyz');
		same(`id of a new ${kind}`, await value('id'), 'xyz');
	}
}

// A policy of a device that the page does not know is not saved over that of the first.
async function driveOddDevice()
{
	const before = read('policy');
	write('policy', before + '[WAN7]\nR2Q=77\nQDISC=htb\n');
	await open(cgi + query('policy', 'edit', 'WAN7'));
	same('no device', [await value('id'), await value('r2q'), await run('is_dirty()')],
		['', '77', false]);
	await type('[name=r2q]', '78');
	await click(button('edit'));
	await wrongAt(0, 'allowed is');
	same('policies', read('policy'), before + '[WAN7]\nR2Q=77\nQDISC=htb\n');
	write('policy', before);
	await open(cgi + list('class'));
}

// The n-th thing that is said to be wrong begins so.
const wrongAt = (n, text) => wait(`"${text}"`,
	async () => (await texts('.said.wrong'))[n]?.startsWith(text));

async function saveAs(id)
{
	await click('.copy button');
	await type('[name=id]', id);
	await click(button('edit'));
}

async function driveCopy()
{
	const before = read('class'), filters = read('filter');
	const original = stored('class', 'fibre-web');
	await open(cgi + EDIT);
	await type('[name=rate]', '6');
	await click('.copy button');
	same('what becomes of the filters', await texts('.copy'),
		['saved as a copy: fibre-web stays as it is, with its filters.']);
	await type('[name=id]', 'fibre-mail');
	await click(button('edit'));
	same('taken id', await answer(), 'Duplicated ID');
	await arrive(EDIT);
	await notice('What was typed here is back');
	same('class store', read('class'), before);
	await saveAs('no id');
	await summed(1);
	await wrongAt(0, 'allowed is 1 to 32 letters');
	await type('[name=id]', 'fibre-copy');
	await click(button('edit'));
	await arrive(list('class'));
	same('copy', stored('class', 'fibre-copy'),
		original.replace('RATE=8', 'RATE=6').replace(/FILTER_ID.*\n/g, ''));
	same('original', stored('class', 'fibre-web'), original);
	same('filters', read('filter'), filters);
	await back();
	await arrive(EDIT);
	await settled();
	await drop('class', 'fibre-copy');
	same('class store', read('class'), before);

	await open(cgi + query('ip', 'edit', 'staff'));
	await saveAs('fresh');
	await arrive(list('ip'));
	same('copied list', [stored('ip', 'fresh'), read('desc/fresh.ip').trim()],
		[stored('ip', 'staff'), read('desc/staff.ip').trim()]);
	await drop('ip', 'fresh');
}

async function driveChecks()
{
	await open(cgi + query('class', 'new'));
	await type('[name=id]', 'two words');
	await unfold('Schedule 2');
	await type('[name=time_rate]@1', '1.5');
	await click('.fold@2'); // what is wrong is found although it is folded
	await click(button('save'));
	await summed(2);
	await wrongAt(0, 'allowed is 1 to 32 letters');
	await wrongAt(1, 'allowed is a number of 1 to 10 digits, or nothing');
	same('the summary has the focus', [await run(`document.activeElement.id`),
		await texts('#wrong b'), await run(`location.search`)],
	['wrong', ['2 fields are not right yet'], query('class', 'new')]);
	same('its links', (await texts('#wrong a')).map(text => text.split(': allowed')[0]),
		['Name', 'Schedule 2, Rate']);
	await click('#wrong a@1');
	same('the link leads to the field', await run(`[document.activeElement.name,
		document.activeElement.ariaInvalid, document.activeElement.checkVisibility()]`),
	['time_rate', 'true', true]);
	same('tied to it', (await said('time_rate', 1)).map(text => text.slice(0, 10)),
		['allowed is']);
	await type('[name=time_rate]@1', '2');
	await click('[name=id]');
	await wait('one fault less', () => run(`document.querySelector('#wrong').textContent
		.startsWith('One field is not right yet')`));
	same('what is mended is summed no more',
		(await texts('#wrong a')).map(text => text.split(':')[0]), ['Name']);
	await run(`(page.form.elements.filter_id.replaceChildren(
		...Array.from({ length: 65 }, (none, n) => new Option('f' + n, 'f' + n))), true)`);
	await type('[name=id]', 'fresh');
	await type('[name=time_rate]@1', '');
	await click(button('save'));
	await wrongAt(0, 'at most 64 are taken, and these are 65');
	complaints(); // of the sentence, which is refused too

	await open(cgi + query('port', 'new'));
	await wait('the rules', () => run(`rules !== null`));
	await type('[name=num]', Array.from({ length: 18 }, (none, n) => n + 1).join(' '));
	await click(button('Image271211'));
	same('full list', [(await values('port_list')).length, await texts('.said.typed'),
		await value('num')], [17, ['18: too many, a list holds 17. '], '18']);
	await type('[name=num]', '');
	await type('[name=id]', 'fresh');
	await type('[name=desc]', 'one\ntwo');
	await click(button('save'));
	await wrongAt(0, 'allowed is one line');
	same('nothing was saved', stored('port', 'fresh'), '');
}

async function driveEntries()
{
	await open(cgi + query('ip', 'new'));
	await wait('the rules', () => run(`rules !== null`));
	await type('[name=id]', 'pasted');
	await click('[name=ip]');
	await paste('[name=ip]', '10.0.0.1\n10.0.0.0/24, 10.0.0.300\n10.0.0.8-15');
	same('three are taken, one stays', [await values('ip_list'), await value('ip')],
		[['10.0.0.1', '10.0.0.0/24', '10.0.0.8-15'], '10.0.0.300']);
	same('why it stays', (await said('ip')).map(text => text.slice(0, 20)),
		['10.0.0.300: no entry']);
	await click(button('save'));
	await summed(1);
	same('not saved', stored('ip', 'pasted'), '');
	await type('[name=ip]', '10.0.0.30');
	await click(button('save'));
	await arrive(list('ip'));
	same('what was in the box is saved too', stored('ip', 'pasted'),
		['10.0.0.1', '10.0.0.0/24', '10.0.0.8-15', '10.0.0.30']
			.map((entry, n) => `IP_LIST[${n}]=${entry}\n`).join(''));
	await drop('ip', 'pasted');
}

const says = () => run(`document.getElementById('say').textContent`);

// What the form means follows what is typed, and a late answer does not overtake a newer one.
async function driveMeaning()
{
	await open(cgi + EDIT);
	await wait('the sentence', async () => (await says()).startsWith('At least 8 Mbit/s'));
	await type('[name=rate]', '7');
	await wait('the new sentence', async () => (await says()).startsWith('At least 7 Mbit/s'));
	await run(`(window.answered = window.fetch, window.fetch = (...asked) =>
		window.answered(...asked).then(answer => new Promise(resolve =>
			setTimeout(resolve, 700, answer))), true)`);
	await type('[name=rate]', '6');
	await run(`(weigh(), true)`);
	await run(`(window.fetch = window.answered, true)`);
	await type('[name=rate]', '5');
	await run(`(weigh(), true)`);
	await wait('the newest sentence', async () =>
		(await says()).startsWith('At least 5 Mbit/s'));
	await run(`new Promise(resolve => setTimeout(resolve, 900, true))`);
	same('the late answer', (await says()).slice(0, 17), 'At least 5 Mbit/s');
	await type('[name=rate]', '8');
	await run(`(keep(), true)`);
}

// A name that is taken is told while it is typed, and a fault once.
async function driveName()
{
	await open(cgi + query('class', 'new'));
	await type('[name=rate]', '7x');
	await type('[name=id]', 'fibre-web');
	await wait('what is said', async () => (await said('id')).length > 0);
	same('of the name', await said('id'), ['Duplicated ID: there is a fibre-web already.']);
	same('of the rate', await said('rate'), ['allowed is a number of 1 to 10 digits, or nothing']);
	await click(button('save'));
	await wait('the summary', async () => (await texts('#wrong a')).length > 0);
	same('summary', (await texts('#wrong a')).map(text => text.split(':')[0]), ['Name', 'Rate']);
	await click('.said button@0');
	await wait('the free name', async () => await value('id') === 'fibre-web-2' &&
		(await said('id')).length === 0);
	await run(`(forget(), true)`);
	await settled();
}

// What would be taken otherwise than it reads is asked about, and put right by its button.
async function driveRemedies()
{
	await open(cgi + query('ip', 'new'));
	await type('[name=id]', 'net');
	await type('[name=ip]', '10.0.0.0/25');
	await click(button('Image271211'));
	await wait('the question', async () => (await texts('.said.weighed button')).length > 0);
	await click('.said.weighed button@0');
	await wait('the ranges', async () => !/\//.test(String(await values('ip_list'))));
	same('as ranges', await values('ip_list'), ['10.0.0.1-127']);
	await run(`(forget(), true)`);
	await settled();
}

// Moves filters of the class page: 0 removes, 2 adds those chosen, 3 all.
const move = n => click(`input[type=button]@${n}`);
const options = name => texts(`[name=${name}] option`);

async function driveFilters()
{
	await open(cgi + EDIT);
	await wait('the words', async () =>
		/: /.test((await options('unuse_filter_id')).at(-1)));
	const offered = await options('unuse_filter_id');
	const names = offered.map(text => text.split(':')[0]);
	same('offered', [names.includes('school'), names.includes('mail-out (fibre-mail)'),
		names.some(text => /^staff/.test(text))], [true, true, false]);
	await move(3);
	same('all that are free', await values('filter_id'),
		['staff-http', 'staff-https', 'school']);
	await choose('[name=unuse_filter_id]', 'mail-out');
	await move(2);
	const question = 'fibre-mail has the filter mail-out. Give it to this class too?';
	same('question', await answer(false), question);
	same('left with its class', (await values('filter_id')).length, 3);
	await move(2);
	same('question', await answer(true), question);
	same('taken', (await options('filter_id')).at(-1).split(':')[0], 'mail-out (fibre-mail)');
	await open(cgi + query('class', 'new'));
	await wait('the owners on a new page', async () =>
		(await options('unuse_filter_id')).some(text =>
			text.startsWith('staff-http (fibre-web): tcp from staff')));
}

// The keys of a class's schedules.
const schedules = () => stored('class', 'fibre-guests').split('\n')
	.filter(line => /^(TIME|DOW|START|END)/.test(line));

// Its second schedule, in the first table.
const SECOND = ['DOW00=0', 'DOW10=1', 'DOW20=2', 'DOW30=3', 'DOW40=4', 'DOW50=5', 'DOW60=6',
	'END_HOUR[0]=23', 'START_HOUR[0]=18', 'TIME_BURST[0]=15', 'TIME_BURST_UNIT[0]=KB',
	'TIME_CEIL[0]=10', 'TIME_CEIL_UNIT[0]=Mbps', 'TIME_ENABLE[0]=enable', 'TIME_RATE[0]=4',
	'TIME_RATE_UNIT[0]=Mbps'];

async function save()
{
	await click(button('edit'));
	await arrive(list('class'));
}

async function driveDays()
{
	const open_class = () => open(cgi + query('class', 'edit', 'fibre-guests'));
	await open_class();
	await click('[name=time_enable]@0');
	await save();
	same('the second moves up', schedules().filter(line => /^DOW.0|\[0\]/.test(line)).sort(),
		SECOND);
	same('no other is on', schedules().filter(line => /^DOW.1|ENABLE\[1\]/.test(line)), []);

	// A new table behind one that is left out, with a day that the first has not. What is
	// switched off keeps its values behind those that are on.
	await open_class();
	await click('[name="dow[0]"]@0');
	await unfold('Schedule 3');
	await click('[name=time_enable]@2');
	await click('[name="dow[0]"]@2');
	await type('[name=time_rate]@2', '3');
	await save();
	const lines = schedules();
	same('days of both', lines.filter(line => /^DOW/.test(line)).sort(),
		['DOW01=0', 'DOW10=1', 'DOW20=2', 'DOW30=3', 'DOW40=4', 'DOW50=5', 'DOW60=6']);
	same('rates of both', lines.filter(line => /^TIME_RATE(_UNIT)?\[/.test(line)).sort(),
		['TIME_RATE[0]=4', 'TIME_RATE[1]=3', 'TIME_RATE[2]=512', 'TIME_RATE_UNIT[0]=Mbps',
			'TIME_RATE_UNIT[1]=Mbps', 'TIME_RATE_UNIT[2]=Kbps']);
	same('hours of both', lines.filter(line => /HOUR/.test(line)).sort(),
		['END_HOUR[0]=23', 'END_HOUR[1]=00', 'END_HOUR[2]=18', 'START_HOUR[0]=18',
			'START_HOUR[1]=00', 'START_HOUR[2]=08']);

	await open_class();
	await click('[name=time_enable]@0');
	await click('[name=time_enable]@1');
	await save();
	same('none is left', schedules().filter(line => /ENABLE|DOW/.test(line)), []);
}

const placeOf = name => run(`(box => [box.x, box.y])(
	document.querySelector(arguments[0]).getBoundingClientRect())`, name);

// What comes into the page moves no button that is just being pressed, and never Save.
async function drivePresses()
{
	await open(cgi + query('ip', 'new'));
	await wait('the rules', () => run(`rules !== null`));
	const save = await placeOf('.save .first');
	await type('[name=ip]', '10.0.0.300');
	await type('[name=id]', 'no name');
	const add = await placeOf(button('Image271211'));
	await page().mouse.move(add[0] + 5, add[1] + 5);
	await page().mouse.down();
	await run(`new Promise(resolve => setTimeout(resolve, 300, true))`);
	same('while it is pressed', [await placeOf(button('Image271211')), await said('id')], [add, []]);
	await page().mouse.up();
	await wait('what is said of both', async () =>
		(await said('id')).length > 0 && (await said('ip')).length > 0);
	same('Save', [(await placeOf(button('Image271211')))[1] > add[1], await placeOf('.save .first')],
		[true, save]);
	await run(`(forget(), true)`);
	await settled();
}

// What is typed and pressed before the page is whole: the focus stays, and Save is heard later.
async function driveEarly()
{
	const early = await page().evaluateOnNewDocument(() => {
		document.onreadystatechange = () => {
			if (document.readyState !== 'interactive')
				return;
			document.forms[0].elements.id.focus();
			document.querySelector('img[name=save]').closest('a').click();
		};
	});
	await open(cgi + query('ip', 'new'));
	await page().removeScriptToEvaluateOnNewDocument(early.identifier);
	same('the focus', await run(`document.activeElement.name`), 'id');
	await press(...'early');
	await type('[name=ip]', '10.0.0.1');
	await click(button('save'));
	await arrive(list('ip'));
	same('saved', stored('ip', 'early'), 'IP_LIST[0]=10.0.0.1\n');
	await drop('ip', 'early');
}

// On a phone what is told of changes is cut, so that no field with the focus is under Save.
async function driveNarrow()
{
	await open(cgi + EDIT);
	const desk = page().viewport();
	await page().setViewport({ width: 320, height: 480 });
	const { told, under } = await run(`(() => {
		all('.fold').forEach(button => fold(button, false));
		all('[name$=hour]').forEach(hour => { hour.value = '5'; });
		name_changes();
		const told = all('#changes')[0].textContent;
		all('#changes')[0].textContent = 'Changed: Schedule 1, Use this schedule, Schedule 2, ' +
			'Use this schedule, Schedule 3, Use this schedule and 40 more';
		const under = all('.sheet :is(input, select, button)').filter(field => {
			field.focus();
			return field.getBoundingClientRect().bottom > all('.save')[0].getBoundingClientRect().top;
		});
		return { told, under: under.map(({ name }) => name) };
	})()`);
	same('what changed is told', /^Changed: Schedule 1, From, .* more$/.test(told), true);
	same('fields under Save', under, []);
	await page().setViewport(desk);
	await run(`(forget(), true)`);
	await settled();
}

export const forms = { presses: drivePresses, early: driveEarly, narrow: driveNarrow, chooser: driveChooser, none: driveNone, 'no list': driveNoList,
	entries: driveEntries, meaning: driveMeaning, name: driveName, remedies: driveRemedies,
	id: driveId, 'odd device': driveOddDevice,
	copy: driveCopy, checks: driveChecks, filters: driveFilters, days: driveDays };

// What the script adds to the forms: the chooser, the fixed id and the copy, the check before a
// form is sent, the filters of others, and the days of schedule tables.
import { wait } from './webdriver.mjs';
import { answer, arrive, back, button, cgi, choose, click, drop, list, notice, open, press, query,
	read, run, same, settled, stored, texts, type, value, values, write } from './session.mjs';

const KEYS = { enter: '\uE007', escape: '\uE00C', down: '\uE015', up: '\uE013' };
const EDIT = query('class', 'edit', 'fibre-web');
const focus = () => run(`(at => at.querySelector('img')?.name || at.value || at.name || at.type)(
	document.activeElement)`);
const entries = () => run(`[...document.querySelectorAll('.chooser button')]
	.filter(entry => !entry.hidden).map(entry => entry.textContent)`);

async function openChooser()
{
	await click(button('add1'));
	await wait('the chooser', async () => (await texts('.chooser')).length === 1);
}

async function driveChooser()
{
	const before = read('class');
	await open(cgi + EDIT);
	await openChooser();
	same('search has the focus', await focus(), 'search');
	await press(KEYS.enter);
	same('nothing is taken by itself',
		[await value('parent_id'), (await texts('.chooser')).length], ['fibre-staff', 1]);
	await press(KEYS.down, KEYS.down, KEYS.up);
	same('first entry', await focus(), 'fibre');
	await press(KEYS.escape);
	same('left', [await texts('.chooser'), await value('parent_id'), await focus()],
		[[], 'fibre-staff', 'add1']);
	await press(KEYS.enter);
	await wait('the chooser', async () => (await texts('.chooser')).length === 1);
	same('marked is what is chosen', await texts('.chooser [aria-current]'), ['fibre-staff']);
	await press(...'office-');
	same('found', await entries(), ['office-phones', 'office-guests', 'office-rest', 'none']);
	await press(KEYS.down, KEYS.down, KEYS.enter);
	same('taken by keys', [await value('parent_id'), await focus(), await run('is_dirty()')],
		['office-guests', 'add1', true]);
	await openChooser();
	await click(button('add1'));
	same('pressed again it goes', await texts('.chooser'), []);
	same('class store', read('class'), before);
	await open(cgi + list('class'));
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
	async () => (await texts('.wrong'))[n]?.startsWith(text));

async function saveAs(id)
{
	await click('.copy button');
	await type('.copy input', id);
	await press(KEYS.enter);
}

async function driveCopy()
{
	const before = read('class'), filters = read('filter');
	const original = stored('class', 'fibre-web');
	await open(cgi + EDIT);
	await type('[name=rate]', '6');
	await click('.copy button');
	same('what becomes of the filters', (await texts('.copy'))[0].replace(/.*leave /, ''),
		'fibre-web stays as it is stored. Its filters stay with fibre-web.');
	await press(KEYS.escape);
	same('left', await texts('.copy'), ['save as another id: this one stays.']);
	await click('.copy button');
	await type('.copy input', 'fibre-mail');
	await press(KEYS.enter);
	same('taken id', await answer(), 'Duplicated ID');
	await arrive(EDIT);
	await notice('What was typed here is back');
	same('class store', read('class'), before);
	await saveAs('no id');
	await wrongAt(0, 'allowed is 1 to 32 letters');
	await type('.copy input', 'fibre-copy');
	await click('.copy button@0');
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
	await type('[name=time_rate]@1', '1.5');
	await click(button('save'));
	await wrongAt(0, 'allowed is 1 to 32 letters');
	await wrongAt(1, 'allowed is a number of 1 to 10 digits, or nothing');
	same('the first has the focus',
		[await run(`document.activeElement.name`), await run(`location.search`)],
		['id', query('class', 'new')]);
	await run(`(page.form.elements.filter_id.replaceChildren(
		...Array.from({ length: 65 }, (none, n) => new Option('f' + n, 'f' + n))), true)`);
	await type('[name=id]', 'fresh');
	await type('[name=time_rate]@1', '');
	await click(button('save'));
	await wrongAt(0, 'at most 64 are taken, and these are 65');

	await open(cgi + query('port', 'new'));
	for (let port = 1; port <= 18; port++)
		await run(`(document.port_entry.elements.num.value = arguments[0],
			arguments[0] < 18 && port_add(), true)`, port);
	await click(button('Image271211'));
	same('full list', await answer(), 'A list holds at most 17 entries.');
	await type('[name=id]', 'fresh');
	await type('[name=desc]', 'one\ntwo');
	await click(button('save'));
	await wrongAt(0, 'allowed is one line');
	same('nothing was saved', stored('port', 'fresh'), '');
}

// Moves filters of the class page: 0 removes, 2 adds those chosen, 3 all.
const move = n => click(`input[type=button]@${n}`);
const options = name => texts(`[name=${name}] option`);

async function driveFilters()
{
	await open(cgi + EDIT);
	await wait('the owners', async () =>
		(await options('unuse_filter_id')).some(text => / /.test(text)));
	const offered = await options('unuse_filter_id');
	same('offered', [offered.includes('school'), offered.includes('mail-out (fibre-mail)'),
		offered.some(text => /^staff/.test(text))], [true, true, false]);
	await move(3);
	same('all that are free', await options('filter_id'),
		['staff-http', 'staff-https', 'school']);
	await choose('[name=unuse_filter_id]', 'mail-out');
	await move(2);
	const question = 'fibre-mail has the filter mail-out. Give it to this class too?';
	same('question', await answer(false), question);
	same('left with its class', (await values('filter_id')).length, 3);
	await move(2);
	same('question', await answer(true), question);
	same('taken', (await options('filter_id')).at(-1), 'mail-out (fibre-mail)');
	await open(cgi + query('class', 'new'));
	await wait('the owners on a new page', async () =>
		(await options('unuse_filter_id')).includes('staff-http (fibre-web)'));
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
	await click('[name=time_enable]@2');
	await click('[name="dow[0]"]@2');
	await type('[name=time_rate]@2', '3');
	await save();
	const lines = schedules();
	same('days of both', lines.filter(line => /^DOW/.test(line)).sort(),
		['DOW01=0', 'DOW10=1', 'DOW20=2', 'DOW30=3', 'DOW40=4', 'DOW50=5', 'DOW60=6']);
	same('rates of both', lines.filter(line => /^TIME_RATE(_UNIT)?\[/.test(line)).sort(),
		['TIME_RATE[0]=4', 'TIME_RATE[1]=3', 'TIME_RATE[2]=512', 'TIME_RATE_UNIT[0]=Mbps',
			'TIME_RATE_UNIT[1]=bps', 'TIME_RATE_UNIT[2]=Kbps']);
	same('hours of both', lines.filter(line => /HOUR/.test(line)).sort(),
		['END_HOUR[0]=23', 'END_HOUR[1]=00', 'END_HOUR[2]=18', 'START_HOUR[0]=18',
			'START_HOUR[1]=00', 'START_HOUR[2]=08']);

	await open_class();
	await click('[name=time_enable]@0');
	await click('[name=time_enable]@1');
	await save();
	same('none is left', schedules().filter(line => /ENABLE|DOW/.test(line)), []);
}

export const forms = { chooser: driveChooser, id: driveId, 'odd device': driveOddDevice,
	copy: driveCopy, checks: driveChecks, filters: driveFilters, days: driveDays };

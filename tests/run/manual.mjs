// SPDX-License-Identifier: MIT
// What the tests of the manual share: the tables that it must name, its pages as sections and
// plain text, the example settings that it shows, and the sessions.
import { execFileSync, spawnSync } from 'node:child_process';
import fs from 'node:fs';

const failures = [];

export function fail(what)
{
	failures.push(what);
	console.log(`FAILED: ${what}`);
}

export function expect(what, found, wanted)
{
	if (JSON.stringify(found) !== JSON.stringify(wanted))
		fail(`${what}: ${JSON.stringify(found)}, not ${JSON.stringify(wanted)}`);
}

export function finish(words)
{
	console.log(failures.length > 0 ? `${failures.length} failed` : words);
	process.exit(failures.length > 0 ? 1 : 0);
}

// The rows of manual_keys.cpp.
export function readTables(program)
{
	const rows = execFileSync(program, { encoding: 'utf8' }).trimEnd().split('\n')
		.map((line) => line.split('\t'));
	const of = (table) => rows.filter(([first]) => first === table).map((row) => row.slice(1));
	return { store: of('store'), line: of('line'), finding: of('finding').map(([code]) => code),
		fact: of('fact') };
}

/* --- a page --- */

const MACROS = 'Ql Pa Li Sy Em Ic Ar Cm Nm Xr Fl Fn Pq Po Pc Op Ns Sm';

// A line of a page's source as words, without its macros.
export function plain(line)
{
	const words = line.startsWith('.') ? line.slice(1).split(' ') : [line];
	return words.filter((word) => !MACROS.split(' ').includes(word)).join(' ')
		.replaceAll('\\&', '').replaceAll('\\e', '\\');
}

// What a page shows without being typed so: marks that formatters would take for others.
const MARKS = { '&': '', e: '\\', '-': '-', '(aq': "'", '(dq': '"', '(ga': '`', '(ha': '^', '(ti': '~' };

function unescape(line)
{
	return line.replace(/\\(\(..|.)/g, (typed, mark) => MARKS[mark] ?? typed);
}

// The lines of each section, or subsection, by its title.
export function readPage(path)
{
	const sections = {};
	let lines = [];
	for (const line of fs.readFileSync(path, 'utf8').trimEnd().split('\n')) {
		const title = /^\.S[hs] (.*)$/.exec(line);
		if (title)
			lines = sections[title[1]] = [];
		else
			lines.push(line);
	}
	return sections;
}

// The literal displays among lines: what stands in one, and the line of text before it.
export function readDisplays(lines)
{
	const displays = [];
	let inside = null, before = '';
	for (const line of lines) {
		if (line.startsWith('.Bd -literal')) {
			inside = [];
		} else if (line === '.Ed') {
			displays.push({ before, lines: inside });
			inside = null;
		} else if (inside) {
			inside.push(unescape(line));
		} else if (line !== '.Pp') {
			before = plain(line);
		}
	}
	return displays;
}

/* --- the example settings --- */

export const STORE_DIR = '/etc/conf/qos_config';

export const STORES = ['policy', 'class', 'filter', 'ip', 'port', 'basic'];

// The settings of qos-store(5), as texts by the names of the stores.
export function readExample(page)
{
	const example = {};
	for (const { before, lines } of readDisplays(readPage(page).EXAMPLES)) {
		const name = before.replace(/ :$/, '');
		if (STORES.includes(name))
			example[name] = `${lines.join('\n')}\n`;
	}
	return example;
}

export function writeStores(stores)
{
	for (const [name, lines] of Object.entries(stores))
		fs.writeFileSync(`${STORE_DIR}/${name}`, lines);
}

/* --- sessions --- */

// Commands behind root's prompt, each with the lines of its answer.
function readSession(lines)
{
	const steps = [];
	for (const line of lines) {
		if (line.startsWith('# '))
			steps.push({ command: line.slice(2), answer: [] });
		else
			steps[steps.length - 1].answer.push(line);
	}
	return steps;
}

// Whether an answer is as shown: "..." alone stands for any lines, in a line for any text.
export function isAsShown(answer, shown)
{
	const quoted = shown.map((line) => line === '...' ? '(?:.*\n)*'
		: line.split('...').map((part) => part.replace(/[\\^$.*+?()[\]{}|]/g, '\\$&')).join('.*') + '\n');
	return new RegExp(`^${quoted.join('')}$`).test(answer.replaceAll('\r\n', '\n'));
}

// Runs a session by one shell, and holds each answer against what the page shows.
export function runSession(what, lines)
{
	const mark = '--- next command ---', steps = readSession(lines);
	const script = steps.map(({ command }) => `echo '${mark}'\n${command}\n`).join('');
	const done = spawnSync('/bin/sh', ['-c', `exec 2>&1\n${script}`], { encoding: 'utf8' });
	const answers = done.stdout.split(`${mark}\n`).slice(1);
	expect(`${what}: commands`, answers.length, steps.length);
	steps.forEach(({ command, answer }, i) => {
		if (!isAsShown(answers[i] ?? '', answer))
			fail(`${what}: # ${command}\n${answers[i]}is not as shown:\n${answer.join('\n')}`);
	});
}

// The displays of the examples that are sessions.
export function readSessions(path)
{
	return readDisplays(readPage(path).EXAMPLES).map(({ lines }) => lines)
		.filter((lines) => lines[0].startsWith('# '));
}

// SPDX-License-Identifier: MIT
// The manual of the stores and the scripts, run within the sample router: manual-keys.mjs
//
// Each key of the field tables, and each line that the compiler writes and qosctl reads, stands in
// its page with what it may hold, and none besides. The examples are run, and answer as shown.
import fs from 'node:fs';
import { expect, fail, finish, plain, readExample, readPage, readSessions, readTables, runSession,
	STORES, writeStores } from './manual.mjs';

const here = '/usr/local/drive';
const tables = readTables(`${here}/manual_keys`);
const storePage = `${here}/qos-store.5`, scriptPage = `${here}/qos-scripts.5`;

// The items of a list of keys: their texts, without macros, by key. A line may name several.
function readItems(lines)
{
	const items = {};
	let text = null;
	for (const line of lines) {
		const key = /^\.It Ic (.*)$/.exec(line);
		if (key)
			text = items[key[1]] = [];
		else if (line === '.El')
			text = null;
		else if (text)
			text.push(line === '.br' ? '' : plain(line));
	}
	for (const [name, words] of Object.entries(items))
		items[name] = words.join(' ');
	return items;
}

/* --- stores --- */

const PARTS = ['Value :', 'Absent :', 'Read by :', 'Becomes :'];

// The sentences of an item, by what they are about.
function splitItem(what, text)
{
	const places = PARTS.map((part) => text.indexOf(part));
	if (places.some((place, i) => place < 0 || place < (places[i - 1] ?? 0)))
		fail(`${what} does not say: ${PARTS.join(' ')}`);
	return text.slice(places[0], places[1]);
}

const isNumeric = (words) => words.every((word) => /^\d+$/.test(word));

// What the first sentence of an item says of the values, against the row of the key.
function checkValue(what, text, [, key, form, empty, most, choices])
{
	const first = text.split('. ')[0];
	const words = choices ? choices.split(' ') : [];
	if (words.length > 1 && isNumeric(words)) {
		const span = `${words[0]} to ${words[words.length - 1]}`;
		if (!first.includes(span))
			fail(`${what} is not ${span}: ${first}`);
	} else if (key.startsWith('DOW')) {
		if (!first.includes('the digit d itself'))
			fail(`${what}: ${first}`);
	} else if (words.length > 0) {
		const named = first.replace(/^Value : /, '').replace(/;.*|, or nothing.*/, '')
			.split(/ or |, ?/).map((word) => word.replace(/[ .]/g, '')).filter(Boolean);
		expect(`${what}: its choices`, named, words);
	} else if (!new RegExp(`^Value : an? ${form}\\b`).test(first)) {
		fail(`${what} is no ${form}: ${first}`);
	}
	expect(`${what}: may be nothing`, /, or nothing/.test(first), empty === '1');
	expect(`${what}: at most`, /at most (\d+) of them/.exec(first)?.[1] ?? '1', most);
}

function checkStorePage()
{
	const page = readPage(storePage);
	const shown = (key) => key.startsWith('DOW') ? 'DOWdn' : key.replace('%d', 'n');
	for (const kind of STORES) {
		const items = readItems(page[kind] ?? []);
		const rows = tables.store.filter(([of]) => of === kind);
		expect(`the keys of ${kind}`, Object.keys(items).sort(),
			[...new Set(rows.map(([, key]) => shown(key)))].sort());
		for (const row of rows) {
			const what = `${kind} ${row[1]}`, text = items[shown(row[1])];
			if (text)
				checkValue(what, splitItem(what, text), row);
		}
	}
	const values = page.VALUES.map(plain).join(' ');
	for (const [, , form, , , , allowed] of tables.store) {
		if (form !== 'choice' && !values.includes(allowed))
			fail(`what a ${form} is: "${allowed}" is not there`);
	}
}

/* --- limits --- */

function checkFacts()
{
	for (const [file, words] of tables.fact) {
		const lines = fs.readFileSync(`${here}/${file}`, 'utf8').split('\n');
		if (!lines.map(plain).join(' ').includes(words))
			fail(`${file} does not say "${words}"`);
	}
}

/* --- scripts --- */

// The scripts in which a key stands (reader.h), by the part of the page.
const PLACES = {
	'Scripts of devices': [1, 3],
	'Scripts of classes: figures': [4],
	'Scripts of classes and bands: rules': [12],
	'Scripts of classes: schedules': [4],
};

// The keys that stand in what the compiler prints to a script.
function listWritten()
{
	const written = new Set();
	for (const file of fs.readdirSync(`${here}/compiler`)) {
		const source = fs.readFileSync(`${here}/compiler/${file}`, 'utf8');
		for (const [, key] of source.matchAll(/"([A-Z][A-Z0-9]*)=/g))
			written.add(key);
	}
	return [...written];
}

function checkScriptPage()
{
	const page = readPage(scriptPage), named = [];
	for (const [title, places] of Object.entries(PLACES)) {
		for (const [key, text] of Object.entries(readItems(page[title] ?? []))) {
			named.push(key);
			const row = tables.line.find(([word]) => word === key);
			if (!row || !places.includes(+row[1]))
				fail(`${key} is no line of ${title}`);
			for (const bound of row?.[2].match(/\d+/g) ?? []) {
				if (!new RegExp(`\\b${bound}\\b`).test(text))
					fail(`${key} does not name ${bound}`);
			}
			if (!text.includes('Kernel :'))
				fail(`${key} does not say what it is for the kernel`);
		}
	}
	named.sort();
	expect('the lines that are read', tables.line.map(([key]) => key).sort(), named);
	expect('the lines that are written', listWritten().sort(), named);
}

/* --- both --- */

function checkCodes(path)
{
	for (const [, words] of fs.readFileSync(path, 'utf8').matchAll(/^\.(?:Pq )?Sy (.*)$/gm)) {
		for (const word of words.split(/[ ,.]+/)) {
			if (/-/.test(word) && !tables.finding.includes(word))
				fail(`${path}: no finding is called ${word}`);
		}
	}
}

function checkExamples(path, count)
{
	const example = readExample(storePage);
	expect('the stores of the example', Object.keys(example), STORES);
	writeStores(example);
	const sessions = readSessions(path);
	expect(`${path}: examples that are run`, sessions.length, count);
	for (const lines of sessions)
		runSession(path, lines);
}

checkFacts();
checkStorePage();
checkScriptPage();
checkCodes(storePage);
checkCodes(scriptPage);
checkExamples(storePage, 2);
checkExamples(scriptPage, 2);
finish(`${tables.store.length} keys, ${tables.line.length} lines and the examples are as shown`);

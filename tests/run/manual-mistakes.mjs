// SPDX-License-Identifier: MIT
// The guide's page of mistakes, tried within the sample router: manual-mistakes.mjs
//
// Each mistake is made in the settings that qos-store(5) shows, and check must then say what the
// page quotes, byte for byte. What only a kernel says is held against the sentences in the sources.
// Each code has an entry, and no other has one.
import { spawnSync } from 'node:child_process';
import fs from 'node:fs';
import { expect, fail, finish, isAsShown, readExample, readTables, STORE_DIR, writeStores }
	from './manual.mjs';

const here = '/usr/local/drive';
const FROM_KERNEL = ['device-ipv6', 'device-vlan', 'device-bridged', 'foreign-qdisc',
	'kernel-lacks'];
const MADE_LEAST = 35; // mistakes that are made here

const tables = readTables(`${here}/manual_keys`);
const example = readExample(`${here}/qos-store.5`);

function run(commands)
{
	const done = spawnSync('/bin/sh', ['-c', commands], { encoding: 'utf8', cwd: STORE_DIR });
	return done.stdout;
}

/* --- the page --- */

const [head, ...parts] = fs.readFileSync(`${here}/mistakes.md`, 'utf8').split(/^## /m);

// The table at the beginning: the codes by what is seen.
function checkTable()
{
	const named = [...head.matchAll(/`([a-z]+-[a-z0-9]+)`/g)].map(([, code]) => code);
	for (const code of named) {
		if (!tables.finding.includes(code))
			fail(`no finding is called ${code}`);
	}
}

// The entries: their code, and the blocks of text by their kinds.
function readEntries()
{
	return parts.map((part) => {
		const entry = { code: part.slice(0, part.indexOf('\n')) };
		for (const [, kind, text] of part.matchAll(/^```(\w+)\n(.*?)^```$/gms))
			entry[kind] = text;
		return entry;
	});
}

/* --- a mistake --- */

// A store with the lines of a difference: what is kept and what goes must be there, in this order.
function changeStore(what, text, changes)
{
	const lines = text.split('\n');
	let at = 0;
	for (const change of changes) {
		const line = change.slice(1);
		if (change[0] === '+') {
			lines.splice(at++, 0, line);
			continue;
		}
		at = lines.indexOf(line, at);
		if (at < 0) {
			fail(`${what}: there is no line ${line}`);
			return text;
		}
		if (change[0] === '-')
			lines.splice(at, 1);
		else
			at++;
	}
	return lines.join('\n');
}

function change(what, diff)
{
	const stores = { ...example };
	for (const part of diff.split(/^--- /m).slice(1)) {
		const [name, ...changes] = part.trimEnd().split('\n');
		stores[name] = changeStore(what, stores[name], changes);
	}
	return stores;
}

// What check says: each finding as its lines.
function make({ code, diff, console: commands })
{
	fs.rmSync('/etc/script/qos_config', { recursive: true, force: true });
	writeStores(example);
	run('qosctl compile');
	if (diff)
		writeStores(change(code, diff));
	let said = run((commands ?? '# qosctl compile').replace(/^# /gm, ''));
	if (!/qosctl check/.test(commands ?? ''))
		said = run('qosctl check --root /');
	return said.split('\n\n');
}

const quote = (text) => text.replace(/[.*+?^${}()|[\]\\]/g, '\\$&');

/* --- what only a kernel says --- */

// The literals of the sources, joined as the compiler joins them, that are sentences.
function readSentences()
{
	const sentences = [];
	for (const file of fs.readdirSync(`${here}/ctl`).filter((name) => name.endsWith('.cpp'))) {
		const source = fs.readFileSync(`${here}/ctl/${file}`, 'utf8');
		const joined = source.replace(/"\s*\n\s*"/g, '');
		for (const [, text] of joined.matchAll(/"((?:[^"\\]|\\.)*)"/g)) {
			if (text.split(' ').length > 2)
				sentences.push(text.split(/%\w+/).map(quote).join('.+'));
		}
	}
	return sentences;
}

function isSaid(sentences, text)
{
	return sentences.some((one) => new RegExp(`^(${one}|\\S+ ${one}\\.)$`).test(text));
}

/* --- both --- */

function checkQuoted({ code, text })
{
	const [head, said, fix, ...more] = text.trimEnd().split('\n');
	expect(`${code}: the lines quoted`, [/^(error|warning)  (\S+)  /.exec(head)?.[2], more],
		[code, []]);
	const sentences = readSentences();
	for (const line of [said.trim(), fix.replace(/ *To mend it: /, '')]) {
		if (!isSaid(sentences, line))
			fail(`${code}: nothing says "${line}"`);
	}
}

function checkEntry(entry)
{
	if (!entry.text || FROM_KERNEL.includes(entry.code) !== !(entry.diff || entry.console)) {
		fail(`${entry.code}: neither made nor of the kernel`);
		return 0;
	}
	if (FROM_KERNEL.includes(entry.code)) {
		checkQuoted(entry);
		return 0;
	}
	if (!new RegExp(`^(error|warning)  ${entry.code}(  |\n)`).test(entry.text))
		fail(`${entry.code}: what is quoted is another finding: ${entry.text}`);
	const said = make(entry);
	if (!said.some((one) => isAsShown(`${one.trimEnd()}\n`, entry.text.trimEnd().split('\n'))))
		fail(`${entry.code}: check does not say\n${entry.text}but\n${said.join('\n\n')}`);
	return 1;
}

checkTable();
const entries = readEntries();
expect('the codes', entries.map(({ code }) => code).sort(), [...tables.finding].sort());
const made = entries.reduce((count, entry) => count + checkEntry(entry), 0);
if (made < MADE_LEAST)
	fail(`only ${made} mistakes are made`);
finish(`${entries.length} codes, ${made} of them made and quoted`);

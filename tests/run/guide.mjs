// SPDX-License-Identifier: MIT
// What the guide says is held to what is so: guide.mjs WORD [ARG ...], for tests/run/guide.
//     guide.mjs read                every link leads somewhere, every listing is its file
//     guide.mjs commands PAGE       a script that runs the commands that the page shows
//     guide.mjs hold PAGE OUTPUT    what that script printed is what the page shows
//
// A block that begins with ```console run shows commands, each behind "$ ", and under each what it
// prints; "..." stands for any text, alone on a line for any lines. A status other than 0 is shown
// as "(exit status N)". With ```console run varying, figures, bars and blanks may differ. Any other
// block may go on, behind its language, with "file NAME", and is then the whole of that file of the
// guide's folder; with "put PATH", and is written there before the commands that follow; and with
// "mode MODE", which that gets.
import fs from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

const top = fileURLToPath(new URL('../..', import.meta.url));
const guide = path.join(top, 'docs/guide');
const MADE = ['.git', 'node_modules', 'build', 'image', 'sdk', 'sample-router']; // no sources
let faults = 0;

function fault(text)
{
	console.error(text);
	faults++;
}

/* --- pages --- */

// Blocks as { info, line, text }, and the lines outside them.
function readPage(file)
{
	const blocks = [], prose = [];
	let block = null;
	fs.readFileSync(file, 'utf8').split('\n').forEach((line, n) => {
		if (/^```/.test(line)) {
			if (block)
				blocks.push(block);
			block = block ? null
				: { info: line.slice(3).trim().split(/\s+/), line: n + 1, lines: [] };
		} else if (block) {
			block.lines.push(line);
		} else {
			prose.push({ text: line, line: n + 1 });
		}
	});
	if (block)
		fault(`${file}:${block.line}: a block that does not end`);
	return { blocks, prose };
}

// What stands behind a word of the first line.
function wordOf({ info }, word)
{
	const at = info.indexOf(word, 1);
	return at > 0 ? info[at + 1] : null;
}

const textOf = block => block.lines.map(line => line + '\n').join('');

function pageOf(name)
{
	return readPage(path.join(name === 'README' ? top : guide, `${name}.md`));
}

/* --- links --- */

// As the pages' readers on the web make them.
function anchorOf(heading)
{
	return heading.toLowerCase().replace(/[`*]/g, '').replace(/\[([^\]]*)\]\([^)]*\)/g, '$1')
		.replace(/[^\p{L}\p{N} _-]/gu, '').trim().replace(/ /g, '-');
}

function anchorsOf(file)
{
	return readPage(file).prose.filter(({ text }) => /^#+ /.test(text))
		.map(({ text }) => anchorOf(text.replace(/^#+ /, '')));
}

// Links may be broken between lines, so that a paragraph is looked at as one.
function linksOf({ prose })
{
	const text = prose.map(({ text }) => text).join('\n');
	return [...text.matchAll(/\]\(([^)\s]+)\)/g)].map(([, target]) => target)
		.filter(target => !/^[a-z]+:/.test(target));
}

function checkLinks(file)
{
	for (const link of linksOf(readPage(file))) {
		const [target, anchor] = link.split('#');
		const at = target ? path.resolve(path.dirname(file), target) : file;
		if (!fs.existsSync(at))
			fault(`${path.relative(top, file)}: there is no ${link}`);
		else if (anchor && !anchorsOf(at).includes(anchor))
			fault(`${path.relative(top, file)}: ${link} has no such heading`);
	}
}

/* --- listings --- */

function checkListings(file)
{
	for (const block of readPage(file).blocks) {
		const name = wordOf(block, 'file');
		if (!name)
			continue;
		const at = path.join(guide, name);
		if (!fs.existsSync(at) || fs.readFileSync(at, 'utf8') !== textOf(block))
			fault(`${path.relative(top, file)}:${block.line}: this is not ${name}`);
	}
}

// All pages in a folder of the sources, which may be no clone.
function findPages(folder)
{
	return fs.readdirSync(folder, { withFileTypes: true }).flatMap(entry => {
		const at = path.join(folder, entry.name);
		if (entry.isDirectory())
			return MADE.includes(entry.name) ? [] : findPages(at);
		return entry.name.endsWith('.md') ? [at] : [];
	});
}

function checkAll()
{
	const files = findPages(top);
	files.forEach(checkLinks);
	files.filter(file => file.startsWith(guide)).forEach(checkListings);
	console.log(`guide: ${files.length} pages read, ${faults} faults`);
}

/* --- commands --- */

// The commands of a block with what is shown under each.
function stepsOf(block)
{
	const steps = [];
	for (const line of block.lines) {
		const last = steps.at(-1);
		if (last && last.shown.length === 0 && last.command.endsWith('\\'))
			last.command += '\n' + line;
		else if (line.startsWith('$ '))
			steps.push({ command: line.slice(2), shown: [] });
		else if (last)
			last.shown.push(line);
		else
			fault(`line ${block.line}: no command stands before what it prints`);
	}
	return steps.map(step => ({
		...step, line: block.line, varies: block.info.includes('varying'),
	}));
}

const isRun = ({ info }) => info[1] === 'run';
const quoted = text => `'${text.replaceAll("'", "'\\''")}'`;
const START = '\u0001', END = '\u0002';

function putLines(block)
{
	const to = wordOf(block, 'put');
	if (!to)
		return [];
	const at = quoted(to);
	return [`mkdir -p ${quoted(path.dirname(to))}`,
		`printf %s ${quoted(textOf(block))} > ${at}`,
		`chmod ${wordOf(block, 'mode') ?? '644'} ${at}`];
}

function printCommands(name)
{
	const lines = ['exec 2>&1'];
	let n = 0;
	for (const block of pageOf(name).blocks) {
		lines.push(...putLines(block));
		for (const { command } of isRun(block) ? stepsOf(block) : []) {
			lines.push(`echo "${START}${n++}"`, `eval ${quoted(command)} < /dev/null`,
				`echo "${END}$?"`);
		}
	}
	console.log(lines.join('\n'));
}

/* --- what they print --- */

// A line without what differs from run to run.
function settledLine(line)
{
	return line.replace(/\[[#+.]{10}\]/g, '[]').replace(/\d+(\.\d+)?/g, '0')
		.replace(/\b[kM]?bit\/s|\bK?B\b/g, ' unit').replace(/\s+/g, ' ');
}

function expressionOf(line)
{
	return new RegExp('^' + line.trimEnd().split('...')
		.map(part => part.replace(/[.*+?^${}()|[\]\\]/g, '\\$&')).join('.*') + '\\s*$');
}

// Whether the lines from shown[i] are those from printed[k].
function matches(shown, printed, i = 0, k = 0)
{
	if (i === shown.length)
		return k === printed.length;
	if (shown[i].trim() === '...') {
		for (let rest = k; rest <= printed.length; rest++) {
			if (matches(shown, printed, i + 1, rest))
				return true;
		}
		return false;
	}
	return k < printed.length && expressionOf(shown[i]).test(printed[k]) &&
		matches(shown, printed, i + 1, k + 1);
}

function linesOf(text)
{
	const lines = text.replace(/\r/g, '').split('\n');
	while (lines.length && lines.at(-1) === '')
		lines.pop();
	return lines;
}

function hold(name, file)
{
	const output = fs.readFileSync(file, 'utf8');
	const steps = pageOf(name).blocks.filter(isRun).flatMap(stepsOf);
	steps.forEach((step, n) => {
		const found = new RegExp(`${START}${n}\r?\n([^]*?)${END}(\\d+)`).exec(output);
		const printed = found ? linesOf(found[1]) : ['(it was not run)'];
		if (found && found[2] !== '0')
			printed.push(`(exit status ${found[2]})`);
		const shown = linesOf(step.shown.join('\n'));
		const settle = lines => step.varies ? lines.map(settledLine) : lines;
		if (!matches(settle(shown), settle(printed)))
			fault(`${name}.md:${step.line}: $ ${step.command}\n  shown:\n    ${
				shown.join('\n    ')}\n  printed:\n    ${printed.join('\n    ')}`);
	});
	console.log(`guide: ${steps.length} commands of ${name}.md, ${faults} faults`);
	if (steps.length === 0)
		fault(`${name}.md shows no command`);
}

const WORDS = { read: checkAll, commands: printCommands, hold };
const [word, ...rest] = process.argv.slice(2);
WORDS[word](...rest);
process.exit(faults ? 1 : 0);

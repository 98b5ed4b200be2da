// SPDX-License-Identifier: MIT
// The manual of the programs, run within the sample router: manual-programs.mjs
//
// Each verb, option, request and status of a program stands in its page, and none besides; the
// examples are run, and answer as shown.
import { execFileSync, spawnSync } from 'node:child_process';
import fs from 'node:fs';
import { expect, fail, finish, readSessions, runSession } from './manual.mjs';

const here = '/usr/local/drive';
const mainCgi = '/usr/local/www/qos_config/cgi-bin/main.cgi';

const unique = (words) => [...new Set(words)].sort();
const getAll = (text, pattern) => unique([...text.matchAll(pattern)].map(([, word]) => word));

// All sources of a room, or one file of it.
function readSource(path)
{
	if (fs.statSync(path).isFile())
		return fs.readFileSync(path, 'utf8');
	return fs.readdirSync(path).map((name) => readSource(`${path}/${name}`)).join('');
}

/* --- a page as it is shown --- */

const TEXT = 5; // columns before a paragraph, and before the head of an item

// The lines of each section and subsection, by its title.
function showPage(name)
{
	const shown = execFileSync('mandoc', ['-T', 'ascii', '-O', 'width=1000', `${here}/${name}.8`],
		{ encoding: 'utf8' });
	const sections = {};
	let lines = [];
	for (const line of shown.replace(/.\x08/g, '').split('\n')) {
		const title = /^ {0,3}(\S.*)$/.exec(line);
		if (title)
			lines = sections[title[1]] = [];
		else
			lines.push(line);
	}
	return sections;
}

// The items of the lists among lines: the text below each head. Behind a short head it begins on the
// same line. A paragraph begins as a sentence does, and is one line.
function readItems(lines)
{
	const items = {};
	let head = null;
	for (const line of lines) {
		const found = line.search(/\S/) === TEXT &&
			/^((?:[a-z\d-]|[A-Z_]{2})\S*(?: \S+)*)(?: {2,}(\S.*))?$/.exec(line.trim());
		if (found)
			items[head = found[1]] = `${found[2] ?? ''}\n`;
		else if (head)
			items[head] += `${line}\n`;
	}
	return items;
}

// The heads of items; of "stored , kept" each.
function readHeads(lines)
{
	return Object.keys(readItems(lines)).flatMap((head) => head.split(', '));
}

const isNumber = (word) => /^\d+$/.test(word);

function checkStatuses(what, page, wanted)
{
	expect(`${what}: exit statuses`, unique(readHeads(page['EXIT STATUS']).filter(isNumber)),
		unique(wanted.map(String)));
}

/* --- qosctl --- */

const VERB_PARTS = ['Verbs that bring something on its way', 'Verbs that look', 'Verbs of the stores'];
const OPTION = /(?:^|[ [(])(--[a-z-]+)/gm;

function checkVerb(verb, items, common)
{
	const help = execFileSync('qosctl', [verb, '--help'], { encoding: 'utf8' });
	const usage = help.split('\n\n')[0].replace(/\s+/g, ' ').replace('usage: qosctl ', '');
	const head = Object.keys(items).find((one) => one.split(' ')[0] === verb);
	expect(`qosctl ${verb}`, head, usage);
	const told = getAll(items[head] ?? '', /^ {13}(?:.*, )?(--[a-z-]+)/gm);
	for (const option of getAll(usage, OPTION)) {
		if (!told.includes(option) && !common.includes(option) && !items[head].includes(option))
			fail(`qosctl ${verb} ${option} is not told`);
	}
	return { verb, usage };
}

function checkQosctl()
{
	const page = showPage('qosctl');
	const help = execFileSync('qosctl', ['--help'], { encoding: 'utf8' });
	const verbs = getAll(help, /^ {2}([a-z]+) .*$/gm);
	const items = readItems(VERB_PARTS.flatMap((part) => page[part]));
	expect('the verbs of qosctl', unique(Object.keys(items).map((head) => head.split(' ')[0])), verbs);
	const common = getAll(Object.keys(readItems(page['Options of several verbs'])).join('\n'), OPTION);
	const usages = verbs.map((verb) => checkVerb(verb, items, common)).map(({ usage }) => usage).join('\n');
	const all = getAll(usages, OPTION);
	for (const option of getAll(JSON.stringify(items), /(--[a-z]+)/g)) {
		if (!all.includes(option) && option !== '--noflush') // which is iptables-restore's
			fail(`qosctl has no ${option}`);
	}
	for (const option of common) {
		if (usages.split(option).length <= 2)
			fail(`qosctl: ${option} is not of several verbs`);
	}
	checkStatuses('qosctl', page, getAll(help.split('Exit status:')[1], /(\d+) /g));
	const codes = getAll(readSource(`${here}/plan/finding.cpp`), /^\t"([a-z\d-]+)",$/gm);
	expect('findings', unique(readHeads(page.Findings).filter((head) => !head.includes(' '))), codes);
}

/* --- qosd --- */

// The keys of each verb of the control socket, of its tables.
function readQuestions()
{
	const source = readSource(`${here}/ctl/daemon/question.cpp`);
	const sets = { 0: [] };
	const expand = (words) => words.split('|').flatMap((word) =>
		sets[word.trim()] ?? [/of\(KEY_([A-Z]+)\)/.exec(word)[1].toLowerCase()]);
	for (const [, name, words] of source.matchAll(/const unsigned (\w+) = ([^;]+);/g))
		sets[name] = expand(words);
	return [...source.matchAll(/\{ "([a-z]+)", ([^"{}]*?), (?:true|false), (?:true|false), BY_\w+ \}/g)]
		.map(([, verb, words]) => [verb, ...unique(expand(words))].join(' ')).sort();
}

function checkQosd()
{
	const page = showPage('qosd');
	const help = execFileSync('qosd', ['--help'], { encoding: 'utf8' });
	const options = [...help.matchAll(/^ {2}(--\S+(?: [A-Z]+)?)/gm)].map(([, option]) => option);
	expect('the options of qosd', readHeads(page.DESCRIPTION).filter((head) => head.startsWith('--')), options);
	const told = readHeads(page['THE CONTROL SOCKET']).map((head) => {
		const [verb, ...keys] = head.replace(/\[:PORT\]/g, '').replace(/[[\]]/g, '').split(' ');
		return [verb, ...keys.map((key) => key.split('=')[0]).sort()].join(' ');
	});
	expect('what qosd can be asked', told.sort(), readQuestions());
	const values = readSource(`${here}/ctl/ctl.h`);
	const ends = getAll(readSource(`${here}/ctl/qosd.cpp`), /\b(EXIT_[A-Z_]+)/g);
	checkStatuses('qosd', page, ends.map((end) => new RegExp(`${end} = (\\d+)`).exec(values)[1]));
}

/* --- main.cgi --- */

function ask(method, query, type = 'application/x-www-form-urlencoded')
{
	const { stdout } = spawnSync(mainCgi, [], { encoding: 'utf8', input: 'x=1',
		env: { ...process.env, HTTP_HOST: 'localhost', REQUEST_METHOD: method, QUERY_STRING: query,
			CONTENT_TYPE: type, CONTENT_LENGTH: '3' } });
	const status = /^Status: (\d+)/m.exec(stdout.split('\r\n\r\n')[0])?.[1] ?? '200';
	const allowed = /allowed is(?: one of)?: ([a-z -]+)\./.exec(stdout)?.[1].split(' ') ?? [];
	return { status, allowed };
}

const ACTIONS = /action=([a-z-]+(?:, (?:action=)?[a-z-]+)*)/g;
const listActions = (text) => unique(getAll(text, ACTIONS).flatMap((words) => words.split(', ')));
const getTypes = (items) => unique(Object.keys(items).map((head) => /^type=([a-z]+)/.exec(head)?.[1]));

function checkObjects(page)
{
	const items = readItems(page['Requests about objects']);
	const kinds = ask('GET', 'obj=none').allowed.filter((word) => word !== 'router');
	for (const kind of kinds) {
		if (!new RegExp(`\\b${kind}\\b`).test(page['Requests about objects'].join('\n')))
			fail(`main.cgi: the kind ${kind} is not told`);
	}
	expect('main.cgi: kinds', kinds.length, 6);
	expect('main.cgi: types', getTypes(items), unique(ask('GET', 'obj=port&type=none').allowed));
	const of = (type) => Object.entries(items).filter(([head]) => head.startsWith(`type=${type}`))
		.map((item) => item.join('\n')).join('\n');
	const forms = ask('GET', 'obj=port&type=display&action=none').allowed;
	expect('main.cgi: actions', listActions(of('display')), unique([...forms, 'weigh']));
	expect('main.cgi: actions of lists', listActions(of('list')), ['ask', 'json']);
	const asked = { 'display&action=weigh': 'POST', 'list&action=json': 'GET', 'list&action=ask&id=sip': 'GET' };
	for (const [type, method] of Object.entries(asked))
		expect(`main.cgi: ${method} ${type}`, ask(method, `obj=port&type=${type}`).status, '200');
}

function checkRouter(page)
{
	const items = readItems(page['Requests about the router']);
	const types = ask('GET', 'obj=router&type=none').allowed;
	expect('main.cgi: types of the router', getTypes(items), unique(types));
	const rows = readSource(`${here}/cgi/main.cpp`);
	for (const type of types) {
		const text = items[`type=${type}`] ?? '', query = `obj=router&type=${type}`;
		const methods = ['GET', 'POST'].filter((method) => ask(method, query).status !== '405');
		expect(`main.cgi: methods of ${type}`, getAll(text, /\b(GET|POST)\b/g), methods);
		const look = new RegExp(`\\{ "${type}", \\w+, \\w+, "([a-z]+)" \\}`).exec(rows)?.[1];
		const posted = ['application/x-www-form-urlencoded', 'application/x-qos-bundle']
			.flatMap((body) => ask('POST', `${query}&kind=port&id=sip&action=none`, body).allowed);
		const known = unique([...posted, ...(look ? [look] : [])]);
		for (const action of known) {
			if (!new RegExp(`\\b${action}\\b`).test(text))
				fail(`main.cgi: ${type} has an action ${action}, which is not told`);
		}
		for (const action of listActions(text)) {
			if (!known.includes(action))
				fail(`main.cgi: ${type} has no action ${action}`);
		}
	}
}

function checkMainCgi()
{
	const page = showPage('main.cgi');
	checkObjects(page);
	checkRouter(page);
	const source = readSource(`${here}/cgi`);
	const statuses = getAll(source, /(?:"|Status: )([345]\d\d) [A-Z]/g);
	checkStatuses('main.cgi', page, ['200', ...statuses]);
	const variables = getAll(source + readSource(`${here}/platform/libcgi/cgi.cpp`),
		/get(?:env|_variable)\("([A-Z_]+)"\)/g);
	expect('main.cgi: environment', unique(readHeads(page.ENVIRONMENT)), unique([...variables, 'TZ']));
}

/* --- qos_compile --- */

function checkCompiler()
{
	checkStatuses('qos_compile', showPage('qos_compile'), [0, 1, 255]);
	for (const room of ['compiler', 'scripts', 'store']) {
		if (/getenv/.test(readSource(`${here}/${room}`)))
			fail(`qos_compile reads its environment in ${room}/`);
	}
}

function checkExamples(name, count)
{
	const sessions = readSessions(`${here}/${name}.8`);
	expect(`${name}: examples that are run`, sessions.length, count);
	for (const lines of sessions)
		runSession(name, lines);
}

checkQosctl();
checkQosd();
checkMainCgi();
checkCompiler();
checkExamples('main.cgi', 2);
checkExamples('qos_compile', 2);
finish('the pages of the programs are as these are');

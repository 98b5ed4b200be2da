// SPDX-License-Identifier: MIT
// The examples of a page that need a kernel, run within the sample router: manual-sessions.mjs PAGE
import { execFileSync, spawnSync } from 'node:child_process';
import { fail, finish, readSessions, runSession } from './manual.mjs';

const here = '/usr/local/drive', name = process.argv[2];

// The names of the members of a JSON value.
function listMembers(value)
{
	if (Array.isArray(value))
		return value.flatMap(listMembers);
	if (!value || typeof value !== 'object')
		return [];
	return Object.entries(value).flatMap(([member, of]) => [member, ...listMembers(of)]);
}

// Each member of an answer in JSON stands in the page.
function checkMembers(page, what, command, input)
{
	const { stdout, stderr } = spawnSync('/bin/sh', ['-c', command], { encoding: 'utf8', input });
	const members = new Set(/^\{.*\}\n$/.test(stdout) ? listMembers(JSON.parse(stdout)) : []);
	if (members.size < 3)
		fail(`${what}: ${stdout}${stderr}`);
	for (const member of members) {
		if (!new RegExp(`(?<![a-z_])${member}(?![a-z_])`).test(page))
			fail(`${what}: the member ${member} is not told`);
	}
}

// After the examples: their last change is neither compiled nor applied, so there is something to tell.
const ANSWERS = {
	qosctl: ['check', 'diff', 'history', 'compile; qosctl apply --confirm 60', 'status', 'confirm',
		'week --class fibre-backup', 'stop', 'undo',
		'explain --device eth0 --proto tcp --src 192.0.2.1 --dst 198.51.100.1']
		.map((words) => [words, `qosctl ${words} --json`.replace('compile;', 'compile >&2;')]),
	qosd: ['state', 'history', 'history span=now', 'trace', 'compile', 'plan']
		.map((line) => [line, 'socat -t 60 - UNIX-CONNECT:/run/qos/control', `${line}\n`]),
};

const sessions = readSessions(`${here}/${name}.8`);
if (sessions.length < 2)
	fail('where are the examples?');
for (const lines of sessions)
	runSession(name, lines);
const page = execFileSync('mandoc', ['-T', 'ascii', `${here}/${name}.8`], { encoding: 'utf8' })
	.replace(/.\x08/g, '');
for (const [what, command, input] of ANSWERS[name])
	checkMembers(page, `${name}: ${what}`, command, input);
finish(`the examples of ${name} answer as shown`);

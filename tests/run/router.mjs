// SPDX-License-Identifier: MIT
// What the drives of the built programs share: requests to main.cgi, the files of the router, and
// the checks. All texts are strings of bytes ("latin1").
import fs from 'node:fs';
import path from 'node:path';
import { spawn, spawnSync } from 'node:child_process';

export const MAIN = '/usr/local/www/qos_config/cgi-bin/main.cgi';
export const COMPILER = '/usr/local/sbin/qos_config/qos_compile';
export const STORES = '/etc/conf/qos_config';
export const KINDS = ['policy', 'class', 'filter', 'port', 'ip'];
export const FORM = 'application/x-www-form-urlencoded';
const SECONDS = 60; // whatever takes longer hangs

/* --- requests --- */

export const encoded = text => text.replace(/[^A-Za-z0-9_.-]/g,
	c => '%' + c.charCodeAt(0).toString(16).padStart(2, '0'));

// Fields as [name, value] pairs, a list of values standing for as many fields of the name.
export const fields = object => Object.entries(object)
	.flatMap(([name, value]) => [value].flat().map(one => `${encoded(name)}=${encoded(one)}`))
	.join('&');

export const get = (query, variables) => ({ method: 'GET', query: fields(query), variables });
export const post = (body, variables) => ({ method: 'POST', body: fields(body), variables });

function variablesOf({ method = 'GET', query = '', body = '', variables = {} })
{
	const all = {
		ASAN_OPTIONS: process.env.ASAN_OPTIONS ?? '', HTTP_HOST: 'localhost',
		REMOTE_ADDR: '127.0.0.1', REQUEST_METHOD: method, QUERY_STRING: query,
		CONTENT_TYPE: FORM, CONTENT_LENGTH: String(Buffer.byteLength(body, 'latin1')),
		...variables,
	};
	return Object.fromEntries(Object.entries(all).filter(([, value]) => value !== null));
}

function answerOf(out, err, code, signal)
{
	const [head, ...rest] = out.split('\r\n\r\n');
	return {
		out, err, code, signal, head, body: rest.join('\r\n\r\n'),
		hasHead: rest.length > 0,
		status: Number((/^Status: (\d+)/m.exec(head) ?? [0, '200'])[1]),
	};
}

// Runs main.cgi, or a command line that runs it, as the web server does for a request.
export function send(request, command = [MAIN])
{
	const ran = spawnSync(command[0], command.slice(1), {
		env: variablesOf(request), input: Buffer.from(request.body ?? '', 'latin1'),
		encoding: 'latin1', timeout: 1000 * SECONDS, killSignal: 'SIGKILL',
		maxBuffer: 1 << 28,
	});
	return answerOf(ran.stdout, ran.stderr, ran.status, ran.signal);
}

// The same while others run.
export const sendBeside = request => new Promise(resolve => {
	const ran = spawn(MAIN, { env: variablesOf(request), timeout: 1000 * SECONDS });
	const out = [], err = [];
	ran.stdout.on('data', block => out.push(block));
	ran.stderr.on('data', block => err.push(block));
	ran.on('close', (code, signal) => resolve(answerOf(
		Buffer.concat(out).toString('latin1'), Buffer.concat(err).toString('latin1'),
		code, signal)));
	ran.stdin.on('error', () => {}); // a refusal does not wait for the body
	ran.stdin.end(Buffer.from(request.body ?? '', 'latin1'));
});

// What every answer must be, whatever was asked: a list of what is wrong. None of marks, patterns,
// may be in it.
export function faultsOf(answer, marks = [])
{
	const faults = [];
	if (answer.code !== 0)
		faults.push(`ended with ${answer.code ?? answer.signal}`);
	if (/Sanitizer|runtime error/.test(answer.err))
		faults.push(`sanitizer: ${answer.err.slice(0, 2000)}`);
	if (!answer.hasHead)
		faults.push('has no head');
	if (answer.out.includes('(null)'))
		faults.push('prints a null');
	for (const mark of marks) {
		const at = answer.out.search(mark);
		if (at >= 0)
			faults.push(`reflects ${JSON.stringify(answer.out.slice(Math.max(0,
				at - 60),
				at + 40))}`);
	}
	return faults;
}

/* --- files --- */

export const read = file => fs.readFileSync(path.join(STORES, file), 'latin1');

// The path as the system takes it: names are bytes too.
const bytes = text => Buffer.from(text, 'latin1');

// All below a folder: path and, of a regular file that shows(path), its text, else what it is.
export function treeOf(folder, shows = () => true, found = {})
{
	const options = { withFileTypes: true, encoding: 'latin1' };
	for (const entry of fs.readdirSync(bytes(folder), options)) {
		const name = path.join(folder, entry.name);
		if (entry.isDirectory())
			treeOf(name, shows, found);
		else
			found[name] = entry.isFile() && shows(name)
				? fs.readFileSync(bytes(name), 'latin1')
				: entry.isFile() ? 'a file' : 'no file';
	}
	return found;
}

// The stores and the descriptions; what stands in hidden folders is the router's own.
export const stores = () => Object.fromEntries(Object.entries(treeOf(STORES))
	.filter(([name]) => !name.includes('/.history/')));

export function differing(one, other)
{
	const names = new Set([...Object.keys(one), ...Object.keys(other)]);
	return [...names].filter(name => one[name] !== other[name]).sort();
}

// Makes the folder hold these files and no others.
export function restore(folder, files)
{
	for (const name of differing(treeOf(folder), files)) {
		fs.rmSync(bytes(name), { recursive: true, force: true });
		if (name in files) {
			fs.mkdirSync(bytes(path.dirname(name)), { recursive: true });
			fs.writeFileSync(bytes(name), files[name], 'latin1');
		}
	}
}

/* --- checks --- */

const FAILURES_TOLD = 200;
let checks = 0, failures = 0;

// One check: nothing may be wrong. What is, is told with what was done.
export function expect(what, faults)
{
	checks++;
	if (faults.length === 0)
		return;
	failures++;
	if (failures <= FAILURES_TOLD)
		console.log(`FAILED ${what}\n  ${faults.map(fault => fault.trim()).join('\n  ')}`);
}

export function finish()
{
	console.log(`${checks - failures} of ${checks} checks passed`);
	process.exitCode = failures === 0 ? 0 : 1;
}

// SPDX-License-Identifier: MIT
// Stores and descriptions that no page wrote: an editor, a disk that was cut off, another program
// or a person who means harm did. Each is a name for what it shows, and what to do to the folder of
// the stores of the sample.
import fs from 'node:fs';
import path from 'node:path';
import { execFileSync } from 'node:child_process';

import { KINDS, STORES, read } from './router.mjs';

// What would show where a value became markup, or ended the attribute that it stands in. Between
// tags a quote is no fault.
export const MARKS = [/<q/, /='[^'\n>]*q'x/, /="[^"\n>]*q"x/];
const MARK = `<q>q'xq"x`;
const FILES = [...KINDS, 'basic'];

const at = name => path.join(STORES, name);
const write = (name, text) => fs.writeFileSync(at(name), text, 'latin1');
const append = (name, text) => fs.appendFileSync(at(name), text, 'latin1');
const replace = (name, from, to) => write(name, read(name).replace(from, to));
const many = (count, make) => Array.from({ length: count }, (none, i) => make(i)).join('');

// A value that its kind's page shows, of an object of the sample.
const SHOWN = {
	policy: ['[LAN1]\n', 'ROOT_CLASS'], class: ['[fibre-web]\n', 'RATE'],
	filter: ['[sip]\n', 'INT_IP_ID'], port: ['[sip]\n', 'PORT_LIST[0]'],
	ip: ['[phones]\n', 'IP_LIST[0]'], basic: ['[workshop]\n', 'HIGH'],
};
const withValue = (kind, value) => () => {
	const [heading, key] = SHOWN[kind];
	replace(kind, new RegExp(`(\\n|^)(${heading.replace(/[[\]]/g, '\\$&')})`),
		(all, before, found) => `${before}${found}${key}=${value}\n`);
};
const withSection = (kind, name) => () => append(kind, `[${name}]\nPRIO=1\nPORT_LIST[0]=1\n`);

// What any of the six files may have become.
const SHAPES = {
	'is empty': () => '',
	'has no line end': text => text.replace(/\n$/, ''),
	'has lines that end as in DOS': text => text.replaceAll('\n', '\r\n'),
	'ends its lines with CR alone': text => text.replaceAll('\n', '\r'),
	'is cut off in a line': text => text.slice(0, text.length * 2 / 3),
	'misses a ]': text => text.replace(']', ''),
	'has NULs behind it': text => text + '\x00'.repeat(4096),
	'has a NUL in every line': text => text.replaceAll('=', '=\x00').replaceAll(']', '\x00]'),
	'is twice the same': text => text + text,
	'has a line of 1 MB': text => text + `KEY=${'x'.repeat(1 << 20)}\n`,
	'has a heading of 256 KB': text => text + `[${'x'.repeat(1 << 18)}]\nPRIO=1\n`,
	'has bytes that are no UTF-8': text => text.replaceAll('=', '=\xff\xc0\xaf\xed\xa0\x80'),
};

const KINDS_OF_FILE = {
	'is a folder': name => { fs.rmSync(at(name)); fs.mkdirSync(at(name)); },
	'is a pipe': name => { fs.rmSync(at(name)); execFileSync('/usr/bin/mkfifo', [at(name)]); },
	'is a link that leads nowhere': name => {
		fs.rmSync(at(name)); fs.symlinkSync('/etc/nowhere', at(name));
	},
	'is a link to itself': name => { fs.rmSync(at(name)); fs.symlinkSync(name, at(name)); },
	'is a device': name => { fs.rmSync(at(name)); fs.symlinkSync('/dev/full', at(name)); },
	'is not there': name => fs.rmSync(at(name)),
};

const VALUES = [MARK, `'><q>`, '\\n<q>\\r', `</script><q>`, '$(touch /tmp/ran)', ';touch /tmp/ran;',
	'../../../tmp/ran', '%s%n%s', '\x01\x1b[31m\x7f', '9'.repeat(5000)];
const NAMES = [MARK, `q'x`, 'q"x', '../../tmp/ran', '..', '/etc/passwd', 'a b', '$(touch /tmp/ran)',
	'LAN1;touch /tmp/ran', '\\n[x]', '%s', '', 'x'.repeat(300), '\xff'];

const SETS = {
	'a class below itself': () => replace('class', '[fibre]\n', '[fibre]\nPARENT_ID=fibre\n'),
	'classes in a circle': () => replace('class', '[fibre]\n',
		'[fibre]\nPARENT_ID=fibre-web\n'),
	'a class twice below': () => append('class', '[fibre]\nPARENT_ID=fibre-staff\n'),
	'bands in a circle': () => append('basic',
		'[workshop-desk]\nHIGH=workshop\nLOW=workshop\n'),
	'a chain of 400 classes': () => append('class', many(400,
		i => `[c${i}]\nPARENT_ID=${i ? `c${i - 1}` : 'fibre'}\nRATE=1\nRATE_UNIT=Kbps\n`)),
	'5000 classes': () => append('class', many(5000, i => `[c${i}]\nPARENT_ID=none\n`)),
	'1000 port lists': () => append('port', many(1000,
		i => `[p${i}]\nPORT_LIST[0]=${i + 1}\n`)),
	'1000 filters': () => append('filter', many(1000, i => `[f${i}]\nUSE=unuse\n`)),
	'a port list of 5000 entries': () => append('port',
		`[p]\n${many(5000, i => `PORT_LIST[${i}]=${i + 1}\n`)}`),
	'a class with 300 filters': () => replace('class', '[fibre-web]\n',
		`[fibre-web]\n${many(300, i => `FILTER_ID[${i}]=f${i}\n`)}`),
	'a class with 40 schedules': () => replace('class', '[fibre-web]\n',
		`[fibre-web]\n${many(40, i => `TIME_ENABLE[${i}]=enable\nSTART_HOUR[${i}]=08\n`)}`),
	'ranges that need many blocks': () => replace('ip', '[phones]\n',
		`[phones]\n${many(17, i => `IP_LIST[${i}]=10.0.${i}.1-254\n`)}`),
	'a policy with 40 bands': () => replace('policy', '[LAN5]\n',
		`[LAN5]\n${many(40, i => `BAND[${i}]=b${i}\n`)}`),
	'100 policies': () => append('policy', many(100,
		i => `[LAN${i + 6}]\nROOT_CLASS=none\nQDISC=htb\n`)),
	'descriptions with markup': () => {
		for (const name of fs.readdirSync(at('desc')))
			write(`desc/${name}`, `${MARK}\n<q>`);
	},
	'descriptions of 256 KB': () => {
		for (const name of fs.readdirSync(at('desc')))
			write(`desc/${name}`, 'x'.repeat(1 << 18));
	},
	'descriptions with NULs': () => {
		for (const name of fs.readdirSync(at('desc')))
			write(`desc/${name}`, 'a\x00<q>\x00\xff\x01');
	},
	'a description that is a pipe': () => {
		fs.rmSync(at('desc/sip.port'));
		execFileSync('/usr/bin/mkfifo', [at('desc/sip.port')]);
	},
	'a description that leads out': () => {
		fs.rmSync(at('desc/sip.port'));
		fs.symlinkSync('/tmp/ran', at('desc/sip.port'));
	},
	'no folder of descriptions': () => fs.rmSync(at('desc'), { recursive: true }),
};

export function* hostileStores()
{
	for (const file of FILES) {
		for (const [shape, change] of Object.entries(SHAPES))
			yield [`${file} ${shape}`, file, () => write(file, change(read(file)))];
		for (const [kind, change] of Object.entries(KINDS_OF_FILE))
			yield [`${file} ${kind}`, file, () => change(file)];
	}
	for (const [i, value] of VALUES.entries()) {
		const kinds = value.includes('<q>') || value.includes('touch')
			? FILES : [FILES[i % 6], FILES[(i + 3) % 6]];
		for (const kind of kinds)
			yield [`a value ${value.slice(0, 40)} in ${kind}`, kind, withValue(kind,
				value)];
	}
	for (const [i, name] of NAMES.entries()) {
		const kinds = name.includes('q') ? KINDS : [FILES[i % 6], 'policy'];
		for (const kind of kinds)
			yield [`a section ${name.slice(0, 40)} in ${kind}`, kind, withSection(kind,
				name)];
	}
	for (const [name, change] of Object.entries(SETS))
		yield [name, null, change];
}

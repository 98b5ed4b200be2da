// SPDX-License-Identifier: MIT
// Holds the colours of qos.css against the grounds that they stand on, light and dark, and prints the
// contrasts: contrast.mjs. Checks of accessibility see text only; edges, bars and lines are figures too.
import fs from 'node:fs';

const TEXT = 4.5, SHAPE = 3; // the least contrast with the ground
const PAIRS = [
	['ink', TEXT, ['card', 'bg', 'soft', 'track', 'warn-bg', 'err-bg', 'ok-bg']],
	['dim', TEXT, ['card', 'bg', 'soft']],
	['link', TEXT, ['card', 'bg', 'soft']],
	['on', TEXT, ['link']],
	['live', TEXT, ['card', 'bg']],
	['warn', TEXT, ['card', 'warn-bg']],
	['err', TEXT, ['card', 'err-bg']],
	['ok', TEXT, ['card', 'ok-bg']],
	['rate', SHAPE, ['track', 'card', 'bg', 'soft']],
	['edge', SHAPE, ['card', 'bg']],
];

const style = new URL('../../face/html/qos.css', import.meta.url);
const colours = Object.fromEntries([...fs.readFileSync(style, 'utf8')
	.matchAll(/--([a-z-]+): light-dark\((#\w+), (#\w+)\)/g)]
	.map(([, name, light, dark]) => [name, [light, dark]]));

function luminance(colour)
{
	const [, short] = /^#(\w{3})$/.exec(colour) || [];
	const digits = short ? short.replace(/./g, '$&$&') : colour.slice(1);
	const [red, green, blue] = digits.match(/../g).map(pair => parseInt(pair, 16) / 255)
		.map(part => part <= 0.04045 ? part / 12.92 : ((part + 0.055) / 1.055) ** 2.4);
	return 0.2126 * red + 0.7152 * green + 0.0722 * blue;
}

function contrast(one, other)
{
	const [dark, light] = [luminance(one), luminance(other)].sort((a, b) => a - b);
	return (light + 0.05) / (dark + 0.05);
}

let failures = 0;
for (const [name, least, grounds] of PAIRS) {
	const words = grounds.map(ground => {
		const [light, dark] = [0, 1].map(n => contrast(colours[name][n], colours[ground][n]));
		const low = light < least || dark < least;
		failures += low;
		return `${ground} ${light.toFixed(1)} ${dark.toFixed(1)}${low ? ' TOO LOW' : ''}`;
	});
	console.log(`--${name}, at least ${least}: ${words.join('; ')}`);
}
process.exit(failures ? 1 : 0);

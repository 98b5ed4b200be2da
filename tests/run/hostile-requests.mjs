// SPDX-License-Identifier: MIT
// Sends main.cgi every request of hostile_requests.mjs. Each must be refused with its status, and
// must leave every file of the router as it was; nothing that was sent may show in an answer.
import { MARKS, hostileRequests } from './hostile_requests.mjs';
import { differing, expect, faultsOf, finish, post, restore, send, treeOf } from './router.mjs';

const FOLDERS = ['/etc', '/tmp', '/var', '/usr/local'];
const shown = name => name.startsWith('/etc/conf/');
const router = () => Object.assign({}, ...FOLDERS.map(folder => treeOf(folder, shown)));

function describe({ method = 'GET', query = '', body = '', variables })
{
	const line = [method, query, body, JSON.stringify(variables ?? {})].join(' ');
	return line.length < 500 ? line : line.slice(0, 500) + '...';
}

function isUnsound(answer)
{
	if (!/^content-type: application\/json/im.test(answer.out))
		return false;
	try {
		JSON.parse(answer.body);
		return false;
	} catch {
		return true;
	}
}

const [least = '1000'] = process.argv.slice(2);
// A save that is refused for its taken id leaves the lock, which is no change.
send(post({ obj: 'port', type: 'display', action: 'save', id: 'sip', port_list: '1' }));
const before = router(), etc = treeOf('/etc');
let count = 0;
for (const { set, statuses, request } of hostileRequests()) {
	count++;
	const answer = send(request);
	const faults = faultsOf(answer, MARKS);
	if (!statuses.includes(answer.status))
		faults.push(`is answered with ${answer.status}, not ${statuses}: ` +
			answer.body.slice(-300));
	if (isUnsound(answer))
		faults.push(`is no JSON: ${answer.body.slice(0, 300)}`);
	const changed = differing(before, router());
	if (changed.length > 0) {
		faults.push(`changes ${changed.join(' ')}`);
		restore('/etc', etc);
	}
	expect(`${set}: ${describe(request)}`, faults);
}
expect('the size of the corpus', count >= Number(least) ? [] : [`only ${count} requests`]);
finish();

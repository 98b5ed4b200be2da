let rules = null; // of the page's kind, by field; null where they cannot be had

async function ask(type, fields)
{
	try {
		const answer = await fetch('main.cgi?' +
			new URLSearchParams({ obj: 'router', type, ...fields }));
		await press;
		return answer.ok || answer.status === 404 ? await answer.json() : null;
	} catch {
		return null;
	}
}

const ask_state = id => ask('state', { kind: page.kind, ...id && { id } });

async function ask_rules()
{
	rules = (await ask('rules') || {})[page.kind];
}

const get_most = name => rules && rules[name] ? rules[name].most : Infinity;

async function ask_list(obj)
{
	const answer = await ask('list', { obj, action: 'json' });
	return answer && answer.objects || [];
}

/* Of a leaf, its parameters: label, unit, name. */
const LEAVES = {
	sfq: [['Quantum', 'bytes', 'quantum'], ['Perturb', 'seconds', 'perturb']],
	pfifo: [['Limit', 'packets', 'limit']],
	bfifo: [['Limit', 'bytes', 'limit']],
};

/* As its own page shows it, with what scripts add to that. */
async function get_stored(id, { values })
{
	const answer = await fetch(`main.cgi?obj=${page.kind}&type=display&action=edit&id=${id}`);
	const html = await answer.text();
	const shown = new DOMParser().parseFromString(html, 'text/html').querySelector('main form');
	const stored = collect(shown, get_displayed);
	take_revision(page.kind, id);
	for (const [, , name] of LEAVES[values.leaf] || [])
		stored[name] = [values[name] || ''];
	for (const name of LINE.filter(one => values[one]))
		stored[name] = [values[name]];
	return { ...stored, id: [page.id] };
}

/* What a policy has beside its page's fields. */
const LINE = ['qdisc', 'bandwidth', 'bandwidth_unit'];

function show_line(state)
{
	for (const name of state ? LINE : []) {
		const field = page.form.elements[name];
		field.disabled = false;
		if (place.line)
			continue;
		field.value = state.values && state.values[name] || field.value;
		place.shown[name] = [field.value];
	}
	place.line = Boolean(state);
	keep_now();
}

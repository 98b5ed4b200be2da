/* What is stored now, and the rules of the fields: asked of the router. */

let rules = null; // of the page's kind, by field; null where they cannot be had

/* Resolves to null where the router does not answer, or not with that. */
async function ask(type, fields)
{
	const query = new URLSearchParams(Object.assign({ obj: 'router', type }, fields));
	try {
		const answer = await fetch('main.cgi?' + query);
		return answer.ok || answer.status === 404 ? await answer.json() : null;
	} catch (error) {
		return null;
	}
}

/* Without an id: what holds for a new object. */
function ask_state(id)
{
	return ask('state', id ? { kind: page.kind, id } : { kind: page.kind });
}

async function ask_rules()
{
	const all = await ask('rules', {});
	rules = all && all[page.kind];
}

function get_most(name)
{
	return rules && rules[name] ? rules[name].most : Infinity;
}

/* The ids that a list page links to for editing. Only ids that the router takes match. Rejects
 * where the list cannot be had. */
async function ask_ids(kind)
{
	const answer = await fetch(`main.cgi?obj=${kind}&type=list`);
	if (!answer.ok)
		throw new Error(answer.statusText);
	const list = new DOMParser().parseFromString(await answer.text(), 'text/html');
	return Array.from(list.links, link =>
		/[?&]action=edit&id=([A-Za-z0-9][\w.-]*)(?:&|$)/.exec(link.getAttribute('href')))
		.filter(Boolean).map(found => found[1]);
}

/* --- stored values as the page would show them --- */

const PARAMETERS = { sfq: ['quantum', 'perturb'], pfifo: ['limit'], bfifo: ['limit'] };

function is_parameter(name)
{
	return Object.values(PARAMETERS).some(names => names.includes(name));
}

function as_option(list, stored)
{
	const options = Array.from(list.options);
	const number = parseInt(stored, 10);
	const found = options.find(option => option.value === stored) ||
		options.find(option => option.value && +option.value === number);
	return (found || options[0]).value;
}

function as_shown(field, n, values)
{
	const stored = [].concat(values[field.name] || []);
	const day = /^dow\[(.)\]$/.exec(field.name);
	if (day)
		return ((values.days || [])[n] || '').includes(day[1]) ? day[1] : '';
	if (field.type === 'checkbox')
		return stored[n] ? field.value : '';
	if (field.type === 'select-one')
		return as_option(field, stored[n]);
	// A class without an MTU is offered that of Ethernet.
	return field.name === 'mtu' && stored[n] === undefined ? '1500' : trim_end(stored[n] || '');
}

/* Of several lines the first is told: while it is that of what was displayed, so are the others. */
function get_stored_description(stored)
{
	const displayed = at(place.shown, 'desc', 0);
	return [displayed.split('\n')[0] === stored ? displayed : trim_end(stored)];
}

/* As collect() gives it. The leaf's parameters are those of the stored leaf, for which the form
 * may have no inputs. */
function get_stored(form, values)
{
	const shown = {};
	for (const name of PARAMETERS[values.leaf] || [])
		shown[name] = [values[name] || ''];
	for_each_field(form, (field, n) => {
		if (field.type === 'select-multiple')
			shown[field.name] = values[field.name] || [];
		else if (field.name === 'desc')
			shown.desc = get_stored_description(values.desc || '');
		else if (field.name === 'id')
			shown.id = [page.id];
		else if (!HELPERS.includes(field.name) && !is_parameter(field.name))
			add_value(shown, field.name, as_shown(field, n, values));
	});
	return shown;
}

/* What a form holds: by name, the list of its values; '' for a box that is not checked. */

const HELPERS = ['num', 'mask', 'ip', 'sss', 'prefix'];

const fields_of = form => [...form.elements].filter(({ name, type }) =>
	name && type !== 'hidden' && type !== 'button');

const trim_end = text => text.replace(/[\r\n]+$/, '');

function get_value(field)
{
	if (field.type === 'select-multiple')
		return Array.from(field.options, option => option.value);
	if (field.type === 'checkbox')
		return [field.checked ? field.value : ''];
	return [trim_end(field.value)];
}

/* As the page came. Browsers show the last marked option, else the first. */
function get_displayed(field)
{
	if (field.type === 'select-multiple')
		return get_value(field);
	if (field.type === 'checkbox')
		return [field.defaultChecked ? field.value : ''];
	if (field.type !== 'select-one')
		return [trim_end(field.defaultValue)];
	const options = [...field.options];
	const marked = options.filter(option => option.defaultSelected).pop();
	const shown = marked || (field.name === 'id' ? null : options[0]);
	return [shown ? shown.value : ''];
}

function add_value(values, name, value)
{
	values[name] = (values[name] || []).concat(value);
}

function collect(form, get = get_value)
{
	const values = {};
	for (const field of fields_of(form))
		add_value(values, field.name, get(field));
	return values;
}

/* n: the n-th of its name. */
function for_each_field(form, visit)
{
	const counts = {};
	for (const field of fields_of(form)) {
		const n = counts[field.name] || 0;
		counts[field.name] = n + 1;
		visit(field, n);
	}
}

const put_list = (field, list) =>
	field.replaceChildren(...list.map(entry => new Option(entry, entry)));

function put_values(form, values)
{
	if (values.leaf) {
		change_qdisc(values.leaf[0]); // makes inputs, which are filled below
		form.elements.leaf.value = values.leaf[0];
	}
	for_each_field(form, (field, n) => {
		const list = values[field.name];
		if (list && field.type === 'select-multiple')
			put_list(field, list);
		else if (list && field.type === 'checkbox')
			field.checked = Boolean(list[n]);
		else if (list)
			field.value = list[n];
	});
}

const is_of_tables = name => /^(time_|dow\[|(start|end)_hour$)/.test(name);

const get_switches = values => values.time_enable || [];

const get_days = (values, table) =>
	[...'0123456'].map(day => at(values, `dow[${day}]`, table)).join('');

/* The router counts the tables that are switched on, so these go before the others. */
function get_order(values)
{
	const on = get_switches(values);
	return [...on.keys()].sort((table, other) => !on[table] - !on[other]);
}

function close_gaps(values)
{
	const order = get_order(values), closed = { ...values };
	for (const name of Object.keys(values).filter(is_of_tables))
		closed[name] = order.map(table => values[name][table]);
	return closed;
}

const get_tables = form => Object.fromEntries(
	Object.entries(close_gaps(collect(form))).filter(([name]) => is_of_tables(name)));

function differs({ name, type }, n, now, then)
{
	return !HELPERS.includes(name) && name !== 'unuse_filter_id' && (type === 'select-multiple' ?
		!is_same(now, then, name) : at(now, name, n) !== at(then, name, n));
}

/* A unit says nothing where its number is empty. */
function at(values, name, n)
{
	const number = name.replace(/_unit$/, '');
	return (number === name || at(values, number, n)) && (values[name] || [])[n] || '';
}

function is_same(values, others, name)
{
	const [one, other] = [values, others].map(of => (of[name] || []).map((_, n) => at(of, name, n)));
	return one.join('\n') === other.join('\n');
}

/* Of a table that is switched on now all that says something is stored. */
function is_table_changed(now, then, name, table)
{
	const value = at(now, name, table), is_on = values => at(values, 'time_enable', table);
	return value !== at(then, name, table) || value && is_on(now) && !is_on(then);
}

const are_days_changed = (now, then, table) =>
	(at(now, 'time_enable', table) || at(then, 'time_enable', table)) &&
		get_days(now, table) !== get_days(then, table);

/* The days are one, "days". Both have no gaps. */
function find_changes(now, then)
{
	const tables = [...get_switches(now).keys()];
	const changed = Object.keys({ ...now, ...then }).filter(name =>
		!HELPERS.includes(name) && !/^(id$|unuse|dow)/.test(name) &&
		(is_of_tables(name) ? tables.some(table => is_table_changed(now, then, name, table)) :
			!is_same(now, then, name)));
	if (tables.some(table => are_days_changed(now, then, table)))
		changed.push('days');
	return changed;
}

const is_typed_in = (now, then) => Object.keys({ ...now, ...then }).some(name =>
	name !== 'unuse_filter_id' && name !== 'sss' && !is_same(now, then, name));

function merge(now, then, stored)
{
	const merged = { ...stored }, changed = find_changes(now, then);
	for (const name of Object.keys(now)) {
		if (is_of_tables(name))
			merged[name] = now[name].map((value, table) =>
				(name.startsWith('dow[') ? get_days(now, table) !== get_days(then, table) :
					at(now, name, table) !== at(then, name, table)) ? value : stored[name][table]);
		else if (HELPERS.includes(name) || name === 'id' || changed.includes(name))
			merged[name] = now[name];
	}
	return merged;
}

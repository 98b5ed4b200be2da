/* What a form holds: by name, the list of its values, for a name may stand on a page several times.
 * A box that is not checked holds '', a list of entries all of them, chosen or not. An absent name
 * and an empty value are the same. Nothing here changes a page but put_values(). */

/* Inputs that help to fill in a list, and are no fields of an object. */
const HELPERS = ['num', 'mask', 'ip', 'sss', 'prefix'];

const WEEK = [0, 1, 2, 3, 4, 5, 6];

function fields_of(form)
{
	return Array.from(form.elements).filter(field =>
		field.name && field.type !== 'hidden' && field.type !== 'button');
}

/* A stored description ends with its file's line end. */
function trim_end(text)
{
	return text.replace(/[\r\n]+$/, '');
}

function get_value(field)
{
	if (field.type === 'select-multiple')
		return Array.from(field.options, option => option.value);
	if (field.type === 'checkbox')
		return [field.checked ? field.value : ''];
	return [trim_end(field.value)];
}

/* As the page came, whatever was typed since. Where several options are marked, browsers show the
 * last; where none is, the first, but no device is a policy's unmarked. */
function get_displayed(field)
{
	if (field.type === 'select-multiple')
		return get_value(field);
	if (field.type === 'checkbox')
		return [field.defaultChecked ? field.value : ''];
	if (field.type !== 'select-one')
		return [trim_end(field.defaultValue)];
	const options = Array.from(field.options);
	const marked = options.filter(option => option.defaultSelected).pop();
	const shown = marked || (field.name === 'id' ? null : options[0]);
	return [shown ? shown.value : ''];
}

function add_value(values, name, value)
{
	values[name] = (values[name] || []).concat(value);
}

function collect(form, get)
{
	const values = {};
	for (const field of fields_of(form))
		add_value(values, field.name, get(field));
	return values;
}

/* Calls visit(field, n) for each field: the n-th of its name, from 0. */
function for_each_field(form, visit)
{
	const counts = {};
	for (const field of fields_of(form)) {
		const n = counts[field.name] || 0;
		counts[field.name] = n + 1;
		visit(field, n);
	}
}

function put_values(form, values)
{
	if (values.leaf)
		change_qdisc(values.leaf[0]); // makes inputs, which are filled below
	if (values.leaf)
		form.elements.leaf.value = values.leaf[0];
	for_each_field(form, (field, n) => {
		const list = values[field.name];
		if (!list)
			return;
		if (field.type === 'select-multiple')
			field.replaceChildren(...list.map(entry => new Option(entry, entry)));
		else if (field.type === 'checkbox')
			field.checked = Boolean(list[n]);
		else
			field.value = list[n];
	});
}

/* --- schedule tables --- */

function is_of_tables(name)
{
	return /^(time_|dow\[|(start|end)_hour$)/.test(name);
}

function get_switches(values)
{
	return values.time_enable || [];
}

/* The digits of the days of a table. */
function get_days(values, table)
{
	return WEEK.map(day => (values[`dow[${day}]`] || [])[table] || '').join('');
}

/* The router counts the tables that are switched on, so these go before the others. */
function close_gaps(values)
{
	const on = get_switches(values);
	const order = [...on.keys()].sort((table, other) => !on[table] - !on[other]);
	const closed = Object.assign({}, values);
	for (const name of Object.keys(values).filter(is_of_tables))
		closed[name] = order.map(table => values[name][table]);
	return closed;
}

/* --- comparing --- */

function at(values, name, n)
{
	return (values[name] || [])[n] || '';
}

function is_same(values, others, name)
{
	return (values[name] || []).join('\n') === (others[name] || []).join('\n');
}

/* A unit says nothing where its number is empty. */
function says_something(values, name, n)
{
	const number = /^(.*)_unit$/.exec(name);
	return at(values, name, n) !== '' && !(number && at(values, number[1], n) === '');
}

/* A table that is switched on now has all its values stored, so each that says something counts. One
 * that was switched off keeps what the router has of it, so one that was emptied counts too. */
function is_table_changed(now, then, name, table)
{
	if (at(now, name, table) !== at(then, name, table))
		return true;
	return at(now, 'time_enable', table) && !at(then, 'time_enable', table) &&
		says_something(now, name, table);
}

function are_days_changed(now, then, table)
{
	return (at(now, 'time_enable', table) || at(then, 'time_enable', table)) &&
		get_days(now, table) !== get_days(then, table);
}

/* The names of the fields whose values differ. The days of the tables are one, "days". Both have
 * no gaps between their tables. */
function find_changes(now, then)
{
	const tables = [...get_switches(now).keys()];
	const names = Object.keys(Object.assign({}, now, then)).filter(name =>
		!HELPERS.includes(name) && name !== 'id' && name !== 'unuse_filter_id' &&
		!name.startsWith('dow['));
	const changed = names.filter(name => is_of_tables(name) ?
		tables.some(table => is_table_changed(now, then, name, table)) :
		!is_same(now, then, name));
	if (tables.some(table => are_days_changed(now, then, table)))
		changed.push('days');
	return changed;
}

/* The names of the fields that a new object of these values gets. */
function find_given(values)
{
	return find_changes(values, {}).filter(name =>
		is_of_tables(name) || name === 'days' || says_something(values, name, 0));
}

/* Is there anything that leaving the page would lose? */
function is_typed_in(now, then)
{
	return Object.keys(Object.assign({}, now, then)).some(name =>
		name !== 'unuse_filter_id' && name !== 'sss' && !is_same(now, then, name));
}

/* What would be typed into the form displayed anew, given the stored values, and what was typed:
 * the fields that the person changed stay, the others are as stored. */
function merge(now, then, stored)
{
	const merged = Object.assign({}, stored);
	const changed = find_changes(now, then);
	for (const name of Object.keys(now)) {
		if (HELPERS.includes(name) || name === 'id')
			merged[name] = now[name];
		else if (is_of_tables(name))
			merged[name] = now[name].map((value, table) =>
				is_mine(now, then, name, table) ? value : at(stored, name, table));
		else if (changed.includes(name))
			merged[name] = now[name];
	}
	return merged;
}

function is_mine(now, then, name, table)
{
	if (name.startsWith('dow['))
		return get_days(now, table) !== get_days(then, table);
	return at(now, name, table) !== at(then, name, table);
}

/* Fields are checked by the router's own rules before they are sent, so that a wrong one is named
 * beside it. Where the rules cannot be had, the router's own check stands. */

function is_allowed(rule, value)
{
	if (value === '')
		return rule.empty;
	if (rule.choices)
		return rule.choices.includes(value);
	return !value.includes('\n') && new RegExp(`^(?:${rule.pattern})$`, 'u').test(value);
}

/* What is sent of a field. */
function get_sent(field)
{
	if (field.type === 'checkbox' && !field.checked)
		return [];
	// Of a description that is stored in several lines the router takes the first.
	if (field.name === 'desc' && get_value(field)[0] === at(place.shown, 'desc', 0))
		return [field.value.split('\n')[0]];
	return get_value(field);
}

function find_fault(field)
{
	const rule = rules && rules[field.name];
	return rule && field.name !== 'unuse_filter_id' ? find_fault_of(rule, get_sent(field)) : '';
}

/* In words; empty where the values are allowed. */
function find_fault_of(rule, values)
{
	if (values.length > rule.most)
		return `at most ${rule.most} are taken, and these are ${values.length}`;
	if (values.every(value => is_allowed(rule, value)))
		return '';
	return `allowed is ${rule.allowed}${rule.empty ? ', or nothing' : ''}`;
}

/* Says something beside a field: what is wrong with it, or what is stored instead. */
function note(field, kind, text)
{
	const said = document.createElement('span');
	said.className = kind;
	said.textContent = text;
	field.after(said);
	return said;
}

function remove_notes(kind)
{
	for (const said of document.querySelectorAll('span.' + kind))
		said.remove();
	for (const field of fields_of(page.form))
		field.removeAttribute('aria-invalid');
}

/* The first wrong field gets the focus. */
function check_form(form)
{
	let first = null;
	remove_notes('wrong');
	for (const field of fields_of(form)) {
		const fault = find_fault(field);
		if (!fault)
			continue;
		note(field, 'wrong', fault).setAttribute('role', 'alert');
		field.setAttribute('aria-invalid', 'true');
		first = first || field;
	}
	if (first)
		first.focus();
	return !first;
}

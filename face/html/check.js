/* Fields are checked by the router's own rules, and something is said beside them. */

function is_allowed(rule, value)
{
	if (value === '')
		return rule.empty;
	if (rule.choices)
		return rule.choices.includes(value);
	return !value.includes('\n') && new RegExp(`^(?:${rule.pattern})$`, 'u').test(value);
}

function get_sent(field)
{
	if (field.type === 'checkbox' && !field.checked)
		return [];
	if (field.name === 'desc' && get_value(field)[0] === at(place.shown, 'desc', 0))
		return [field.value.split('\n')[0]];
	return get_value(field);
}

function find_fault(field)
{
	const rule = rules && rules[field.name], values = get_sent(field);
	if (!rule || field.name === 'unuse_filter_id')
		return '';
	if (values.length > rule.most)
		return `at most ${rule.most} are taken, and these are ${values.length}`;
	if (values.every(value => is_allowed(rule, value)))
		return '';
	return `allowed is ${rule.allowed}${rule.empty ? ', or nothing' : ''}`;
}

let said_count = 0;

/* In the row of the grid below a field, or behind it. */
function find_room(field)
{
	const cell = field.closest('.sheet .f');
	if (!cell)
		return field.closest('td') || field.parentNode;
	const unit = cell.nextElementSibling, end = unit && unit.matches('.u') ? unit : cell;
	const room = end.nextElementSibling;
	if (room && room.matches('.er'))
		return room;
	const made = make('td', { className: cell.previousElementSibling?.previousElementSibling ?
		'er second' : 'er' });
	end.after(made);
	return made;
}

/* Ties what is said of a field to it. */
function tie(field)
{
	const said = all('.said').filter(({ of }) => of === field);
	field.setAttribute('aria-describedby', said.map(({ id }) => id).join(' '));
	field.ariaInvalid = said.some(one => one.matches('.e'));
}

function note(field, kind, text, is_error = kind === 'wrong')
{
	const said = make('p', { id: `said-${said_count++}`, of: field, textContent: text,
		className: `said ${kind}${is_error ? ' e' : ''}` }, find_room(field));
	tie(field);
	return said;
}

function remove_notes(kind, field)
{
	for (const said of all('.said.' + kind).filter(({ of }) => !field || of === field)) {
		said.remove();
		tie(said.of);
	}
}

function check_field(field)
{
	const fault = find_fault(field);
	remove_notes('wrong', field);
	if (fault)
		note(field, 'wrong', fault);
}

/* What is mended leaves the sum. */
function count_wrong()
{
	const [box] = all('#wrong');
	all('#wrong p').filter(({ of }) => of.ariaInvalid !== 'true').forEach(line => line.remove());
	const { length } = all('#wrong p');
	if (length)
		box.firstChild.textContent =
			`${length === 1 ? 'One field is' : length + ' fields are'} not right yet`;
	else if (box)
		box.remove();
	return length;
}

/* What is wrong is summed up above the form. */
function check_form(form)
{
	fields_of(form).forEach(check_field);
	all('#wrong').forEach(old => old.remove());
	const box = make('div', { id: 'wrong', className: 'msg bad', tabIndex: -1 });
	make('b', {}, box);
	for (const { of, firstChild } of all('.said.e', form)) {
		make('a', { href: '#', textContent: `${name_of(of)}: ${firstChild.textContent}`,
			onclick() {
				unfold(of);
				of.focus();
			} }, make('p', { of }, box));
	}
	form.before(box);
	if (!count_wrong())
		return true;
	box.focus();
	return false;
}

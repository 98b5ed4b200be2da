/* The class page: its two lists of filters, and the parameters of the leaf qdisc. */

let owners = {}; // the class or band beside this one that names a filter, by filter

function get_filters()
{
	const { filter_id, unuse_filter_id } = page.form.elements;
	return get_value(filter_id).concat(get_value(unuse_filter_id));
}

/* A filter that another class names is offered as that one's. */
function show_owners(taken)
{
	const { filter_id, unuse_filter_id } = page.form.elements;
	const known = get_filters();
	owners = taken || {};
	for (const id of Object.keys(owners).filter(taken_id => !known.includes(taken_id)))
		unuse_filter_id.add(new Option(id, id));
	for (const option of [...filter_id.options, ...unuse_filter_id.options]) {
		const owner = owners[option.value];
		option.text = owner ? `${option.value} (${owner})` : option.value;
	}
}

/* Whether the class takes the filter, though another has it. */
function agree(id)
{
	const before = place.shown.filter_id || [];
	if (!owners[id] || before.includes(id) || place.shared.includes(id))
		return true;
	if (!confirm(`${owners[id]} has the filter ${id}. Give it to this class too?`))
		return false;
	place.shared.push(id);
	return true;
}

/* Those too that became another's while this page was open. */
function agree_to_all()
{
	return get_value(page.form.elements.filter_id).every(agree);
}

/* All: of the filters of others none. */
function moveDualList(from, to, all)
{
	const takes = to.name === 'filter_id';
	for (const option of Array.from(from.options)) {
		const is_meant = all ? !(takes && owners[option.value]) : option.selected;
		if (!is_meant || (takes && !agree(option.value)))
			continue;
		option.selected = false;
		to.append(option);
	}
	keep();
}

/* Parameters of the leaf qdisc. An input that is not shown is not posted, and its value
 * is dropped from the class. */
function set_param(place_id, label, name, value)
{
	const holder = document.getElementById(place_id);
	holder.textContent = '';
	if (!name)
		return;
	const caption = document.createElement('label'), input = document.createElement('input');
	caption.textContent = label + ' ';
	input.type = 'text';
	input.size = 10;
	input.name = name;
	input.defaultValue = value;
	caption.append(input);
	holder.append(caption);
}

function display_sfq(quantum, perturb)
{
	set_param('param1', 'Quantum (bytes)', 'quantum', quantum);
	set_param('param2', 'Perturb (seconds)', 'perturb', perturb);
}

function display_pfifo(limit)
{
	set_param('param1', 'Limit (packets)', 'limit', limit);
	set_param('param2');
}

function display_bfifo(limit)
{
	set_param('param1', 'Limit (bytes)', 'limit', limit);
	set_param('param2');
}

function display_none()
{
	set_param('param1');
	set_param('param2');
}

function change_qdisc(kind)
{
	if (kind === 'sfq')
		display_sfq('', '');
	else if (kind === 'pfifo')
		display_pfifo('');
	else if (kind === 'bfifo')
		display_bfifo('');
	else
		display_none();
}

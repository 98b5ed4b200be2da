/* Who else names a filter, by filter. */
let owners = {};

const get_filter_options = () => all('[name$=filter_id] option', page.form);

function show_owners(taken)
{
	const known = get_filter_options().map(({ value }) => value);
	owners = { __proto__: null, ...taken };
	for (const id of Object.keys(owners).filter(one => !known.includes(one)))
		page.form.elements.unuse_filter_id.add(new Option(id, id));
	for (const option of get_filter_options()) {
		const owner = owners[option.value];
		option.text = option.value + (owner ? ` (${owner})` : '');
	}
}

/* What a filter takes stands behind its name. */
async function word_filters()
{
	const list = await ask_list('filter');
	for (const option of get_filter_options()) {
		const found = list.find(({ id }) => id === option.value);
		option.text += found ? ': ' + found.holds : '';
	}
}

function agree(id)
{
	if (!is_others(id) || place.shared.includes(id))
		return true;
	if (!confirm(`${owners[id]} has the filter ${id}. Give it to this class too?`))
		return false;
	place.shared.push(id);
	return true;
}

function moveDualList(from, to, is_all)
{
	const takes = to.name === 'filter_id';
	for (const option of [...from.options]) {
		const is_meant = is_all ? !(takes && owners[option.value]) : option.selected;
		if (!is_meant || (takes && !agree(option.value)))
			continue;
		option.selected = false;
		to.append(option);
	}
	keep_now();
}

/* An input of the leaf qdisc that is not shown is not posted, and its value is dropped. */
function change_qdisc(kind, ...values)
{
	all('#param1, #param2').forEach((holder, i) => {
		const [text, unit, name] = (LEAVES[kind] || [])[i] || [], label = make('label');
		holder.replaceChildren(...name ? [label] : []);
		label.append(text + ' ', make('input', { type: 'text', name, defaultValue: values[i] || '' }),
			make('span', { textContent: ' ' + unit }));
	});
}

const [display_sfq, display_pfifo, display_bfifo] =
	Object.keys(LEAVES).map(kind => change_qdisc.bind(null, kind));
const display_none = change_qdisc;

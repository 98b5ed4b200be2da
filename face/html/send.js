const go_save = form => send(form, 'save');
const go_update = form => send(form, page.is_copy ? 'save' : 'update');

async function send(form, action)
{
	if (sent || !page)
		return;
	sent = true;
	put_values(form, get_tables(form));
	const is_taken = !window.take_typed || take_typed(form);
	await weigh();
	sent = check_form(form) && is_taken && await get_ready(form, action);
	if (!sent)
		return;
	place.sent = action === 'save' && form.elements.id.value;
	keep();
	leave();
	form.addEventListener('formdata', event => add_fields(event.formData, form, action),
		{ once: true });
	form.submit();
}

async function get_ready(form, action)
{
	if (action === 'update' && page.id && !place.revision) {
		const state = await ask_state(page.id);
		if (state && !state.revision) {
			tell_deleted();
			return false;
		}
		place.revision = state && state.revision;
	}
	if (page.kind !== 'class' || page.is_copy)
		return true;
	const state = page.is_new && await ask_state('');
	if (state)
		show_owners(state.taken);
	return get_value(form.elements.filter_id).every(agree);
}

/* Of a list a browser sends what is selected alone. */
function add_fields(data, form, action)
{
	const values = collect(form), { is_copy } = page;
	data.set('action', action);
	if (values.desc)
		data.set('desc', values.desc[0].split('\n')[0]);
	for (const { name, type } of fields_of(form)) {
		if (type !== 'select-multiple')
			continue;
		data.delete(name);
		(is_copy && page.kind === 'class' ? [] : get_list(values, name))
			.forEach(entry => data.append(name, entry));
	}
	if (!is_copy)
		(values.filter_id || []).filter(is_others).forEach(id => data.append('shared', id));
	add_changes(data, values, action === 'update');
	get_switches(values).forEach((on, table) => {
		if (on)
			data.append('days', get_days(values, table));
	});
}

/* Handed back is only what left the class on this page. */
function get_list(values, name)
{
	return name !== 'unuse_filter_id' ? values[name] :
		(place.shown.filter_id || []).filter(id => !values.filter_id.includes(id));
}

const is_others = id => owners[id] && !(place.shown.filter_id || []).includes(id);

function add_changes(data, values, is_update)
{
	const names = find_changes(values, is_update ? place.shown : {})
		.filter(name => !(page.is_copy && name === 'filter_id'));
	if (is_update && place.revision)
		data.set('revision', place.revision);
	if (is_update && LINE.every(name => is_same(values, place.shown, name)))
		LINE.forEach(name => data.delete(name));
	for (const name of names.length ? names : [''])
		data.append('changed', name);
}

/* Sending a form. Beside its fields go the revision that it was filled in over, the names of the
 * fields that were changed, the days of each schedule table that is switched on, and the filters
 * that are taken although another class names them. */

function go_save(form)
{
	send(form, { action: 'save' });
}

function go_update(form)
{
	send(form, { action: 'update' });
}

/* Named by the save buttons of some pages; there is nothing to choose before a save. */
function go_choose()
{
}

/* A copy under another id. The filters of a class stay with it: two classes do not share one
 * unasked. */
function send_copy(form, id)
{
	send(form, { action: 'save', id });
}

async function send(form, post)
{
	if (sent)
		return;
	sent = true;
	close_chooser();
	close_tables(form);
	if (!check_form(form) || !await get_ready(form, post)) {
		sent = false;
		return;
	}
	place.sent = post.action === 'save' ? post.id || form.elements.id.value.trim() : null;
	keep();
	leave();
	form.addEventListener('formdata', event => add_fields(event.formData, form, post),
		{ once: true });
	form.submit();
}

function close_tables(form)
{
	const values = collect(form, get_value);
	const closed = close_gaps(values);
	put_values(form, Object.fromEntries(
		Object.entries(closed).filter(([name]) => is_of_tables(name))));
}

/* What has to be known before the form can be sent. */
async function get_ready(form, post)
{
	if (post.action === 'update' && page.id && !place.revision) {
		const state = await ask_state(page.id);
		if (state && !state.revision) {
			tell_deleted();
			return false;
		}
		place.revision = state && state.revision;
	}
	if (page.kind !== 'class' || post.id)
		return true;
	if (page.is_new)
		await ask_owners();
	return agree_to_all();
}

/* The router refuses an update that takes what has become another's; of a new class it knows no
 * revision to hold that against. */
async function ask_owners()
{
	const state = await ask_state('');
	if (state)
		show_owners(state.taken);
}

/* Of a list a browser sends what is selected in it: all that counts is named here. */
function add_fields(data, form, post)
{
	const values = collect(form, get_value);
	const is_copy = post.id !== undefined;
	const lists = fields_of(form).filter(field => field.type === 'select-multiple');
	data.set('action', post.action);
	if (values.desc)
		data.set('desc', values.desc[0].split('\n')[0]);
	for (const { name } of lists) {
		data.delete(name);
		(is_copy && page.kind === 'class' ? [] : get_list(values, name))
			.forEach(entry => data.append(name, entry));
	}
	if (is_copy)
		data.set('id', post.id);
	else
		get_shared(values).forEach(id => data.append('shared', id));
	add_changes(data, values, post);
	get_switches(values).forEach((on, table) => {
		if (on)
			data.append('days', get_days(values, table));
	});
}

/* Handed back is only what left the class on this page. */
function get_list(values, name)
{
	if (name !== 'unuse_filter_id')
		return values[name];
	return (place.shown.filter_id || []).filter(id => !values.filter_id.includes(id));
}

/* Filters that are new to the class, and that another names. */
function get_shared(values)
{
	const before = place.shown.filter_id || [];
	return (values.filter_id || []).filter(id => owners[id] && !before.includes(id));
}

/* A new object gets every field that says something. */
function add_changes(data, values, post)
{
	const is_update = post.action === 'update';
	const names = is_update ? find_changes(values, place.shown) : find_given(values);
	const sent_names = names.filter(name => !(post.id !== undefined && name === 'filter_id'));
	if (is_update && place.revision)
		data.set('revision', place.revision);
	for (const name of sent_names.length ? sent_names : [''])
		data.append('changed', name);
}

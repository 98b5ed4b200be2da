/* A form that is filled in again, after a refused save, a reload or on the way back, is held
 * against what is stored by then. */

/* Says something above the form, with buttons: a label and what it does each. */
function tell(text, buttons)
{
	const notice = document.createElement('p');
	for (const old of document.querySelectorAll('p.notice'))
		old.remove();
	notice.className = 'notice';
	notice.setAttribute('role', 'status');
	notice.append(text);
	for (const [label, press] of buttons)
		notice.append(' ', make_button(label, press));
	page.form.before(notice);
}

function make_button(label, press)
{
	const button = document.createElement('button');
	button.type = 'button';
	button.textContent = label;
	button.addEventListener('click', press);
	return button;
}

function tell_typed()
{
	tell('What was typed here is back, and is not saved yet.', [['forget it', forget]]);
}

function tell_deleted()
{
	tell(`${page.id} has been deleted meanwhile.`, [
		['save mine as new', save_anew],
		['forget it', leave_to_list]]);
}

function leave_to_list()
{
	leave();
	location.replace(`main.cgi?obj=${page.kind}&type=list`);
}

function save_anew()
{
	place.shown = {};
	send(page.form, { action: 'save' });
}

function as_words(list)
{
	return list.filter(Boolean).join(', ') || 'nothing';
}

/* The stored value stands beside each field that differs. */
function show_differences(stored)
{
	const form = page.form;
	const now = collect(form, get_value);
	const mine = find_changes(now, place.shown);
	const missing = Object.keys(stored).filter(name => is_parameter(name) && !now[name]);
	for_each_field(form, (field, n) => {
		const { name } = field;
		if (name === 'id' || name === 'unuse_filter_id' || !stored[name])
			return;
		const is_list = field.type === 'select-multiple';
		const is_equal = is_list ? is_same(now, stored, name) :
			at(now, name, n) === at(stored, name, n);
		if (is_equal)
			return;
		const is_changed = mine.includes(name.startsWith('dow[') ? 'days' : name);
		const words = field.type === 'checkbox' ? (at(stored, name, n) ? 'on' : 'off') :
			as_words(is_list ? stored[name] : [at(stored, name, n)]);
		note(field, 'stored', `stored: ${words}${is_changed ? '' : ' (stays)'}`);
	});
	for (const name of missing)
		note(form.elements.leaf, 'stored', `stored ${name}: ${as_words(stored[name])}`);
}

function tell_conflict(state, stored)
{
	const when = state.changed ? ` (${state.changed.when}, ${state.changed.who})` : '';
	show_differences(stored);
	tell(`${page.id} has been changed meanwhile${when}. ` +
		'What is stored stands beside your values.',
	[['save mine over it', () => save_mine(state, stored)],
		['take what is stored', forget]]);
}

/* Only what the person changed goes over what is stored. */
function save_mine(state, stored)
{
	const form = page.form;
	const merged = merge(close_gaps(collect(form, get_value)), place.shown, stored);
	if (merged.filter_id)
		merged.unuse_filter_id = get_filters().filter(id => !merged.filter_id.includes(id));
	place.shown = stored;
	place.revision = state.revision;
	put_values(form, merged);
	if (page.kind === 'class')
		show_owners(state.taken);
	remove_notes('stored');
	keep();
	send(form, { action: 'update' });
}

/* --- what became of the form --- */

/* Is every value that was changed stored by now? */
function is_stored(changed, now, stored)
{
	const differing = find_changes(now, stored);
	return changed.length > 0 && !changed.some(name => differing.includes(name));
}

/* Of a new object, or a copy: was it saved when it was last sent? */
async function went_through(now)
{
	const id = place.sent;
	if (!id || !(await ask_ids(page.kind).catch(() => [])).includes(id))
		return false;
	const state = await ask_state(id);
	if (!state || !state.revision)
		return false;
	const given = find_given(now).filter(name => page.is_new || name !== 'filter_id');
	return is_stored(given, now, get_stored(page.form, state.values));
}

/* Looks at a form that holds what was typed. */
async function look_again(state)
{
	const now = close_gaps(collect(page.form, get_value));
	if (await went_through(now)) {
		forget();
		return;
	}
	if (!state || page.is_new) {
		tell_typed();
		return;
	}
	if (!state.revision) {
		tell_deleted();
		return;
	}
	const stored = get_stored(page.form, state.values);
	if (is_stored(find_changes(now, place.shown), now, stored))
		forget();
	else if (state.revision !== place.revision)
		tell_conflict(state, stored);
	else
		tell_typed();
}

/* A form that is filled in again is held against what is stored by then. */

function tell(text, buttons)
{
	const notice = make('p', { className: 'notice msg warn', role: 'status', textContent: text });
	all('.notice').forEach(old => old.remove());
	buttons.forEach(button => notice.append(' ', make_button(...button)));
	page.form.before(notice);
}

const make_button = (textContent, onclick) =>
	make('button', { type: 'button', className: 'small', textContent, onclick });

function tell_deleted()
{
	tell(`${page.id} has been deleted meanwhile.`, [['save mine as new', () => {
		place.shown = {};
		go_save(page.form);
	}], ['forget it', () => {
		leave();
		location.replace(`main.cgi?obj=${page.kind}&type=list`);
	}]]);
}

const as_words = list => list.filter(Boolean).join(', ') || 'nothing';

function show_differences(stored)
{
	const { form } = page, now = collect(form), mine = find_changes(now, place.shown);
	for_each_field(form, (field, n) => {
		const { name, type } = field;
		if (!stored[name] || !differs(field, n, now, stored))
			return;
		const is_changed = mine.includes(name.startsWith('dow[') ? 'days' : name);
		const words = type === 'checkbox' ? (at(stored, name, n) ? 'on' : 'off') :
			as_words(type === 'select-multiple' ? stored[name] : [at(stored, name, n)]);
		note(field, 'stored', `stored: ${words}${is_changed ? '' : ' (stays)'}`);
	});
	for (const name of Object.keys(stored)) {
		if (/^(quantum|perturb|limit)$/.test(name) && !now[name])
			note(form.elements.leaf, 'stored', `stored ${name}: ${as_words(stored[name])}`);
	}
}

function tell_conflict(state, stored)
{
	const when = state.changed ? ` (${state.changed.when}, ${state.changed.who})` : '';
	show_differences(stored);
	tell(`${page.id} has been changed meanwhile${when}. What is stored stands beside your values.`,
		[['save mine over it', () => save_mine(state, stored)], ['take what is stored', forget]]);
}

function save_mine(state, stored)
{
	const { form } = page;
	const merged = merge(close_gaps(collect(form)), place.shown, stored);
	if (merged.filter_id)
		merged.unuse_filter_id = get_filter_options().map(({ value }) => value)
			.filter(id => !merged.filter_id.includes(id));
	place.shown = stored;
	place.revision = state.revision;
	put_values(form, merged);
	if (page.kind === 'class')
		show_owners(state.taken);
	remove_notes('stored');
	keep();
	go_update(form);
}

function is_stored(changed, now, stored)
{
	const differing = find_changes(now, stored);
	return changed.length > 0 && !changed.some(name => differing.includes(name));
}

/* Was a new object, or a copy, saved when it was last sent? */
async function went_through(now)
{
	const id = place.sent, known = id ? await ask_list(page.kind) : [];
	const state = known.some(one => one.id === id) && await ask_state(id);
	if (!state || !state.revision)
		return false;
	const given = find_changes(now, {}).filter(name => page.is_new || name !== 'filter_id');
	return is_stored(given, now, await get_stored(id, state));
}

async function look_again(state)
{
	const now = close_gaps(collect(page.form)), is_there = state && state.revision;
	const stored = is_there && await get_stored(page.id, state);
	if (await went_through(now) ||
	    is_there && is_stored(find_changes(now, place.shown), now, stored))
		forget();
	else if (state && !is_there)
		tell_deleted();
	else if (state && state.revision !== place.revision)
		tell_conflict(state, stored);
	else
		tell('What was typed here is back, and is not saved yet.', [['forget it', forget]]);
}

/* Choosing an id for an input that cannot be typed into: entries below it, searched by what is
 * typed. Nothing is taken but by pressing its entry; Escape leaves all as it was. */

let chooser = null; // the entries, with the input that they are for and what opened them

function close_chooser()
{
	if (!chooser)
		return;
	chooser.box.remove();
	chooser.opener.focus();
	chooser = null;
}

/* Asking again for the same input takes the chooser away. */
async function pick(kind, input, except)
{
	const is_open = chooser && chooser.input === input;
	const opener = window.event ? window.event.target.closest('a') : document.activeElement;
	close_chooser();
	if (is_open)
		return;
	try {
		offer((await ask_ids(kind)).filter(id => id !== except), input, opener);
	} catch (error) {
		alert('The router did not answer with its list.');
	}
}

function offer(ids, input, opener)
{
	const box = document.createElement('div'), search = document.createElement('input');
	close_chooser();
	search.type = 'search';
	search.setAttribute('aria-label', 'Search');
	search.placeholder = ids.length ? 'search' : 'the list is empty';
	box.className = 'chooser';
	box.setAttribute('role', 'group');
	box.setAttribute('aria-label', 'Choose from the list');
	box.append(search);
	for (const id of ids.concat('')) {
		const entry = make_button(id || 'none', () => take(input, id));
		entry.value = id;
		if (id && id === input.value)
			entry.setAttribute('aria-current', 'true');
		box.append(entry);
	}
	search.addEventListener('input', () => show_matching(box, search.value));
	box.addEventListener('keydown', press_key);
	input.after(box);
	chooser = { box, input, opener };
	search.focus();
}

function take(input, id)
{
	input.value = id;
	close_chooser();
	keep();
}

function show_matching(box, text)
{
	for (const entry of box.querySelectorAll('button'))
		entry.hidden = Boolean(entry.value) && !entry.value.includes(text);
}

/* Up and Down go through what is offered; Enter presses an entry, and in the search nothing. */
function press_key(event)
{
	const shown = Array.from(chooser.box.children).filter(child => !child.hidden);
	const step = { ArrowDown: 1, ArrowUp: -1 }[event.key];
	const next = shown[shown.indexOf(document.activeElement) + step];
	if (event.key === 'Escape')
		close_chooser();
	else if (step && next)
		next.focus();
	else if (!step && !(event.key === 'Enter' && event.target.type === 'search'))
		return;
	event.preventDefault();
}

/* target is "form.input". A class cannot be its own parent. */
function open_class_list(target)
{
	const names = target.split('.'), fields = document.forms[names[0]].elements;
	pick('class', fields[names[1]], names[1] === 'parent_id' ? fields.id.value : '');
}

/* What is kept with the page's place in the browser's history, for Back, a reload, a refused save. */

const PAUSE = 150;  // ms after the last key
const AGAIN = 3000; // ms after which a page that did not leave can be sent again

let page = null; // the form, its kind, its id, is_new, is_copy
/* revision, what was typed, the id last sent to be saved anew, and whether show_line() ran. */
let place = { shown: {}, shared: [] };
let pause = 0;
let sent = false;    // being sent
let leaving = false; // unasked

function find_page(form)
{
	const button = /go_(save|update)\(/.exec([...document.links].map(get_action).join());
	if (!button)
		return null;
	const { id, obj } = form.elements;
	// A policy of no device of the page is not that of the first.
	if (id.options && ![...id.options].some(option => option.defaultSelected))
		id.selectedIndex = -1;
	return { form, kind: obj.value, id: get_displayed(id)[0], is_new: button[1] === 'save' };
}

const get_action = link => link.getAttribute('onclick') || '';

function take_revision(kind, id)
{
	const name = `revision-${kind}-${id}=`;
	const cookie = document.cookie.split('; ').find(text => text.startsWith(name));
	if (!cookie)
		return null;
	document.cookie = name + '; Path=/; SameSite=Strict; Max-Age=0';
	return cookie.slice(name.length);
}

const is_dirty = () => is_typed_in(collect(page.form), place.shown);

function keep()
{
	clearTimeout(pause);
	place.typed = is_dirty() ? collect(page.form) : null;
	history.replaceState(place, '');
	name_changes();
	onbeforeunload = place.typed && (event => {
		keep();
		if (!leaving && place.typed)
			event.preventDefault();
	});
}

function keep_soon()
{
	clearTimeout(pause);
	pause = setTimeout(keep, PAUSE);
	weigh_soon();
}

function keep_now()
{
	keep();
	weigh_soon();
}

function leave()
{
	leaving = true;
	setTimeout(() => { leaving = sent = false; }, AGAIN);
}

function forget()
{
	clearTimeout(pause);
	leave();
	onbeforeunload = null;
	history.replaceState(null, '');
	location.reload();
}

function may_leave()
{
	if (!is_dirty())
		return true;
	if (!confirm('What was typed here is not saved. Leave it?'))
		return false;
	leave();
	return true;
}

function watch(form)
{
	form.addEventListener('input', keep_soon);
	form.addEventListener('change', keep_now);
	form.addEventListener('focusout', async ({ target }) =>
		await press || target.name && check_field(target));
	form.addEventListener('keydown', press_in_form);
	keep();
	weigh();
}

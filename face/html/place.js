/* What belongs to a filled-in form is kept with the page's place in the browser's history, so that
 * Back, a reload and a refused save find it again, and no other page does: the revision and the
 * values that were displayed, what was typed over them, the filters that were taken although
 * another class names them, and the id under which the form was last sent to be saved anew. */

const PAUSE = 150;  // ms after the last key; browsers refuse a page that writes without a pause
const AGAIN = 3000; // ms after which a page that did not leave can be left and sent again

let page = null; // the form with its kind, id and whether it is of a new object; by begin()
let place = { revision: null, shown: {}, typed: null, shared: [], sent: null };
let pause = 0;
let sent = false;    // a form is being sent; a second click does not send it twice
let leaving = false; // the person was asked, or what was typed is being sent

/* A form without a button is only looked at. */
function find_page()
{
	const form = document.forms[0];
	const button = form && /_entry$/.test(form.name) &&
		/go_(save|update)\(/.exec(Array.from(document.links, get_action).join());
	if (!button)
		return null;
	unselect_device(form.elements.id);
	return { form, kind: form.elements.obj.value, id: get_displayed(form.elements.id)[0],
		is_new: button[1] === 'save' };
}

/* A policy of no device of the page is not shown as that of the first: what is sent names none. */
function unselect_device(id)
{
	if (id.options && !Array.from(id.options).some(option => option.defaultSelected))
		id.selectedIndex = -1;
}

function get_action(link)
{
	return link.getAttribute('onclick') || '';
}

/* The revision of what is displayed comes in a cookie, which is for this page alone. */
function take_revision(kind, id)
{
	const name = `revision-${kind}-${id}=`;
	const cookie = document.cookie.split('; ').find(text => text.startsWith(name));
	if (!cookie)
		return null;
	document.cookie = name + '; Path=/; SameSite=Strict; Max-Age=0';
	return cookie.slice(name.length);
}

function is_dirty()
{
	return is_typed_in(collect(page.form, get_value), place.shown);
}

function keep()
{
	clearTimeout(pause);
	place.typed = is_dirty() ? collect(page.form, get_value) : null;
	history.replaceState(place, '');
	if (place.typed)
		window.addEventListener('beforeunload', ask_before_leaving);
	else
		window.removeEventListener('beforeunload', ask_before_leaving);
}

function keep_soon()
{
	clearTimeout(pause);
	pause = setTimeout(keep, PAUSE);
}

function ask_before_leaving(event)
{
	keep();
	if (leaving || !place.typed)
		return;
	event.preventDefault();
	event.returnValue = ''; // what older browsers look at
}

function leave()
{
	leaving = true;
	setTimeout(() => { leaving = sent = false; }, AGAIN);
}

/* Reads the page anew, without what was typed. */
function forget()
{
	clearTimeout(pause);
	leave();
	window.removeEventListener('beforeunload', ask_before_leaving);
	history.replaceState(null, '');
	location.reload();
}

/* Whether what was typed may be left behind; it is kept for the way back all the same. */
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
	form.addEventListener('change', keep);
	keep();
}

/* Scripts that more than one QoS page needs. The buttons on the pages call these
 * functions by name, so the names are fixed, odd spellings included. */

var ENTRIES = 17; // the router keeps so many entries of a port or address list
var FILTERS = 64; // and reads so many filters of a class, or handed back by it

/* The buttons are links to "#". Followed, each would put the page into the browser's history
 * once more, and cancel after an add would lead only back to the page itself. */
document.addEventListener('click', function (event)
{
	var link = event.target;

	while (link && link.tagName !== 'A')
		link = link.parentNode;
	if (link && link.getAttribute('href') === '#')
		event.preventDefault();
});

/* The button images carry no text of their own for readers that show none. */
document.addEventListener('DOMContentLoaded', function ()
{
	var i, button;

	for (i = 0; i < document.images.length; i++) {
		button = /button\/([a-z]+)01_01/.exec(document.images[i].src);
		if (button)
			document.images[i].alt = button[1];
	}
});

/* Hovered buttons. Two buttons of a page may bear one name, so the image under the
 * pointer goes before the first of that name. */
var swapped = null;

function MM_swapImage(name, unused, source)
{
	var image = window.event && window.event.target;

	if (!image || image.name !== name)
		image = document.images[name];
	MM_swapImgRestore();
	if (!image)
		return;
	swapped = { image: image, source: image.src };
	image.src = source;
}

function MM_swapImgRestore()
{
	if (swapped)
		swapped.image.src = swapped.source;
	swapped = null;
}

var MM_swapImgrestore = MM_swapImgRestore;

/* Named by the save buttons of some pages; there is nothing to choose before a save. */
function go_choose()
{
}

/* Sending a form. */
var sent = false;

function go_save(form)
{
	send(form, 'save');
}

function go_update(form)
{
	send(form, 'update');
}

/* The action inputs are found by walking the form: there may be two, and the form's own
 * action is where it is sent. A list posts only what is selected in it, and what the
 * router would not read is left out. A second click must not send the form twice. */
function send(form, action)
{
	var i, j, field, chosen = form.elements.filter_id;

	if (sent)
		return;
	if (chosen && chosen.options.length > FILTERS) {
		alert('A class takes at most ' + FILTERS + ' filters.');
		return;
	}
	close_picker();
	keep(form);
	for (i = 0; i < form.elements.length; i++) {
		field = form.elements[i];
		if (field.name === 'action')
			field.value = action;
		// A stored description ends with its file's line end; what is sent is one line.
		if (field.name === 'desc')
			field.value = field.value.replace(/[\r\n]+$/, '');
		if (field.type === 'select-multiple')
			for (j = 0; j < field.options.length; j++)
				field.options[j].selected = j < FILTERS && !is_foreign(field, j);
	}
	sent = true;
	setTimeout(function () { sent = false; }, 3000);
	form.submit();
}

/* A free filter whose id no page could have given is not posted: the router would refuse the
 * whole form for it. */
function is_foreign(list, i)
{
	return list.name === 'unuse_filter_id' &&
		!/^[A-Za-z0-9](?!.*\.\.)[A-Za-z0-9_.\-]{0,31}$/.test(list.options[i].value);
}

/* A refused save leads back to the page. Browsers then refill the inputs that the page
 * came with but not what scripts added to it, so the form as sent is kept with the
 * page's place in the history. */
function keep(form)
{
	var i, j, field, held, kept = [];

	for (i = 0; i < form.elements.length; i++) {
		field = form.elements[i];
		held = field.type === 'checkbox' ? field.checked : field.value;
		if (field.type === 'select-multiple') {
			held = [];
			for (j = 0; j < field.options.length; j++)
				held.push(field.options[j].value);
		}
		kept.push({ name: field.name, held: held });
	}
	history.replaceState(kept, '');
}

function refill(form, kept)
{
	var i, j, field, held;

	for (i = 0; i < kept.length; i++) {
		field = form.elements[i];
		held = kept[i].held;
		if (!field || field.name !== kept[i].name)
			return;
		if (field.type === 'select-multiple') {
			field.options.length = 0;
			for (j = 0; j < held.length; j++)
				field.options[j] = new Option(held[j], held[j]);
		} else if (field.type === 'checkbox') {
			field.checked = held;
		} else if (field.type !== 'hidden') {
			field.value = held;
		}
		if (field.name === 'leaf')
			change_qdisc(held); // makes the inputs that are filled next
	}
}

window.addEventListener('pageshow', function (event)
{
	var i, form = document.forms[0];

	if (form && history.state && !event.persisted && performance.navigation.type === 2)
		refill(form, history.state);
	sent = false;
	for (i = 0; form && i < form.elements.length; i++)
		if (form.elements[i].type === 'select-multiple')
			form.elements[i].selectedIndex = -1;
});

/* Choosing an id for an input that cannot be typed into: a list beside it, without a name
 * so that it is not posted. Asking again for the same input takes it away. */
var picker = null;

function close_picker()
{
	if (picker)
		picker.parentNode.removeChild(picker);
	picker = null;
}

function pick(kind, input, except)
{
	var request = new XMLHttpRequest(), open = picker && picker.previousSibling === input;

	close_picker();
	if (open)
		return;
	request.open('GET', 'main.cgi?obj=' + kind + '&type=list');
	request.onload = function ()
	{
		if (request.status === 200)
			offer(listed_ids(request.responseText), input, except);
		else
			request.onerror();
	};
	request.onerror = function ()
	{
		alert('The router did not answer with its list.');
	};
	request.send();
}

/* The ids that a list page links to for editing. Only ids that the router takes match. */
function listed_ids(html)
{
	var links = new DOMParser().parseFromString(html, 'text/html').links, ids = [], i, found;

	for (i = 0; i < links.length; i++) {
		found = /[?&]action=edit&id=([A-Za-z0-9][\w.-]*)(?:&|$)/.exec(links[i].getAttribute('href'));
		if (found)
			ids.push(found[1]);
	}
	return ids;
}

function offer(ids, input, except)
{
	var i;

	close_picker();
	picker = document.createElement('select');
	picker.title = 'Choose from the list';
	picker.options[0] = new Option(ids.length ? 'choose' : 'the list is empty', '');
	picker.options[0].disabled = true;
	picker.options[1] = new Option('none', '');
	for (i = 0; i < ids.length; i++)
		if (ids[i] !== except)
			picker.options[picker.options.length] = new Option(ids[i], ids[i]);
	picker.selectedIndex = 0;
	picker.onchange = function ()
	{
		input.value = picker.value;
		close_picker();
	};
	input.parentNode.insertBefore(picker, input.nextSibling);
	picker.focus();
}

/* target is "form.input". A class cannot be its own parent. */
function open_class_list(target)
{
	var names = target.split('.'), fields = document.forms[names[0]].elements;

	pick('class', fields[names[1]], names[1] === 'parent_id' ? fields.id.value : '');
}

/* Entries of the port and address lists. */
function trim(text)
{
	return text.replace(/^\s+|\s+$/g, '');
}

function is_number(text, most)
{
	return /^\d{1,5}$/.test(text) && +text <= most;
}

/* Returns whether the entry was added. */
function add_entry(list, entry)
{
	var i;

	for (i = 0; i < list.options.length; i++)
		if (list.options[i].value === entry) {
			alert(entry + ' is in the list already.');
			return false;
		}
	if (list.options.length >= ENTRIES) {
		alert('A list holds at most ' + ENTRIES + ' entries.');
		return false;
	}
	list.options[list.options.length] = new Option(entry, entry);
	return true;
}

function delete_entries(list)
{
	if (list.selectedIndex < 0)
		alert('Select the entries to delete first.');
	while (list.selectedIndex >= 0)
		list.remove(list.selectedIndex);
}

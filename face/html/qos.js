/* What every QoS page needs. The buttons on the pages call functions by name, so those names are
 * fixed, odd spellings included.
 *
 *     qos       the page as it is opened, and its image buttons
 *     form      what a form holds, compared
 *     place     what is kept with the page's place in the browser's history
 *     state     what is stored, and the rules of the fields: asked of the router
 *     check     fields held against the rules
 *     send      sending a form
 *     copy      sending it under another id
 *     conflict  a form filled in again, held against what is stored by then
 *     chooser   choosing an id from a list
 *     entries, class  what only the list pages and the class page need
 */

/* The buttons are links to "#". Followed, each would put the page into the browser's history
 * once more, and cancel after an add would lead only back to the page itself. */
document.addEventListener('click', event => {
	const link = event.target.closest('a');
	if (link && link.getAttribute('href') === '#')
		event.preventDefault();
});

/* Hovered buttons. Two buttons of a page may bear one name, so the image under the
 * pointer goes before the first of that name. */
let swapped = null;

function MM_swapImage(name, unused, source)
{
	let image = window.event && window.event.target;
	if (!image || image.name !== name)
		image = document.images[name];
	MM_swapImgRestore();
	if (!image)
		return;
	swapped = { image, source: image.src };
	image.src = source;
}

function MM_swapImgRestore()
{
	if (swapped)
		swapped.image.src = swapped.source;
	swapped = null;
}

const MM_swapImgrestore = MM_swapImgRestore;

/* The button images carry no text of their own for readers that show none. */
function name_images()
{
	for (const image of document.images) {
		const button = /button\/([a-z]+)01_01/.exec(image.src);
		if (button)
			image.alt = button[1];
	}
}

/* --- the page as it is opened --- */

/* Without a store's revision in the answer's cookie, that of this moment counts. Of a class page
 * is asked, besides, which filters other classes have. */
async function look(is_filled_in)
{
	const is_class = page.kind === 'class';
	if (page.is_new ? !is_class : !is_class && !is_filled_in && place.revision)
		return is_filled_in && look_again(null);
	const state = await ask_state(page.is_new ? '' : page.id);
	if (is_class && state)
		show_owners(state.taken);
	if (is_filled_in)
		return look_again(state);
	if (state && !page.is_new)
		place.revision = place.revision || state.revision;
}

function begin()
{
	name_images();
	page = find_page();
	if (!page)
		return;
	const revision = take_revision(page.kind, page.id);
	const is_filled_in = Boolean(history.state && history.state.typed);
	// What is kept here is more than browsers keep themselves.
	page.form.autocomplete = 'off';
	if (is_filled_in)
		place = history.state;
	else
		Object.assign(place, { revision, shown: collect(page.form, get_displayed) });
	if (is_filled_in)
		put_values(page.form, place.typed);
	fix_id();
	watch(page.form);
	ask_rules();
	look(is_filled_in);
}

document.addEventListener('DOMContentLoaded', begin);

/* Browsers may show a page that was left as it was then. */
window.addEventListener('pageshow', async event => {
	if (!event.persisted || !page)
		return;
	sent = leaving = false;
	fix_id();
	if (is_dirty() || page.is_new) {
		look(is_dirty());
		return;
	}
	const state = await ask_state(page.id);
	if (state && state.revision !== place.revision)
		forget();
});

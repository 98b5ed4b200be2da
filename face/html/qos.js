/* What would move the page waits, lest a press misses. A list that opens takes its end. */
let press;

onpointerdown = () => {
	press = new Promise(end => {
		setTimeout(end, 1000);
		onpointerup = () => setTimeout(end, 100);
	});
};

/* A followed "#" would put the page into the browser's history. */
addEventListener('click', event => {
	if (event.target.closest('a[href="#"]'))
		event.preventDefault();
});

/* Named by the printed buttons. */
function MM_swapImage() {}
const MM_swapImgRestore = MM_swapImage, MM_swapImgrestore = MM_swapImage, go_choose = MM_swapImage;

const histroy = history;

const all = (selector, root = document) => [...root.querySelectorAll(selector)];

function make(tag, properties, parent)
{
	const made = Object.assign(document.createElement(tag), properties);
	if (parent)
		parent.append(made);
	return made;
}

/* Another device is another policy. */
function change_device()
{
	const device = document.policy_entry.elements.id, id = device.value;
	device.value = page ? page.id : id;
	if (!page || may_leave())
		location.href = 'main.cgi?obj=policy&type=display&action=open&id=' + encodeURIComponent(id);
}

/* Without a revision in the answer's cookie, that of this moment counts. */
async function look(is_filled_in)
{
	const { kind, is_new } = page, is_class = kind === 'class';
	const is_line = kind === 'policy';
	if (is_line && is_new)
		show_line({});
	if (!is_class && (is_new || !is_line && !is_filled_in && place.revision))
		return is_filled_in && look_again(null);
	const state = await ask_state(is_new ? '' : page.id);
	if (is_class) {
		show_owners(state && state.taken);
		word_filters();
	}
	if (is_line)
		show_line(state);
	if (is_filled_in)
		return look_again(is_new ? null : state);
	if (state && !is_new)
		place.revision = place.revision || state.revision;
}

async function fill_frame()
{
	const { login, bar, saved } = await ask('status', document.policy_entry && { kind: 'policy' }) || {}, [top, main] = all('.top, main');
	if (login)
		make('span', { className: 'who', textContent: login }, top);
	top.insertAdjacentHTML('afterend', bar || '');
	if (saved)
		main.prepend(make('p', { className: 'msg good', textContent: saved }));
}

function begin()
{
	const [form] = all('main form'), { activeElement } = document;
	page = find_page(form);
	dress(form);
	activeElement.focus(); // its row was moved
	fill_frame();
	if (!page)
		return;
	const revision = take_revision(page.kind, page.id);
	const is_filled_in = Boolean(history.state?.typed);
	form.autocomplete = 'off';
	if (is_filled_in) {
		place = history.state;
		put_values(form, place.typed);
	} else {
		Object.assign(place, { revision, shown: collect(form, get_displayed) });
	}
	fold_unused(form);
	fix_id();
	watch(form);
	ask_rules();
	look(is_filled_in);
}

addEventListener('DOMContentLoaded', begin);

/* Browsers may show a page that was left as it was then. */
onpageshow = ({ persisted }) => {
	if (persisted) {
		leave();
		location.reload();
	}
};

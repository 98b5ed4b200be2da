/* Choosing for an input from a list, which is searched. Taken is only what is marked. */

const TITLES = { class: 'Class', port: 'Port list', ip: 'Address list', basic: 'Root of bands' };

const NONE = { parent_id: 'top of a tree', root_class: 'nothing is shaped',
	default_class: 'nothing takes the rest' };

const STEPS = { ArrowDown: 1, ArrowUp: -1, PageDown: 6, PageUp: -6, Home: -1e9, End: 1e9 };

/* A class is offered neither itself (except) nor what is below it, a policy no bands. */
function leave_out(rows, kind, except)
{
	let top = Infinity; // depth of except, while what is below it comes
	return rows.filter(({ id, use, depth }) => {
		top = id === except ? depth : depth > top ? top : Infinity;
		return top === Infinity && !(kind === 'basic' && / band of /.test(use));
	});
}

function pick(kind, input, except)
{
	const ariaLabel = `${TITLES[kind]}: ${name_of(input)}`;
	// Enter in the search presses Take.
	const box = make('dialog', { ariaLabel, onkeydown: move, onclose: close, innerHTML:
		`<form method='dialog'><h2>${ariaLabel}</h2><p><input type='search' role='combobox'
aria-expanded='true' aria-controls='picks' placeholder='Search all columns' autocomplete='off'></p>
<ul id='picks' role='listbox' aria-label='Choices'></ul><p><button class='first' value='1'>Take</button>
<button>Leave</button> <a class='btn' target='_blank' rel='noopener'
href='main.cgi?obj=${kind}&type=display&action=new'>New</a> <small role='status'></small></p>` },
	document.body);
	const [search, list, take, status] = all('input,ul,.first,small', box);
	let rows, found = [], at;

	function mark(to)
	{
		const option = list.children[at = to];
		for (const other of list.children)
			other.ariaSelected = other === option;
		search.setAttribute('aria-activedescendant', option ? option.id : '');
		if (option)
			option.scrollIntoView({ block: 'nearest' });
		take.disabled = !option;
	}

	function add_option({ id, holds, desc, use, depth }, n)
	{
		const option = make('li', { id: 'pick' + n, role: 'option' }, list);
		const more = [id && id === input.value && 'chosen', desc, use].filter(Boolean).join('; ');
		option.onclick = () => { mark(n); take.click(); };
		option.style.setProperty('--in', depth);
		make('b', { textContent: id || 'none' }, option);
		make('span', { textContent: holds }, option);
		make('small', { textContent: more }, option);
	}

	/* Marks the row wanted, or the first that was searched for. */
	function show(wanted)
	{
		found = rows.filter(({ id, holds, desc, use }) =>
			has_words(`${id} ${holds} ${desc} ${use}`, search.value));
		const place = found.findIndex(({ id }) => id === wanted);
		status.textContent = `${found.length} of ${rows.length}`;
		found.push({ id: '', holds: NONE[input.name] || 'takes no traffic' });
		list.textContent = '';
		found.forEach(add_option);
		mark(place < 0 && search.value && found[1] ? 0 : place);
	}

	/* What was added in another tab is marked. */
	async function read()
	{
		const { objects } = await ask('list', { obj: kind, action: 'json' }) || {}, known = rows;
		if (!objects) {
			status.textContent = 'The router did not answer. ';
			status.append(make_button('Try again', read));
			return;
		}
		rows = leave_out(objects, kind, except);
		const added = known && rows.find(({ id }) => !known.some(row => row.id === id));
		if (added)
			search.value = '';
		show((added || found[at] || { id: input.value }).id);
	}

	function move(event)
	{
		const step = event.target === search && found[0] && STEPS[event.key];
		if (event.key === 'Escape')
			box.close();
		else if (step)
			mark(Math.max(0, Math.min(found.length - 1, at + step)));
		else
			return;
		event.preventDefault();
	}

	function close()
	{
		onfocus = null;
		box.remove();
		if (box.returnValue)
			put(input, found[at].id);
	}

	search.oninput = () => rows && show(input.value);
	onfocus = read;
	mark(-1);
	box.showModal();
	read();
}

function tell_changed(field)
{
	for (const type of ['input', 'change'])
		field.dispatchEvent(new Event(type, { bubbles: true }));
}

function put(input, value)
{
	input.value = value;
	tell_changed(input);
}

/* What the printed links call. The name may stand behind its form's. */
const find_input = name => page.form.elements[name.split('.').pop()];

function open_class_list(target)
{
	const input = find_input(target), { name } = input, { id, qdisc } = page.form.elements;
	const is_strict = name === 'root_class' && qdisc.value === 'spq';
	pick(is_strict ? 'basic' : 'class', input, name === 'parent_id' ? id.value : '');
}

const open_ip_list = name => pick('ip', find_input(name));
const open_port_list = name => pick('port', find_input(name));
const del_class = name => put(find_input(name), '');
const del_default_class = del_class;

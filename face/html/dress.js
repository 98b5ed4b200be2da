/* The printed form in parts: wrapped, never replaced. Its words stand in the page's template: a printed
 * word is the title of ours, a group's first field that of its heading. */

/* What a printed link does, by what it calls. */
const PRESSES = { open_: 'Choose', del_: 'Clear', _add: 'Add', _delete: 'Remove selected',
	go_: 'Save', '.go': 'Cancel' };

const BESIDE = { mask: 'Last port', sss: 'Form', prefix: 'Prefix length or last number' };

const text_of = node => node.textContent.replace(/\s+/g, ' ').trim();

const find_words = selector => all(selector, document.getElementById('words').content);

function word(label, printed)
{
	const [ours] = find_words(`b[title="${printed}"]`);
	label.append(...(ours ? ours.cloneNode(true).childNodes : [printed]));
	return label;
}

function name_field(field, label)
{
	field.id = label.htmlFor = `field-${all('[id^=field]').length}`;
}

function name_of(field)
{
	const label = field.labels && field.labels[0];
	const title = is_of_tables(field.name) && field.closest('.sheet').querySelector('.fold span');
	return (title ? text_of(title) + ', ' : '') +
		(label ? text_of(label.firstChild) || text_of(label) : field.ariaLabel);
}

function dress_link(link, of)
{
	const call = Object.keys(PRESSES).find(part => get_action(link).includes(part));
	const image = link.querySelector('img');
	image.alt = PRESSES[call];
	link.className = call === 'go_' ? 'btn first' : 'btn';
	link.role = 'button';
	link.replaceChildren(image, PRESSES[call]);
	if (of)
		make('span', { className: 'vh', textContent: ' ' + of }, link);
}

/* A text cell names the field after it, or is a unit or what is fixed. */
function dress_row(row)
{
	let label = null, before = null, name = '';
	for (const cell of [...row.cells]) {
		const [field, ...others] = all('input, select, textarea', cell), links = all('a', cell);
		const text = text_of(cell), is_unit = field && /_unit$/.test(field.name);
		cell.className = 'x';
		if (is_unit || links.length) {
			cell.className = links.length > 1 ? 'u acts' : 'u';
			before.classList.toggle('w', links.length > 1);
			if (is_unit)
				field.ariaLabel = 'Unit of ' + name;
			links.forEach(link => dress_link(link, name));
			cell.replaceChildren(...cell.children);
		} else if (field) {
			before = cell;
			cell.className = others.length ? 'f w many' : label ? 'f w' : 'f all';
			others.forEach(other => { other.ariaLabel = BESIDE[other.name]; });
			if (label)
				name_field(field, label);
			else
				field.ariaLabel = 'Entries';
			label = null;
		} else if (label) {
			cell.className = 'f w';
			label.replaceWith(...label.childNodes);
			label = null;
		} else if (text) {
			cell.className = 'l';
			cell.textContent = '';
			label = word(make('label', { title: text }, cell), text);
			name = text_of(label.firstChild);
		}
	}
	if (!label)
		return;
	before.className = 'f';
	label.parentNode.className = 'u';
	label.replaceWith(label.title);
}

function dress_days(row)
{
	[...row.cells].forEach((cell, i) => {
		const box = cell.querySelector('input');
		if (box)
			make('label', {}, cell).append(box, i ? text_of(cell) : 'Use this schedule');
		cell.replaceChildren(...all('label', cell));
	});
	row.className = 'days';
	word(make('td', {}, row), 'days').onclick = ({ target: { value } }) => {
		for (const box of value ? all('input', row) : [])
			box.checked = value.includes(box.value);
		keep_now();
	};
}

function dress_filters(row)
{
	all('select', row).forEach((list, i) => {
		const label = make('label', { textContent: i ? 'Free filters' : 'Filters of this class' });
		name_field(list, label);
		list.before(label);
	});
	for (const input of all('input', row))
		input.value = input.value.replace(/\s*[<>]+/, '');
	row.className = 'dual';
}

function dress_table(sheet)
{
	sheet.className = 'sheet';
	sheet.role = 'presentation';
	for (const row of [...sheet.rows]) {
		const [title] = all('.txt_w02', row), has = selector => row.querySelector(selector);
		if (title)
			head(row, text_of(title));
		else if (has('[name=filter_id]'))
			dress_filters(row);
		else if (has('[name=time_enable]'))
			dress_days(row);
		else if (has('#param1'))
			row.className = 'param';
		else if (has('input, select, textarea'))
			dress_row(row);
		else
			row.className = 'x';
	}
}

function head(row, printed, tag = 'h2')
{
	const heading = make(tag), title = printed.replace('Scheduling Parameter', 'Schedule');
	row.cells[0].replaceChildren(heading);
	row.className = 'h';
	if (title === printed && tag === 'h2') {
		word(heading, title);
		return;
	}
	const button = make('button', { type: 'button', className: 'fold' }, heading);
	make('span', { textContent: title }, button);
	button.append(' ', make('small'));
	button.onclick = () => fold(button, button.ariaExpanded === 'true');
}

/* The rows below a fold, or from that of a field on. */
function get_rows(from, skip = 0)
{
	const row = from.closest('tr'), rows = [...row.parentNode.rows];
	return rows.slice(rows.indexOf(row) + skip);
}

function fold(button, is_folded)
{
	button.ariaExpanded = !is_folded;
	get_rows(button, 1).forEach(row => { row.hidden = is_folded; });
}

function unfold(field)
{
	for (const button of all('.fold')) {
		if (get_rows(button, 1).some(row => row.contains(field)))
			fold(button, false);
	}
}

const is_used = ({ type, checked, name, value }) =>
	type === 'checkbox' ? checked : value && name + value !== 'mtu1500';

function fold_unused(form)
{
	for (const button of all('.fold', form)) {
		fold(button, !/1$/.test(text_of(button.firstChild)) &&
			!get_rows(button, 1).some(row => all('input', row).some(is_used)));
	}
}

function group(field, title)
{
	const rows = get_rows(field), body = rows[0].parentNode;
	const made = make('tbody'), row = make('tr', {}, made);
	make('td', {}, row);
	made.append(...rows);
	body.after(made);
	head(row, title);
	if (!body.rows.length)
		body.remove();
}

/* What few need folds away below the rates. */
function dress_bursts({ rate, ceil, mtu })
{
	const [top, second, last] = [rate, ceil, mtu].map(field => field.closest('tr'));
	const row = make('tr'), more = make('tr'), rest = make('tr');
	make('td', {}, row);
	more.append(...[...top.cells].slice(3), ...[...second.cells].slice(3));
	rest.append(...[...last.cells].slice(2));
	top.append(...second.cells);
	second.replaceWith(row, more, rest);
	head(row, 'Bursts and packet size', 'h3');
}

function dress_summary(sheet, { id })
{
	const [titles, ...rows] = sheet.rows, heading = sheet.previousElementSibling;
	const card = make('section', { className: 'card' });
	heading.before(card);
	card.append(heading, sheet);
	sheet.className = 'list wide';
	sheet.createTHead().append(titles);
	for (const { cells } of rows) {
		const { text, value } = [...id.options].find(option => option.text === text_of(cells[0]));
		[...cells].forEach((cell, i) => {
			const title = titles.cells[i];
			title.role = 'columnheader';
			cell.textContent = text_of(cell);
			cell.dataset.l = text_of(title);
		});
		cells[0].replaceChildren(make('a', { textContent: `${text} (${value})`,
			href: `main.cgi?obj=policy&type=display&action=open&id=${value}` }));
	}
}

const get_asked = name => new URLSearchParams(location.search).get(name) || '';

/* As if it had been printed. */
function preset(form)
{
	const values = collect(form), { parent_id } = form.elements;
	for_each_field(form, (field, n) => {
		if (/(rate|ceil)_unit$/.test(field.name) && !at(values, field.name, n))
			field.value = 'Mbps';
	});
	if (page.is_new && parent_id)
		parent_id.defaultValue = get_asked('parent');
}

function name_page({ id })
{
	const [heading] = all('h1'), kind = heading.textContent;
	const option = id.options && id.options[id.selectedIndex];
	const name = option ? `${option.text} (${id.value})` : id.value || get_asked('id');
	const is_new = page && page.is_new && !option, title = `New ${kind.toLowerCase()}`;
	document.title = `${is_new ? title : `${name} - ${kind}${page ? '' : ', read only'}`} - QoS`;
	heading.textContent = is_new ? title : `${kind} ${name}`;
	for (const link of is_new ? [] : find_words(page ? 'a.edited' : 'a.viewed')) {
		link.href += encodeURIComponent(name);
		heading.parentNode.append(link);
	}
}

function dress_save(sheet)
{
	sheet.className = 'save';
	sheet.role = 'presentation';
	all('a', sheet).forEach(link => dress_link(link));
	make('small', { id: 'changes', role: 'status' }, make('td', {}, sheet.rows[0]));
	all('main')[0].append(sheet);
}

function name_changes()
{
	const now = collect(page.form), names = new Set();
	for_each_field(page.form, (field, n) => {
		const name = name_of(field);
		if (differs(field, n, now, place.shown) && !names.has(name.replace('Unit of ', '')))
			names.add(name);
	});
	const { size } = names, text = [...names].slice(0, 3).join(', ');
	all('#changes')[0].textContent = !size ? 'Nothing changed' :
		`Changed: ${text}${size > 3 ? ` and ${size - 3} more` : ''}`;
}

function press_in_form(event)
{
	const { key, target, defaultPrevented, isComposing } = event;
	if (key !== 'Enter' || defaultPrevented || isComposing || !target.matches('input[type=text][name]'))
		return;
	event.preventDefault();
	const choose = target.readOnly && target.closest('td').nextElementSibling?.querySelector('a');
	(choose || all('.save .first')[0]).click();
}

function dress(form)
{
	const { elements } = form;
	[...form.childNodes].filter(node => node.nodeType === 3).forEach(node => node.remove());
	if (page)
		preset(form);
	for (const row of page ? find_words('tr') : [])
		elements.root_class.closest('tr').before(row);
	for (const sheet of all('main table')) {
		if (/go_/.test(all('a', sheet).map(get_action)))
			dress_save(sheet);
		else if (all('.txt_w02', sheet).length > 1)
			dress_summary(sheet, elements);
		else
			dress_table(sheet);
	}
	for (const { title, textContent } of find_words('i'))
		group(elements[title], textContent);
	if (elements.mtu)
		dress_bursts(elements);
	for (const heading of all('.sheet h2'))
		Object.assign(heading.closest('tbody'), { role: 'group', ariaLabel: text_of(heading) });
	name_page(elements);
	fold_unused(form);
}

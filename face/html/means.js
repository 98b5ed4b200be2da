/* What the form means: asked of the router while it is filled in. */

const THINK = 500; // ms

let thinking = 0;
let asking = 0; // late answers to earlier questions are dropped

function weigh_soon()
{
	clearTimeout(thinking);
	thinking = setTimeout(weigh, THINK);
}

function get_weighed()
{
	const { form, is_new } = page, data = new FormData(form);
	add_fields(data, form, is_new ? 'save' : 'update');
	data.set('action', 'weigh');
	data.set('new', +is_new);
	for (const [name, list] of Object.entries(get_tables(form))) {
		const is_box = /^(time_enable|dow)/.test(name);
		data.delete(name);
		list.filter(value => value || !is_box).forEach(value => data.append(name, value));
	}
	return new URLSearchParams(data);
}

async function weigh()
{
	const mine = ++asking, order = get_order(collect(page.form));
	clearTimeout(thinking);
	try {
		const answer = await fetch('main.cgi', { method: 'POST', body: get_weighed() });
		const weighed = await answer.json();
		await press;
		if (mine === asking)
			show_weighed(weighed, order);
	} catch {}
}

function show_weighed({ means, slots, bar, notes }, order)
{
	const [aside, say, share] = all('.means, #say, #share'), { firstChild: { style }, lastChild } = share;
	const folds = all('.fold').filter(button => /\d$/.test(text_of(button.firstChild)));
	if (say.textContent !== means.join(''))
		say.replaceChildren(...means.map(textContent => make('p', { textContent })));
	aside.hidden = !means.length;
	order.forEach((table, i) => { folds[table].lastChild.textContent = slots[i] || ''; });
	share.hidden = !bar;
	if (bar) {
		style.setProperty('--r', bar.rate + '%');
		style.setProperty('--c', bar.ceil + '%');
		lastChild.textContent = `A whole bar is ${bar.of}.`;
	}
	remove_notes('weighed');
	// An untouched new form is not told what it lacks.
	if (!page.is_new || is_dirty() || sent)
		notes.forEach(one => show_note(one, order));
	count_wrong();
}

function find_field(name, n, order)
{
	const fields = fields_of(page.form).filter(field => field.name === name);
	return fields[is_of_tables(name) ? order[n] : n] || fields[0];
}

function show_note({ field: name, n, severity, text, remedies }, order)
{
	const field = find_field(name, n, order), is_error = severity === 'error';
	// What the rules forbid is told by them.
	if (!field || is_error && find_fault(field))
		return;
	const said = note(field, 'weighed', text, is_error);
	for (const { label, values } of remedies)
		said.append(' ', make_button(label, () => put_right(field, values, order)));
	if (is_error)
		unfold(field);
}

function put_right(field, values, order)
{
	for (const [name, list] of Object.entries(values)) {
		const first = find_field(name, 0, order);
		if (first.type === 'select-multiple')
			put_list(first, list);
		else
			list.forEach((value, i) => { find_field(name, i, order).value = value; });
	}
	field.focus();
	keep();
	weigh();
}

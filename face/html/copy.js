/* The id of an object that is there cannot be edited: what names it would name nothing. Under
 * another id it is saved as a copy. A policy's id is its device, which has a page of its own. */

function fix_id()
{
	const input = page.form.elements.id;
	if (page.is_new || page.kind === 'policy')
		return;
	const holder = document.querySelector('.copy') || document.createElement('span');
	input.readOnly = true;
	holder.className = 'copy';
	input.after(holder);
	offer_copy(holder);
}

function offer_copy(holder)
{
	holder.replaceChildren(make_button('save as', () => ask_for_id(holder)),
		' another id: this one stays.');
}

function ask_for_id(holder)
{
	const input = document.createElement('input');
	const stays = page.kind === 'class' ? ` Its filters stay with ${page.id}.` : '';
	function leave_out()
	{
		remove_notes('wrong');
		offer_copy(holder);
		holder.firstChild.focus();
	}
	input.type = 'text';
	input.setAttribute('aria-label', 'id of the copy');
	input.addEventListener('keydown', event => {
		if (event.key === 'Enter')
			save_copy(input);
		else if (event.key === 'Escape')
			leave_out();
		else
			return;
		event.preventDefault();
	});
	holder.replaceChildren('as ', input, ' ',
		make_button('save copy', () => save_copy(input)), ' ',
		make_button('leave', leave_out), ` ${page.id} stays as it is stored.${stays}`);
	input.focus();
}

function save_copy(input)
{
	const id = input.value.trim();
	const fault = rules ? find_fault_of(rules.id, [id]) : '';
	remove_notes('wrong');
	if (fault) {
		note(input, 'wrong', fault).setAttribute('role', 'alert');
		input.focus();
		return;
	}
	send_copy(page.form, id);
}

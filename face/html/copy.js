/* The id of an object that is there stays; under another it is saved as a copy. */

function fix_id()
{
	const { form, id, kind, is_new } = page, input = form.elements.id;
	if (is_new || kind === 'policy')
		return;
	const said = make('p', { className: 'copy s' });
	input.value = id;
	input.readOnly = true;
	input.after(said);
	said.append(make_button('save as', () => {
		page.is_copy = true;
		input.readOnly = false;
		input.select();
		said.textContent = `saved as a copy: ${id} stays as it is${kind === 'class' ?
			', with its filters' : ''}.`;
	}), ' another id: this one stays.');
}

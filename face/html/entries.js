/* Entries of the port and address lists. */

function is_number(text, most)
{
	return /^\d{1,5}$/.test(text) && +text <= most;
}

/* Returns whether the entry was added. */
function add_entry(list, entry)
{
	const most = get_most(list.name);
	if (get_value(list).includes(entry)) {
		alert(entry + ' is in the list already.');
		return false;
	}
	if (list.options.length >= most) {
		alert('A list holds at most ' + most + ' entries.');
		return false;
	}
	list.add(new Option(entry, entry));
	return true;
}

function delete_entries(list)
{
	if (list.selectedIndex < 0)
		alert('Select the entries to delete first.');
	while (list.selectedIndex >= 0)
		list.remove(list.selectedIndex);
	keep();
}

/* Entries of port and address lists, one or several, typed or pasted into the boxes above. */

/* The entry that a word is, as it is stored; '' for none. */
function as_ports(word)
{
	const [all, low, high = low] = /^(\d{1,5})(?:-(\d{1,5}))?$/.exec(word) || [];
	return all && +low <= high && high < 65536 ? [...new Set([+low, +high])].join('-') : '';
}

/* A range goes up to another last number. */
function as_addresses(word)
{
	const [all, net, low, mark, end] =
		/^((?:\d{1,3}\.){3})(\d{1,3})(?:([/-])\1?(\d{1,3}))?$/.exec(word) || [];
	const address = `${net}${low}`.split('.').map(Number);
	if (!all || Math.max(...address) > 255 || (mark === '/' ? end > 32 : end > 255 || +end < low))
		return '';
	return address.join('.') + (mark === '/' || +end > low ? mark + +end : '');
}

function find_boxes()
{
	const { elements } = page.form, { num, mask, ip, sss, prefix } = elements;
	return { box: num || ip, end: mask || prefix, sign: num ? '-' : sss.value,
		list: elements[page.kind + '_list'], as_entry: num ? as_ports : as_addresses };
}

function say_typed(box, text, is_wrong)
{
	remove_notes('typed', box);
	if (text)
		note(box, 'typed', text, is_wrong).role = 'alert';
}

/* Why an entry is not added; '' where it can be. */
function find_objection(entry, list)
{
	const entries = get_value(list), most = get_most(list.name);
	if (!entry)
		return 'no entry' + (rules ? ', allowed is ' + rules[list.name].allowed : '');
	if (entries.includes(entry))
		return 'in the list already';
	return entries.length < most ? '' : `too many, a list holds ${most}`;
}

/* Adds what is in the boxes. Returns false where something stays there. */
function take_typed()
{
	const { box, end, sign, list, as_entry } = find_boxes(), said = {};
	const typed = box.value + (end.value && sign + end.value);
	const words = typed.replace(/\s*([-/])\s*/g, '$1').match(/[^\s,;]+/g) || [];
	for (const word of words) {
		const entry = as_entry(word), objection = find_objection(entry, list);
		if (objection)
			add_value(said, `: ${objection}. `, word);
		else
			list.add(new Option(entry, entry));
	}
	const left = words.filter(word => !get_value(list).includes(as_entry(word)));
	if (!left.length || words.length > 1) {
		box.value = left.join(' ');
		end.value = '';
	}
	say_typed(box, Object.keys(said).map(why => said[why].join(', ') + why).join(''), left.length > 0);
	tell_changed(list);
	return !left.length;
}

function port_add()
{
	take_typed();
	find_boxes().box.focus();
}

function port_delete()
{
	const { box, list } = find_boxes(), chosen = [...list.selectedOptions];
	say_typed(box, chosen.length ? '' : 'Select entries of the list first.');
	chosen.forEach(option => option.remove());
	tell_changed(list);
}

const ip_add = port_add, ip_delete = port_delete;

addEventListener('DOMContentLoaded', () => {
	if (!page)
		return;
	const { box, end } = find_boxes();
	box.removeAttribute('maxlength');
	box.onpaste = event => {
		const text = event.clipboardData.getData('text').trim();
		if (/[\s,;]/.test(text)) {
			event.preventDefault();
			box.value += ' ' + text.replace(/\s/g, ' ');
			take_typed();
		}
	};
	// Enter saves where nothing is typed here.
	box.onkeydown = end.onkeydown = event => {
		if (event.key === 'Enter' && box.value) {
			event.preventDefault();
			event.stopPropagation();
			port_add();
		}
	};
});

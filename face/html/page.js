/* The menu of a narrow page, the search of a list, the seconds of a confirmation. */

document.documentElement.className = 'js';

onclick = ({ target }) => {
	if (target.matches('.menu'))
		target.ariaExpanded = target.parentNode.classList.toggle('open');
	if (target.matches('.back'))
		history.back();
};

onkeydown = event => {
	if (event.key === ' ' && event.target.matches('a[role=button]')) {
		event.preventDefault();
		event.target.click();
	}
};

/* Whether a text has each word that is searched for. */
const has_words = (text, words) =>
	words.toLowerCase().split(' ').every(word => text.toLowerCase().includes(word));

oninput = ({ target }) => {
	if (!target.dataset.list)
		return;
	const rows = document.querySelectorAll(`#${target.dataset.list} tbody tr`);
	let count = 0;
	for (const row of rows)
		count += !(row.hidden = !has_words(row.textContent, target.value));
	target.nextElementSibling.textContent = `${count} of ${rows.length}`;
};

/* After the last the page is read again, but where something is typed in. */
setInterval(() => {
	const left = document.querySelector('[data-left]');
	if (left && left.textContent > 0)
		left.textContent--;
	else if (left && !(history.state && history.state.typed))
		location.reload();
}, 1000);

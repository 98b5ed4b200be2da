/* A bundle is checked first; its import is held to the revision that the check saw. */
const bundle = document.getElementById('bundle');
const shown = document.getElementById('bundle_answer');

async function send(file, action)
{
	shown.hidden = false;
	try {
		const answer = await fetch('main.cgi?obj=router&type=bundle&action=' + action, {
			method: 'POST', body: file, headers: { 'Content-Type': 'application/x-qos-bundle' } });
		const page = new DOMParser().parseFromString(await answer.text(), 'text/html');
		shown.innerHTML = page.querySelector('main').innerHTML.replace(/h1>/g, 'h2>');
		return answer.headers.get('Revision');
	} catch (error) {
		shown.textContent = 'The router did not answer.';
	}
}

bundle.onchange = async () => {
	const file = bundle.files[0], revision = file && await send(file, 'check');
	if (!revision)
		return;
	shown.insertAdjacentHTML('beforeend', "<p><button class='first'>Import</button></p>");
	shown.lastChild.onclick = () => {
		bundle.value = '';
		send(file, 'import&revision=' + revision);
	};
};

/* Brings settings back from a file. The file is sent as it is, first to be checked: the router
 * answers with what it would change, and with the revision of what it was checked against. Only then
 * can it be imported, and only while nothing else has changed. */
var bundle_input = document.getElementById('bundle');
var bundle_answer = document.getElementById('bundle_answer');

/* Shows the part of an answer that is no heading or navigation. */
function show_bundle_answer(html)
{
	var page = new DOMParser().parseFromString(html, 'text/html').body, i;

	bundle_answer.textContent = '';
	for (i = 0; i < page.children.length; i++)
		if (/^(H1|UL|P)$/.test(page.children[i].tagName) &&
				page.children[i].className !== 'nav')
			bundle_answer.appendChild(document.importNode(page.children[i], true));
}

/* action "check", or "import" with the revision that the check answered with. */
function send_bundle(file, action, revision, done)
{
	var request = new XMLHttpRequest();

	request.open('POST', 'main.cgi?obj=router&type=bundle&action=' + action +
		(revision ? '&revision=' + encodeURIComponent(revision) : ''));
	request.setRequestHeader('Content-Type', 'application/x-qos-bundle');
	request.onload = function ()
	{
		show_bundle_answer(request.responseText);
		if (request.status === 200)
			done(request.getResponseHeader('Revision'));
	};
	request.onerror = function ()
	{
		bundle_answer.textContent = 'The router did not answer.';
	};
	request.send(file);
}

function offer_import(file, revision)
{
	var button = document.createElement('button');

	button.type = 'button';
	button.textContent = 'Import';
	button.onclick = function ()
	{
		button.disabled = true;
		send_bundle(file, 'import', revision, function () { bundle_input.value = ''; });
	};
	bundle_answer.appendChild(button);
}

bundle_input.onchange = function ()
{
	var file = bundle_input.files[0];

	if (file)
		send_bundle(file, 'check', '', function (revision) { offer_import(file, revision); });
};

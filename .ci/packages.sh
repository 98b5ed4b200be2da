# Sourced by demo, check and bench/run. install_packages PACKAGE ... installs what is missing of
# these Debian packages, and says so.
# shellcheck shell=sh
install_packages()
{
	missing=
	for package in "$@"; do
		status=$(dpkg-query -W -f '${Status}' "$package" 2>/dev/null) || status=
		[ "$status" = "install ok installed" ] || missing="$missing $package"
	done
	[ -n "$missing" ] || return 0
	sudo=
	[ "$(id -u)" = 0 ] || sudo=sudo
	echo "== installing:$missing"
	# shellcheck disable=SC2086
	{
		$sudo apt-get -q update &&
		$sudo env DEBIAN_FRONTEND=noninteractive \
			apt-get -q -y install --no-install-recommends $missing
	} > /dev/null || { echo "cannot install:$missing" >&2; return 1; }
}

# install_web_server installs lighttpd. Debian starts it as a server of the machine at once; here
# it only runs when it is called for, on a port of its own, so that one is stopped again.
install_web_server()
{
	[ ! -x /usr/sbin/lighttpd ] || return 0
	install_packages lighttpd
	echo "== stopping the web server that came with it"
	if [ -d /run/systemd/system ]; then
		$sudo systemctl --quiet disable --now lighttpd
	else
		$sudo service lighttpd stop > /dev/null 2>&1 || true
	fi
}

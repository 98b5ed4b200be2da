# SPDX-License-Identifier: MIT
# Sourced by demo, check and the benchmarks, which run on a fresh Debian 12: installs what is missing,
# and builds.
# shellcheck shell=sh

# install_packages PACKAGE ... installs what is missing of these Debian packages, and says so. What
# comes as a service is neither started nor switched on: the pages' web server runs when it is
# called for, on a port of its own, and the machine may have another on port 80.
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
	$sudo sh .ci/install $missing > /dev/null ||
		{ echo "cannot install:$missing" >&2; return 1; }
}

# configure_in FOLDER [CMAKE OPTION ...] makes the folder ready to build in. One that was made for
# another source tree, or for another way to build, stays as it is: it may be somebody's.
configure_in()
{
	folder=$1
	shift
	older=
	echo "== building in $folder"
	if [ -f "$folder/CMakeCache.txt" ]; then
		source=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$folder/CMakeCache.txt")
		generator=$(sed -n 's/^CMAKE_GENERATOR:INTERNAL=//p' "$folder/CMakeCache.txt")
		source=$(CDPATH='' cd -- "$source" 2> /dev/null && pwd -P) || source=elsewhere
		[ "$source $generator" = "$(pwd -P) Unix Makefiles" ] || {
			echo "$folder was made for another source tree or with another generator:" \
				"remove it, and run this again" >&2
			return 1
		}
		older="; $folder is from an earlier run: remove it if it may be out of date"
	fi
	mkdir -p "$folder"
	cmake -S . -B "$folder" -G 'Unix Makefiles' "$@" > "$folder/log" 2>&1 || say_unbuilt
}

# Of the folder that was configured last.
say_unbuilt()
{
	cat "$folder/log"
	echo "cannot build$older" >&2
	return 1
}

# build_in FOLDER [CMAKE OPTION ...] builds in the folder.
build_in()
{
	configure_in "$@" || return
	make -C "$folder" -j "$(nproc)" >> "$folder/log" 2>&1 || say_unbuilt
}

# build_beside FOLDER [CMAKE OPTION ...] begins to build in the folder, with what the others leave of
# the processors; await_build waits for its end. It ends with the script that began it.
build_beside()
{
	configure_in "$@" || return
	nice -n 19 make -C "$folder" -j "$(nproc)" >> "$folder/log" 2>&1 &
	building=$!
	trap 'kill "$building" 2> /dev/null || true' EXIT
	trap 'exit 1' HUP INT TERM
}

await_build()
{
	wait "$building" || say_unbuilt
	trap - EXIT
}

# install_modules installs the npm modules that drive browsers, as the lock file has them.
install_modules()
{
	command -v npm > /dev/null || install_packages npm
	modules=tests/browser/node_modules/.package-lock.json
	[ -e "$modules" ] && [ -z "$(find tests/browser/package-lock.json -newer "$modules")" ] &&
		return 0
	echo "== installing what drives the browsers, from npm"
	npm ci --prefix tests/browser > /dev/null
}

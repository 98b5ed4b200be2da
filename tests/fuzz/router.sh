# SPDX-License-Identifier: MIT
# Sourced by the scripts of this folder: a sample router for a fuzz target, in memory where that can
# be, for the stores are written for every input. $top and $build are set.
# shellcheck shell=sh disable=SC2154

# lay_router_out TARGET: in $root, which goes when the script ends
lay_router_out()
{
	folder=/dev/shm
	[ -w "$folder" ] || folder=${TMPDIR-/tmp}
	root=$(mktemp -d "$folder/fuzz.XXXXXX")
	trap 'rm -rf "$root"' EXIT
	trap 'exit 1' HUP INT TERM
	"$top/sample/lay-out" "$root/router" "$build"
	cp "$build/fuzz/$1" "$root/router/usr/local/target"
	mkdir "$root/router/var/own" # of the fuzzer, which the target does not look at
}

# run_target_for SECONDS [ARGUMENT ...]: cut off by then. Records are never freed by design, so leaks
# are not looked for.
run_target_for()
{
	bound=$1
	shift
	TMPDIR=/var/own ASAN_OPTIONS=detect_leaks=0 "$top/sample/enter" "$root/router" \
		/usr/bin/timeout "$bound" /usr/local/target -timeout=20 "$@"
}

# run_target [ARGUMENT ...]
run_target()
{
	run_target_for 0 "$@"
}

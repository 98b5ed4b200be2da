# SPDX-License-Identifier: MIT
# Sourced by bench/claims: what is measured, a function a source. measure_SOURCE prints a line
# "NAME<tab>VALUE" each; sizes are in bytes, times in milliseconds. It finds what was built in $build
# and a scratch folder in $work.
# shellcheck shell=sh
# shellcheck disable=SC2154 # of bench/claims

# emit NAME VALUE
emit()
{
	printf '%s\t%s\n' "$1" "$2"
}

# --- what is built ---

# tell_sizes FOLDER
tell_sizes()
{
	for program in qos_compile main.cgi qosctl qosd; do
		strip -o "$work/stripped" "$1/$program"
		emit "$program" "$(wc -c < "$work/stripped")"
	done
}

measure_size()
{
	tell_sizes "$build/bin"
	emit face "$(cat face/html/*.js face/html/*.css | wc -c)"
}

# tell_starts FOLDER [PREFIX]: how long a program takes that has nothing to do, the least of many runs
tell_starts()
{
	for program in qos_compile main.cgi qosctl; do
		emit "${2-}$program" \
			"$("$build/bin/measure_run" 201 0 "$(pwd)/$1/$program" --version)"
	done
}

measure_start()
{
	tell_starts "$build/bin"
}

# The archive for a router's image, with static programs, for this machine's own processor.
measure_image()
{
	install_packages g++ cmake make dpkg-dev > /dev/null
	install/make-image x86_64 > "$work/out"
	emit archive "$(awk 'END { print $(NF - 1) }' "$work/out")"
	tell_sizes build/cross/x86_64/build/bin
	tell_starts build/cross/x86_64/build/bin 'start '
}

# --- the benchmarks, which print tables for people ---

measure_compiler()
{
	bench/run > "$work/out"
	awk -v OFS='\t' '
	$1 ~ /^10+$/ && NF >= 6 {
		print "ms " $1, $2
		print "ratio " $1, $(NF - 1)
		print "peak " $1, $NF * 1024
	}
	/^growth from/ { gsub(",", ""); print "growth " $3 " " $5, $7 }' "$work/out"
}

measure_apply()
{
	bench/kernel 21 > "$work/out"
	awk -v OFS='\t' '
	/^from-nothing|^one-rate|^anew/ { print "ms " $1, $2; print "ratio " $1, $4 }
	/^unchanged/ { print "ms " $1, $2 }
	/^aim: preflight/ { gsub(/[()]/, ""); print "preflight", $NF }' "$work/out"
}

measure_pages()
{
	bench/pages 21 > "$work/out"
	awk -v OFS='\t' '
	/^aim: a form/ { print "form ratio", $NF }
	/^aim: the fuller pages/ { print "page ratio", $NF }
	/^aim: the overview.* ms:/ { print "overview ms", $NF }
	/^aim: the overview.* KB:/ { print "overview bytes", $NF }' "$work/out"
}

# --- the pages ---

measure_contrast()
{
	install_packages nodejs > /dev/null
	node tests/browser/contrast.mjs > "$work/out"
	awk -v OFS='\t' '{
		colour = substr($1, 3, length($1) - 3)
		sub(/^[^:]*: /, "")
		n = split($0, grounds, "; ")
		for (i = 1; i <= n; i++) {
			split(grounds[i], part, " ")
			print colour " on " part[1], part[2] " " part[3]
		}
	}' "$work/out"
}

measure_journeys()
{
	install_packages lighttpd chromium nodejs curl iproute2 > /dev/null
	install_modules > /dev/null
	tests/run/journeys "$build" > "$work/out"
	sed -n 's/^\(.*\): \([0-9]*\) presses, \([0-9]*\) pages$/\1 presses\t\2\n\1 pages\t\3/p' \
		"$work/out"
}

# What the server lets pass before it answers a wrong password.
measure_login()
{
	install_packages lighttpd curl > /dev/null
	# shellcheck disable=SC2016 # QOS_SITE is of the shell that is started
	tests/run/with-server --login "$build" sh -c 'curl -s -o /dev/null -w "%{time_total}" --digest \
		-u "admin:wrong enough" "$QOS_SITE/"' > "$work/out"
	emit "wrong password" "$(awk '{ print 1000 * $1 }' "$work/out")"
}

# More changes than are kept, and how many of them can be taken back.
measure_history()
{
	sample/lay-out "$work/router" "$build"
	# shellcheck disable=SC2016
	sample/enter "$work/router" sh -euc 'PATH=/usr/local/sbin:$PATH
		qosctl export /tmp/all
		for _ in $(seq 70); do
			sed -i "s/^RATE=11$/RATE=12/" /etc/conf/qos_config/class
			qosctl import /tmp/all > /dev/null
		done
		qosctl history --json' > "$work/out"
	emit changes "$(grep -o '"number"' "$work/out" | wc -l)"
}

# A call over a busy line, by docs/guide/measure: six figures a line, for each way lost packets and the
# delay that half of them, and 99 of 100, stayed within.
measure_line()
{
	docs/guide/measure > "$work/out"
	awk -v OFS='\t' '
	BEGIN { split("up lost,up half,up 99,down lost,down half,down 99", column, ",") }
	{ gsub(/ %/, "") }
	NF > 6 && $NF ~ /^[0-9.]+$/ && $(NF - 5) ~ /^[0-9.]+$/ {
		what = $1
		for (i = 2; i <= NF - 6; i++)
			what = what " " $i
		for (i = 1; i <= 6; i++)
			print what ": " column[i], $(NF - 6 + i)
	}' "$work/out"
}

# --- what it takes to try it: a fresh clone, on a machine that has nothing yet ---

# Prints what apt would fetch and lay on the disk of a Debian that has its base and nothing else.
tell_packages()
{
	status=$work/status
	# shellcheck disable=SC2046 # a package is a word
	apt-cache show --no-all-versions $(apt-get -s -o Dir::State::Status=/dev/null \
		--no-install-recommends install apt usr-is-merged \
		$(apt-cache dumpavail | awk -v RS= '/\nEssential: yes/ { print $2 }') |
		awk '/^Inst/ { print $2 }') | sed 's/^Package: .*/&\nStatus: install ok installed/' > "$status"
	LC_ALL=C apt-get -o Dir::State::Status="$status" -o Debug::NoLocking=1 \
		--no-install-recommends --assume-no install "$@" > "$work/apt" || true
	awk -v OFS='\t' '
	function size(value, unit)
	{
		return value * (unit == "GB" ? 1e9 : unit == "MB" ? 1e6 : unit == "kB" ? 1e3 : 1)
	}
	/newly installed/ { print "packages", $3 }
	/^Need to get/ { sub(/.*\//, ""); sub(/^Need to get /, ""); print "fetched", size($1, $2) }
	/^After this/ { print "installed", size($4, $5) }' "$work/apt"
}

# The clone installs nothing but what this machine lacks, and notes what a machine would lack that has
# nothing; the time is without that.
make_clone()
{
	clone=$work/clone
	rm -rf "$clone"
	git clone -q . "$clone"
	: > "$work/packages"
	echo 0 > "$work/installing"
	cat > "$clone/.ci/install" <<-END
		#!/bin/sh
		printf '%s\n' "\$@" >> "$work/packages"
		started=\$(date +%s%N)
		for package in "\$@"; do
			/usr/bin/dpkg-query -W -f '\${Status}' "\$package" 2> /dev/null |
				grep -q 'ok installed' || sh "$PWD/.ci/install" "\$package"
		done
		echo \$(((\$(date +%s%N) - started) / 1000000)) >> "$work/installing"
	END
	mkdir -p "$work/bin"
	# shellcheck disable=SC2016
	printf '#!/bin/sh\n[ "$3" = "\${Status}" ] || exec /usr/bin/dpkg-query "$@"\n' \
		> "$work/bin/dpkg-query"
	chmod +x "$work/bin/dpkg-query"
	PATH=$work/bin:$PATH
	unset CMAKE_CXX_COMPILER_LAUNCHER # as on a machine that has built nothing yet
	export PATH
}

# in_clone COMMAND [ARG ...]: what it takes to run that in a fresh clone. The work is what one processor
# would be busy for, and hardly depends on what else the machine does, as the time does.
in_clone()
{
	make_clone
	started=$(date +%s%N)
	(cd -- "$clone" && "$@" && times > "$work/times") > "$work/clone.log" 2>&1 ||
		{ tail -n 40 "$work/clone.log" >&2; return 1; }
	ended=$(date +%s%N)
	emit work "$(awk 'NR == 2 { split($0, part, /[ms ]+/)
		print 1000 * (60 * (part[1] + part[3]) + part[2] + part[4]) }' "$work/times")"
	emit time $(((ended - started) / 1000000 - $(awk '{ n += $1 } END { print n }' "$work/installing")))
	emit disk "$(du -s --block-size=1 "$clone" | cut -f 1)"
	# Where there is an npm, install_modules asks for none.
	[ ! -e "$clone/tests/browser/node_modules" ] || echo npm >> "$work/packages"
	# shellcheck disable=SC2046
	tell_packages $(sort -u "$work/packages")
}

# ./demo web serves until it is stopped; what it takes ends where it can be opened.
until_open()
{
	./demo web > log 2>&1 &
	server=$!
	while ! grep -q '^open http' log; do
		kill -0 "$server" 2> /dev/null || { cat log; return 1; }
		sleep 0.2
	done
	kill "$server"
	wait "$server" || true
}

measure_fresh_demo()
{
	in_clone ./demo
}

measure_fresh_web()
{
	QOS_PORT=$(shuf -i 20000-32000 -n 1)
	export QOS_PORT
	in_clone until_open
}

measure_fresh_kernel()
{
	in_clone ./demo kernel
}

measure_fresh_check()
{
	in_clone ./check
}

measure_fresh_browsers()
{
	in_clone ./check browsers
}

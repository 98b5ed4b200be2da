# SPDX-License-Identifier: MIT
# Sourced by the tests behind the web server: asking it, and looking at what it answers. The test
# has a folder $scratch for it.
# shellcheck shell=sh disable=SC2154

answer=$scratch/answer
head=$scratch/head
failures=0
checks=0

fail()
{
	failures=$((failures + 1))
	echo "FAILED: $*"
}

# check WHAT EXPECTED ACTUAL
check()
{
	checks=$((checks + 1))
	[ "$2" = "$3" ] || fail "$1: expected '$2', got '$3'"
}

# same WHAT EXPECTED-FILE ACTUAL-FILE
same()
{
	checks=$((checks + 1))
	diff -ru -x .history "$2" "$3" || fail "$1"
}

# holds TEXT: the answer does
holds()
{
	checks=$((checks + 1))
	grep -qF -- "$1" "$answer" || { fail "$what: no '$1' in"; cat "$answer"; }
}

lacks()
{
	checks=$((checks + 1))
	! grep -qF -- "$1" "$answer" || fail "$what: '$1' in the answer"
}

# The value of a header of the last answer; of one that stands twice, both.
header()
{
	sed -n "s/^$1: \(.*\)\r\$/\1/Ip" "$head"
}

# Every answer has these headers, whoever gives it; only what a page loads may be kept.
check_headers()
{
	check "$what: sniffing" nosniff "$(header X-Content-Type-Options)"
	check "$what: frames" DENY "$(header X-Frame-Options)"
	check "$what: referrer" same-origin "$(header Referrer-Policy)"
	check "$what: content" "default-src 'none'; script-src 'self' 'unsafe-inline';\
 style-src 'self' 'unsafe-inline'; img-src 'self' data:; connect-src 'self'; form-action 'self';\
 frame-ancestors 'none'; base-uri 'none'" "$(header Content-Security-Policy)"
	case $status$what in
	200*.gif | 200*.css | 200*.js) check "$what: kept" '' "$(header Cache-Control)" ;;
	*) check "$what: kept" no-store "$(header Cache-Control)" ;;
	esac
}

# ask STATUS ADDRESS [CURL OPTION ...]
ask()
{
	expected=$1
	what=$2
	shift 2
	status=$(curl -s -k --http1.1 --max-time 20 --path-as-is -o "$answer" -D "$head" \
		-w '%{http_code}' "$@" "$what") || true
	sed -i -n '/^HTTP/h; /^HTTP/!H; ${x; p}' "$head" # the last, where one led to another
	check "$what" "$expected" "$status"
	[ "$status" = 000 ] || check_headers
}

tell_result()
{
	echo "$((checks - failures)) of $checks checks passed"
	[ "$failures" = 0 ]
}

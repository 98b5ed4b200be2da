#!/bin/sh
# SPDX-License-Identifier: MIT
# NAT test for a router that has none of its own: check_nat.sh DEVICE ADDRESS
# Exit status 1 when ADDRESS, an entry of an address list, leaves DEVICE translated, else 0.
#
# It reads the snapshot of the nat table that `qosctl compile` takes, and starts no program: it runs
# for every address of every filter. What only a part of the packets meets (a protocol, a
# destination, an address of a range) counts as translated: the compiler then writes a rule for the
# firewall, which sees the address before it is translated, and is right for the others too.
#
# It is installed as @QOS_PREFIX@/sbin/qos_config/check_nat.sh, with the component "fallbacks" alone:
#     DESTDIR=image cmake --install build --component fallbacks
set -eu
snapshot=/run/qos/nat

[ $# -ge 2 ] || { echo "usage: check_nat.sh DEVICE ADDRESS" >&2; exit 2; }
set -f # words, never file names
device=$1
shift
address=
for word; do # the blanks of an entry are none of it
	address=$address$word
done

# read_number DIGITS: number, without the zeros that would make it octal
read_number()
{
	number=$1
	while :; do
		case $number in
		0?*) number=${number#0} ;;
		*) break ;;
		esac
	done
	case $number in
	'' | *[!0-9]* | ????*) return 1 ;;
	esac
	[ "$number" -le 255 ]
}

# read_octets A.B.C.D: value
read_octets()
{
	value=0
	IFS=.
	# shellcheck disable=SC2086
	set -- $1
	unset IFS
	[ $# -eq 4 ] || return 1
	for octet; do
		read_number "$octet" || return 1
		value=$((value * 256 + number))
	done
}

# read_entry ENTRY: low and high, the addresses that it covers; a last octet of 0 is any
read_entry()
{
	entry=${1%%/*}
	read_octets "${entry%%-*}" || return 1
	low=$value
	high=$value
	case $entry in
	*-*)
		read_number "${entry#*-}" || return 1
		high=$((low / 256 * 256 + number))
		;;
	esac
	[ $((low % 256)) -ne 0 ] || high=$((low + 255))
}

# read_net NET: net_low and net_high; a mask that is no length is taken for any address
read_net()
{
	net_low=0
	net_high=4294967295
	case $1 in
	*/*.*) return ;;
	*/*) length=${1#*/} ;;
	*) length=32 ;;
	esac
	read_octets "${1%%/*}" || return 0
	size=1
	while [ "$length" -lt 32 ]; do
		size=$((size * 2))
		length=$((length + 1))
	done
	net_low=$((value / size * size))
	net_high=$((net_low + size - 1))
}

# meets_device NAME NOT: whether a rule for this device, or with NOT for others, is for ours
meets_device()
{
	is_named=
	case $1 in
	*+) case $device in "${1%+}"*) is_named=yes ;; esac ;;
	*) [ "$1" != "$device" ] || is_named=yes ;;
	esac
	[ -n "$is_named" ] && [ -z "$2" ] || { [ -z "$is_named" ] && [ -n "$2" ]; }
}

# meets_net NET NOT: meets, whether the rule is for any of our addresses, and covers, for all
meets_net()
{
	read_net "$1"
	meets=
	covers=
	[ "$high" -lt "$net_low" ] || [ "$low" -gt "$net_high" ] || meets=yes
	[ "$low" -lt "$net_low" ] || [ "$high" -gt "$net_high" ] || covers=yes
	[ -n "$2" ] || return 0
	inner=$covers
	covers=yes
	[ -z "$meets" ] || covers=
	meets=yes
	[ -z "$inner" ] || meets=
}

# read_rule WORD ...: target, and whether the rule is for our device, for any of our addresses (meets)
# and for all of their packets (covers)
read_rule()
{
	target=
	meets=yes
	covers=yes
	is_other= # another condition stands in it
	is_ours=yes
	not=
	while [ $# -gt 0 ]; do
		case $1 in
		'!') not=yes; shift; continue ;;
		-o) meets_device "$2" "$not" || is_ours=; shift ;;
		-s) meets_net "$2" "$not"; shift ;;
		-j | -g) target=$2; shift ;;
		\"*) # of a comment, which may hold any words
			while :; do
				case $1 in \" | *[!\\]\") [ "$1" = \" ] || break ;; esac
				[ $# -gt 1 ] || break
				shift
			done
			;;
		--comment | comment | -m) ;;
		-*) [ -n "$target" ] || is_other=yes ;;
		esac
		not=
		[ $# -eq 0 ] || shift
	done
	[ -z "$is_other" ] || covers=
}

read_entry "$address" || exit 0
[ -r "$snapshot" ] || {
	[ ! -e /etc/autorun/nat_on ] || echo "check_nat.sh: there is no $snapshot, so $address is" \
		"taken for not translated: run qosctl compile" >&2
	exit 0
}

has_jump= # a chain of the firewall's owner may decide before what follows
while read -r line; do
	# shellcheck disable=SC2086
	set -- $line
	[ "${1-}" = -A ] && [ $# -ge 2 ] || continue
	case $2 in PREROUTING | INPUT | OUTPUT) continue ;; esac
	chain=$2
	shift 2
	read_rule "$@"
	[ -n "$is_ours" ] && [ -n "$meets" ] || continue
	case $target in
	MASQUERADE | SNAT | NETMAP) exit 1 ;;
	ACCEPT | RETURN)
		[ "$chain" = POSTROUTING ] && [ -n "$covers" ] && [ -z "$has_jump" ] && exit 0
		;;
	*) has_jump=yes ;;
	esac
done < "$snapshot"
exit 0

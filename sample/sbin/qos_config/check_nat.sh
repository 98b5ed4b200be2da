#!/bin/sh
# SPDX-License-Identifier: MIT
# Stand-in for the router's NAT test: check_nat.sh DEVICE ADDRESS. The one in install/sbin asks the
# firewall, and this router has none.
# Exit status 1 when ADDRESS leaves DEVICE translated, else 0. The table has lines "DEVICE START",
# START being what the translated addresses start with.
[ $# -ge 1 ] || { echo "usage: check_nat.sh DEVICE ADDRESS" >&2; exit 2; }
table=/etc/conf/nat_table

while read -r device start; do
	[ "$device" = "$1" ] || continue
	case $2 in "$start"*) exit 1 ;; esac
done < "$table"
exit 0

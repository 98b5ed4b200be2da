#!/bin/sh
# SPDX-License-Identifier: MIT
# NAT test of a router that translates the office's addresses, and those alone, on some devices.
set -eu
[ $# -ge 2 ] || { echo "usage: check_nat.sh DEVICE ADDRESS" >&2; exit 2; }
grep -q -x -F -e "$1" /etc/nat_devices || exit 0
case $2 in
192.168.*) exit 1 ;;
esac
exit 0

#!/bin/bash
# Every command and every option of a program's help, as it was printed, stands in its man page:
# man_page_test.sh HELP PAGE
set -u
named=$(grep -oE '^  [a-z][-a-z]* |^ +(-[?a-zA-Z], ?)?--[-a-z]+' "$1" | sed 's|^ *||; s|^-., *||; s| *$||' | sort -u)
(($(wc -l <<<"$named") > 5)) || { echo "nothing in the help"; exit 1; }
missing=$(comm -23 - <(sed 's/\\-/-/g' "$2" | grep -oE '[-a-z]+' | sort -u) <<<"$named")
[[ -z $missing ]] && exit
echo "the man page lacks:"
echo "$missing"
exit 1

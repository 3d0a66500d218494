#!/bin/bash
# A man page has every command and option of its program's help: man_page_test.sh PAGE PROGRAM
set -eu
page=$1 program=$2
help=$("$program" --help)
for command in $(grep -oE '^  [a-z][-a-z]+ ' <<<"$help"); do
  help+=$'\n'$("$program" "$command" --help)
done
for command in $("$program" qos --help 2>/dev/null | grep -oE '^  [a-z][-a-z]+ '); do
  help+=$'\n'$("$program" qos "$command" --help)
done
named=$(grep -oE '^  [a-z][-a-z]* |^ +(-[?a-zA-Z], ?)?--[-a-z]+' <<<"$help" | sed 's|^ *||; s|^-., *||; s| *$||' | sort -u)
(($(wc -l <<<"$named") > 5)) || { echo "nothing in the help"; exit 1; }
missing=$(comm -23 - <(sed 's/\\-/-/g' "$page" | grep -oE '[-a-z]+' | sort -u) <<<"$named")
[[ -z $missing ]] && exit
echo "the man page lacks:"
echo "$missing"
exit 1

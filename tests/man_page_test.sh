#!/bin/bash
# A man page has every command and option of its program's help: man_page_test.sh PAGE PROGRAM
set -eu
page=$1 program=$2
help=$("$program" --help)
commands_of() {
  "$program" "$@" --help 2>/dev/null | sed -n '/^Commands:/,/^$/s/^.\{17\}\([a-z][-a-z]*\) .*/  \1 /p'
}
commands=$(commands_of)
for command in $commands; do
  help+=$'\n'$("$program" "$command" --help | sed '/^Example:/,$d')
done
below=$(commands_of qos)
for command in $below; do
  help+=$'\n'$("$program" qos "$command" --help | sed '/^Example:/,$d')
done
help+=$'\n'$commands$'\n'$below
named=$(grep -oE '^  [a-z][-a-z]* |^ +(-[?a-zA-Z], ?)?--[-a-z]+' <<<"$help" | sed 's|^ *||; s|^-., *||; s| *$||' | sort -u)
(($(wc -l <<<"$named") > 5)) || { echo "nothing in the help"; exit 1; }
missing=$(comm -23 - <(sed 's/\\-/-/g' "$page" | grep -oE '[-a-z]+' | sort -u) <<<"$named")
[[ -z $missing ]] && exit
echo "the man page lacks:"
echo "$missing"
exit 1

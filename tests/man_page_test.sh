#!/bin/bash
# Every command and every option of a program's help stands in its man page: man_page_test.sh PROGRAM PAGE
set -u
program=$1
page=$(sed 's/\\-/-/g' "$2")
failed=0

names() { "$program" "$@" --help | grep -oE '^  [a-z][-a-z]* |^ +(-[?a-zA-Z], ?)?--[-a-z]+' | sed 's/^ *//; s/^-., *//'; }

stands() {
  grep -qE -- "(^|[^-a-z])$1([^-a-z]|$)" <<<"$page" && return
  echo "the man page lacks: $1 ($2)"
  failed=1
}

commands=$(names | grep -v '^-')
[[ $(names | wc -l) -gt 5 ]] || { echo "nothing in the help"; exit 1; }
for name in $(names); do stands "$name" "$program"; done
for command in $commands; do
  for name in $(names "$command"); do
    stands "$name" "$command"
    [[ $name == -* ]] || for option in $(names "$command" "$name"); do stands "$option" "$command $name"; done
  done
done
exit $failed

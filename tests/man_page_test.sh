#!/bin/bash
# Every command and every option of a program's help stands in its man page: man_page_test.sh PROGRAM PAGE
set -u
program=$1 page=$2

# names [COMMAND...]: what the help of the program or a command names, each with the command.
names() {
  "$program" "$@" --help | grep -oE '^  [a-z][-a-z]* |^ +(-[?a-zA-Z], ?)?--[-a-z]+' |
    sed "s|^ *||; s|^-., *||; s| *$| of ${program##*/} $*|"
}

all_names() {
  local name of
  names | while read -r name of; do
    echo "$name $of"
    [[ $name == -* ]] && continue
    names "$name" | tee >(while read -r inner of; do [[ $inner == -* ]] || names "$name" "$inner"; done)
  done
}

all=$(all_names)
(($(wc -l <<<"$all") > 5)) || { echo "nothing in the help"; exit 1; }
missing=$(awk 'NR == FNR { stands[$1]; next } !($1 in stands)' \
  <(sed 's/\\-/-/g' "$page" | grep -oE '[-a-z]+' | sort -u) - <<<"$all")
[[ -z $missing ]] && exit
echo "the man page lacks:"
echo "$missing"
exit 1

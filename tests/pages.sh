# Compares pages with the output of programs. To be sourced.
# shellcheck shell=sh

# block KIND PAGE: prints the fenced blocks of a kind.
block() { awk -v begin="\`\`\`$1" '$0 == begin { on = 1; next } /^```$/ { on = 0 } on' "$2"; }

# Replaces text that differs from run to run: times, process numbers, the order of a summary's rows, the
# source directory of a program.
normalise() {
  sed -E 's/[0-9]{4}-[0-9-]+ [0-9:.]+/TIME/; s/[0-9.]+us/US/g; s/ <[0-9]+\.[0-9]+>$/ <TIME>/
    s/(night_[a-z]+|client|mrvctl)\.[0-9]+/\1.PID/; s/ +/ /g; s#[^ ]*examples/##' |
    awk '/ US US US US / { print $1, $2, $3 | "sort"; next } { close("sort"); print }'
}

#!/bin/sh
# morvaneusd.hpp compiles without warnings; code that must not compile fails with a clear message.
# Arguments: the project's folder, a compiler with its flags.
set -eu
root=$1
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

compile() {
  "$@" -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Weffc++ -Werror "-I$root/include"
}

# expect WORDS COMPILER...: compiles standard input; the messages must have the words.
expect() {
  words=$1
  shift
  cat >"$work/snippet.cc"
  compile "$@" -fsyntax-only -include "$header" "$work/snippet.cc" \
    >"$work/messages" 2>&1 && compiles=yes || compiles=no
  case $words in
    compiles) [ "$compiles" = yes ] ;;
    one\ error:\ *) [ "$(grep -c error: "$work/messages")" = 1 ] && grep -Eq "error: .*${words#*error: }" "$work/messages" ;;
    *) [ "$compiles" = no ] && grep -Eq "$words" "$work/messages" ;;
  esac || {
    echo "expected: $words; compiles: $compiles"
    cat "$work/snippet.cc" "$work/messages"
    return 1
  }
}

# The header is compiled once; its precompiled form is next to the name that snippets include.
header=$work/morvaneusd.hpp
cp "$root/include/morvaneusd.hpp" "$header"
compile "$@" -x c++-header "$header" -o "$header.gch"

sed -n 's/^compiles *|\(.*\)/static void snippet_LINE() {\1 }/p' "$root/tests/cxx_snippets.txt" |
  awk '{ sub("LINE", NR); print } END { for (i = 1; i <= NR; ++i) calls = calls "snippet_" i "(); "
         print "void snippets(); void snippets() { " calls "}" }' | expect compiles "$@"

grep -Ev '^(#|compiles)' "$root/tests/cxx_snippets.txt" >"$work/refusals"
while IFS= read -r line; do
  words=$(printf '%s' "${line%% | *}" | sed 's/ *$//')
  echo "void snippet(); void snippet() { ${line#* | } }" | expect "$words" "$@"
done <"$work/refusals"

# Without exceptions the header omits the functions that throw.
header=$root/include/morvaneusd.hpp
expect 'requires C\+\+17' "$@" -std=c++14 </dev/null
expect compiles "$@" -fno-exceptions -fno-rtti <<'END'
void snippet(std::error_code &ec);
void snippet(std::error_code &ec) {
  const morvane::batch batch("batch", morvane::reorder::allowed, ec);
  morvane::write(morvane::at(HI_DHS_LVIF_OFFSET, 2), 1, ec);
  (void)morvane::read_block(morvane::at(HI_DHS_LVIF_OFFSET, 2), 4, ec);
}
END
expect 'no matching function|too few arguments' "$@" -fno-exceptions <<'END'
void snippet();
void snippet() { (void)morvane::read(morvane::at(HI_DHS_LVIF_OFFSET, 2)); }
END

#!/bin/sh
# The client in README.md is examples/client.c, and its C++ is part of examples/client.cc. The sessions of
# README.md and of other pages show the output of their commands. A page is one shell session; "..."
# is any number of lines.
# Arguments: the directories of the project and of the build.
set -eu
root=$1 build=$2
. "$root/tests/pages.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

block c "$root/README.md" | diff - "$root/examples/client.c"
block cpp "$root/README.md" >"$work/cpp"
sed 's/^    //' "$root/examples/client.cc" |
  awk 'NR == FNR { shown[++lines] = $0; next }
       found < lines && $0 == shown[found + 1] { print; ++found; next }
       found { exit }' "$work/cpp" - | diff "$work/cpp" -

# A project in which all is built, for scripts/run, and the client.
mkdir -p "$work/scripts" "$work/build"
cp "$root/scripts/run" "$work/scripts"
cat >"$work/scripts/setup.sh" <<END
root=$work
set_up() { :; }
build_preset() { :; }
END
ln -s "$build" "$work/build/target"
cp "$build/bin/client_c" "$work/client"
ln -s "$root/examples" "$work"

# check_page PAGE: fails unless its console blocks show the output of their commands.
check_page() {
  block console "$root/$1" >"$work/page"
  sed -n 's/^\$ //p' "$work/page" |
    awk '{ print "cat <<\\LINE\n$ " $0 "\nLINE"; print } END { print "kill $! 2>/dev/null; wait" }' >"$work/session"
  (cd "$work" && PATH=$build/bin:$PATH sh session >printed 2>&1)
  normalise <"$work/page" >"$work/shown"
  normalise <"$work/printed" | awk -v page="$1" '
    NR == FNR { shown[++lines] = $0; next }
    { printed[++last] = $0 }
    END {
      at = 1
      for (i = 1; i <= lines; ++i) {
        if (shown[i] == "...") { gap = 1; continue }
        while (gap && at < last && printed[at] != shown[i]) ++at
        if (printed[at++] != shown[i]) { print page ": not printed: " shown[i]; exit 1 }
        gap = 0
      }
      if (!gap && at <= last) { print page ": not shown: " printed[at]; exit 1 }
    }' "$work/shown" -
}

check_page README.md
check_page docs/calls.md
check_page docs/json.md

#!/bin/sh
# The front page tells the truth: its client is examples/client.c, its C++ is of examples/client.cc, and
# each of its sessions prints what it shows. Arguments: mrvctl, the project's folder.
set -eu
mrvctl=$1 root=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Durations differ from run to run.
timeless() { sed 's/ <[0-9]*\.[0-9]*>$/ <time>/'; }

# block KIND: the text of the fenced blocks of a kind.
block() { awk -v begin="\`\`\`$1" '$0 == begin { on = 1; next } /^```$/ { on = 0 } on' "$root/README.md"; }

block c | diff - "$root/examples/client.c"
block cpp >"$work/cpp"
sed 's/^    //' "$root/examples/client.cc" |
  awk 'NR == FNR { shown[++lines] = $0; next }
       found < lines && $0 == shown[found + 1] { print; ++found; next }
       found { exit }' "$work/cpp" - | diff "$work/cpp" -

cat >"$work/scripts_run" <<END
#!/bin/sh
[ \$# -eq 0 ] || exec "$mrvctl" "\$@"
echo "== examples/session.mrv"
exec "$mrvctl" -f "$root/examples/session.mrv"
END
chmod +x "$work/scripts_run"
block console | timeless >"$work/shown"
awk '/^\$ / { print; more = /<</; next } more { print; more = $0 != "END" }' "$work/shown" |
  sed 's/^\$ scripts\/run/scripts_run/' >"$work/session"
PATH=$work:$PATH sh -v "$work/session" 2>&1 | sed 's/^scripts_run/$ scripts\/run/' | timeless |
  diff "$work/shown" -

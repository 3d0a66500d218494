#!/bin/sh
# pip builds the module against an installed library, without a network: pip_test.sh SOURCE BUILD LIBDIR.
set -eu
source=$1 build=$2 libdir=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for component in library development platform; do
  cmake --install "$build" --prefix "$work/installed" --component "$component" >"$work/log"
done
cp -r "$source/python" "$work/python"  # pip builds in it
export PKG_CONFIG_PATH="$work/installed/$libdir/pkgconfig"
unset PYTHONPATH
cd "$work"
python3=/usr/bin/python3
"$python3" -m pip -q install --no-build-isolation --no-index --target packages ./python >log 2>&1 || {
  cat log
  exit 1
}
export PYTHONPATH="$work/packages"
"$python3" -c 'from morvaneusd import *; init(); HI[2].DHS_LVIF[5] = [7]; print(HI[2].DHS_LVIF[5])' >printed
[ "$(cat printed)" = "[7]" ]
printf 'def test_plugin(switch):\n    assert switch.changes() == []\n' >test_plugin.py
PATH=$build/bin:$PATH "$python3" -m pytest -q -p no:cacheprovider test_plugin.py >log || { cat log; exit 1; }

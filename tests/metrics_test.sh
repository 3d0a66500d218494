#!/bin/bash
# The metrics of mrvctl are those that docs/metrics.md lists, and what is shared relies on no others; a
# file of them is replaced whole or kept: metrics_test.sh MRVCTL ROOT
set -eu
mrvctl=$1 root=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

"$mrvctl" qos metrics nif:3 | awk '
  /^# TYPE/ { family = $3; type = $4; next }
  /^#/ || family == "" { next }
  { labels = $0; sub(/^[^{]*{/, "", labels); sub(/}.*/, "", labels); gsub(/="[^"]*"/, "", labels)
    print family, type, labels; family = "" }' >printed
# shellcheck disable=SC2016  # no expansions, but backquotes of the table
sed -n 's/^| `\(morvane_[a-z0-9_]*\)` | \([a-z]*\) |\([^|]*\)|.*/\1 \2\3/p' "$root/docs/metrics.md" |
  tr -d '`,' | while read -r name type labels; do
    port=",port_type,port"
    case $name in morvane_up | morvane_build_info) port="" ;; esac
    echo "$name $type module,asic$port${labels:+,${labels// /,}}"
  done >listed
diff listed printed

grep -ohE 'morvane_(up|build|port)[a-z0-9_]*' "$root"/share/{prometheus,grafana}/* | sort -u >used
cut -d' ' -f1 listed | grep -E '^morvane_(up|build|port)' | sort | comm -13 - used | diff /dev/null -

"$mrvctl" --calls qos metrics hif nif:3 hif:3 hif nif:3 2>&1 >all.prom | sed 's/.*port_type=//; s/, opts.*//' |
  sort -u | wc -l | grep -qx 33
[ "$(grep -c '^morvane_port_up{' all.prom)" = 33 ]

printf 'qos metrics --output m.prom\n' >good
printf 'fail EIO\nqos metrics --output m.prom\n' >bad
"$mrvctl" -f good | grep -qx 'm.prom: metrics of 40 ports'
[ "$(stat -c %a m.prom)" = "$(printf '%o' $((0666 & ~0$(umask))))" ]
echo kept >m.prom
for failing in "-f bad" "qos metrics --output /dev/null"; do
  # shellcheck disable=SC2086  # several words
  if "$mrvctl" $failing 2>/dev/null; then exit 1; fi
done
grep -qx kept m.prom
[ -c /dev/null ]
[ "$(echo m.prom*)" = m.prom ]

#!/bin/bash
# What the completion of mrvctl and morvaned offers, in bash and in zsh: completion_test.sh BIN COMPLETIONS
set -u
PATH=$1:$PATH
# shellcheck source=share/completion/morvane.bash
. "$2/morvane.bash"
failed=0

# What zsh offers for the words of a line. The functions that it has only during completion are replaced.
in_zsh() {
  zsh -f -c '
    compadd() { while [[ $1 != -a ]]; do shift; done; print -r -- $found }
    for name in _files _directories _command_names _groups; do functions[$name]="print $name"; done
    file=$1; shift; words=("$@") CURRENT=$#
    source $file' zsh "$2/_morvane" "${@:3}"
}

expect() {
  # shellcheck disable=SC2053  # a pattern
  [[ $2 == $1 ]] && return
  echo "${*:3}: offers '$2', not '$1'"
  failed=1
}

# offers EXPECTED PROGRAM WORD...: EXPECTED is a pattern for the choices after the words.
offers() {
  COMP_LINE="${*:2}"
  COMP_POINT=${#COMP_LINE}
  _morvane "$2"
  expect "$1" "${COMPREPLY[*]}" "$@"
}

offers "info regs read *switch error check *module help expect-fail shell quit" mrvctl ""
offers "reset card *" mrvctl switch ""
offers "--help --version --file *--asic" mrvctl -
offers "read" mrvctl --calls --slot 3 rea
offers "read" mrvctl expect-fail rea
offers "show clear clear-all metrics top" mrvctl help qos ""
offers "drops pause writes" mrvctl qos top --sort ""
offers "auto always" mrvctl --color=a
offers "--help --opts *" mrvctl qos show --
offers "hif: nif: cif: bif:" mrvctl qos metrics hif ""
offers "HR. HI. HF." mrvctl read h
offers "HI.3: HI.30: HI.31:" mrvctl read hi.3
offers "HI_DHS_LVIF_TCAM HI_DHS_LVIF" mrvctl write hi.2:hi_dhs_lv
offers "HF_DHS_POL" mrvctl dhs-read HF.0:HF_DHS_PO
offers "SS_CFG_CG SS_CFG_CG_WR" mrvctl calls --register SS.0:ss_cfg
offers "" mrvctl read QX.2:
offers "time,register time,result" mrvctl calls --columns time,r
offers "FAST RECORDED" mrvctl replay --speed ""
offers "" mrvctl nodrop ""
offers "ETIMEDOUT" mrvctl switch fault add etimed
offers "*ETIMEDOUT*SYSERR_KEL_ASIC_UNKNOWN *" mrvctl --calls error ""
offers "hif:" mrvctl pause on h
offers "SS HR * XL" mrvctl regs ""
offers "/etc" mrvctl record /et
offers "*basename*" mrvctl record /tmp -- basenam
offers "/etc" mrvctl record /tmp -- basename /et
offers "/etc" mrvctl dhs-write HI.2:HI_DHS_LVIF[0] --from /et
offers "--socket --state --stop-at-eof" morvaned --s
offers "/etc" morvaned --verbose --state=/et
offers "*daemon*" morvaned --group d

if command -v zsh >/dev/null; then
  expect "HI.3: HI.30: HI.31:" "$(in_zsh "$@" mrvctl read hi.3)" zsh read
  expect "off on" "$(in_zsh "$@" mrvctl pause "")" zsh pause
  expect "_files" "$(in_zsh "$@" morvaned --socket "")" zsh morvaned
else
  echo "not tested: zsh, which is not installed"
fi
exit $failed

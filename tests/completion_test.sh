#!/bin/bash
# What the completion of mrvctl offers: completion_test.sh MRVCTL COMPLETION
set -u
PATH=$(dirname -- "$1"):$PATH
# shellcheck source=tools/mrvctl/completion/mrvctl
. "$2"
failed=0

# offers EXPECTED WORD...: EXPECTED is a pattern for the choices after the words.
offers() {
  local expected=$1
  shift
  COMP_WORDS=(mrvctl) COMPREPLY=()
  local word
  for word; do  # a colon is a word to the shell
    if [[ $word == *:* ]]; then
      COMP_WORDS+=("${word%%:*}" :)
      word=${word#*:}
      [[ $word ]] || continue
    fi
    COMP_WORDS+=("$word")
  done
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  _mrvctl
  # shellcheck disable=SC2053  # a pattern
  [[ ${COMPREPLY[*]} == $expected ]] && return
  echo "mrvctl $*: offers '${COMPREPLY[*]}', not '$expected'"
  failed=1
}

offers "info regs read *switch check module expect-fail help" ""
offers "qos" help qo
offers "reset card *" switch ""
offers "dhs dhs-read dhs-write" dhs
offers "--help --version --file *--asic" -
offers "read" --calls --slot 3 rea
offers "HR. HI. HF." read h
offers "read" expect-fail rea
offers "show clear clear-all metrics top" qos ""
offers "hif: nif: cif: bif:" qos metrics hif ""
offers "drops pause writes" qos top --sort ""
offers "--help --opts *" qos show --
offers "hif: nif: cif: bif:" qos show ""
offers "HI.3: HI.30: HI.31:" read hi.3
offers "HI_DHS_LVIF_TCAM HI_DHS_LVIF" write hi.2:hi_dhs_lv
offers "SS_CFG_CG SS_CFG_CG_WR" read ss.0:ss_cfg
offers "HF_DHS_POL" dhs-read HF.0:HF_DHS_PO
offers "HI_DHS_LVIF_TCAM HI_DHS_LVIF" calls --register HI.2:hi_dhs_lv
offers "ETIMEDOUT" switch fault add etimed
offers "SYSERR_KEL_ASIC_UNKNOWN *ETIMEDOUT*" --calls error ""
offers "on off" pause ""
offers "hif:" pause on h
offers "SS HR * XL" regs ""
offers "SS. HR. * XL." dump ""
offers "" nodrop ""
offers "/etc" record /et
offers "*basename*" record /tmp -- basenam
offers "n2h h2n" traffic hif:3 --direction ""
offers "RECORDED FAST" replay --speed ""
offers "HR. HI. HF." last-write h
offers "--help --read *--scratch *--junit" check --
offers "SS. HR. *XL." check --scratch ""
offers "nif:" check --port N
offers "/etc" dhs-write HI.2:HI_DHS_LVIF[0] --from /et
offers "/etc" last-write HI.2:40 /et
exit $failed

# bash completion for mrvctl and morvaned: each program lists the words for a command line itself.
_morvane() {
  local line=${COMP_LINE:0:COMP_POINT} word
  local -a words
  read -ra words <<<"$line"
  [[ $line != *[[:blank:]] ]] || words+=("")
  word=${words[-1]}
  mapfile -t COMPREPLY < <("$1" words -- "${words[@]:1}" 2>/dev/null)
  if [[ ${COMPREPLY[0]-} == "<"* ]]; then
    local action=${COMPREPLY[0]:1:-1}
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -A "$action" -- "${word#--*=}")
    return
  fi
  [[ ${COMPREPLY[*]} != *[.:] ]] || compopt -o nospace 2>/dev/null
  # The shell replaces only what follows the last colon or equals sign.
  [[ $word != *:* || $COMP_WORDBREAKS != *:* ]] || COMPREPLY=("${COMPREPLY[@]#*:}")
  [[ $word != *=* || $COMP_WORDBREAKS != *=* ]] || COMPREPLY=("${COMPREPLY[@]#*=}")
}

complete -F _morvane mrvctl morvaned

# Completion of morvex-sandbox for bash: its options. All except --help take a value.
_morvex_sandbox() {
  local word offer previous= current=${COMP_WORDS[COMP_CWORD]}
  local offers=(--port --login --password --domain --nodes --domains --rows --lob --list --metrics --conflicts --delay
    --keep --now --help)
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    [[ $previous != --* || $previous == --help ]] && previous=$word || previous=
  done
  [[ $previous == --* ]] && return
  for offer in "${offers[@]}"; do
    [[ $offer == "$current"* && " ${COMP_WORDS[*]} " != *" $offer "* ]] && COMPREPLY+=("$offer")
  done
}

complete -F _morvex_sandbox morvex-sandbox

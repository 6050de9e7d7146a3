# Completion of morvex-tool for bash. It contacts no server, so it offers no paths, IDs or metrics. It offers no secrets.

# Sets words to the words up to the cursor, as the shell sees them; the last one is at the cursor. Readline also splits at
# colons and equals signs, and replaces only the text after the last of them; prefix is the text before.
_morvex_tool_words() {
  local line=${COMP_LINE:0:COMP_POINT} blanks breaks=${COMP_WORDBREAKS//[^:=]/} i
  for ((i = 0; i <= COMP_CWORD; ++i)); do
    blanks=${line%%[![:blank:]]*}
    line=${line#"$blanks"}
    if [[ $blanks || $i -eq 0 ]]; then
      words+=("")
    fi
    if ((i == COMP_CWORD)); then
      words[-1]+=$line
    else
      words[-1]+=${COMP_WORDS[i]}
      line=${line#"${COMP_WORDS[i]}"}
    fi
  done
  case ${words[-1]} in
    [\'\"]*) words[-1]=${words[-1]:1} ;; # readline does not split inside quotes
    *) [[ $breaks ]] && prefix=${words[-1]%"${words[-1]##*[$breaks]}"} ;;
  esac
}

# Reads the words before the current one. known lists the options in the notation of getopts.
_morvex_tool_read() {
  local word letter
  local -A partners=([m]=n [n]=m [t]=u [u]=t) # these exclude each other
  for word in "${words[@]:1:${#words[@]}-2}"; do
    letter=${word:1}
    if [[ $option ]]; then
      option=
    elif [[ $word == [-/][a-zA-Z] && $known == *$letter* ]] && ((${#operands[@]} == 0)); then
      seen+=$letter${partners[$letter]-}
      [[ $known == *$letter:* ]] && option=$letter
    elif [[ $command ]]; then
      operands+=("$word")
    else
      command=${word,,} known=${options[${word,,}]-} seen=
    fi
  done
}

# Offers values of the option.
_morvex_tool_values() {
  local letters=Nipd letter
  case $command:$option in
    :d) offers=(.) ;;
    :f) compopt -o default ;; # readline completes file names itself
    :l) offers=("${USER-}") ;;
    :p) offers=(3241) ;;
    :s)
      if declare -F _known_hosts_real >/dev/null; then
        _known_hosts_real -- "$current"
      else
        mapfile -t COMPREPLY < <(compgen -A hostname -- "$current")
      fi
      ;;
    select:[be]) printf -v offers[0] '%(%Y-%m-%d)T-T00:00:00' -1; printf -v offers[1] '%(%Y-%m-%d-T%H:%M:%S)T' -1 ;;
    select:t) offers=(%F %T %FT%T %FT%T%z %d.%m.%Y %H:%M) ;;
    list*:o) # one more letter, up to all of them
      case $command in listnodes) letters+=n ;; listchecks) letters+=nc ;; esac
      [[ $current == *[!$letters]* ]] && return
      compopt -o nospace
      for ((letter = 0; letter < ${#letters}; ++letter)); do
        [[ $current == *${letters:letter:1}* ]] || offers+=("$current${letters:letter:1}")
      done
      ;;
  esac
}

# Offers options, command words, and the names of properties that every server knows.
_morvex_tool_others() {
  local i name
  if ((${#operands[@]} == 0)); then
    for ((i = 0; i < ${#known}; ++i)); do
      [[ ${known:i:1} == : || $seen == *${known:i:1}* ]] || offers+=("-${known:i:1}")
    done
  fi
  if [[ ! $command ]]; then
    offers+=("${!options[@]}")
  elif [[ $seen == *i* ]] || ((${#operands[@]} > 0)); then
    case $command in
      listproperties)
        for name in active class id longLabel siblingName version; do
          [[ " ${operands[*]} " == *" $name "* ]] || offers+=("$name")
        done
        ;;
      update)
        offers=(active= longLabel= siblingName=)
        if [[ $current == active=* ]]; then
          offers=(active=true active=false)
        else
          compopt -o nospace
        fi
        ;;
    esac
  fi
}

_morvex_tool() {
  local words=() prefix= current command= option= seen= known=hP:S:d:f:l:p:s: operands=() offers=() offer
  local -A options=([select]=b:e:i:m:n:t:u [insert]=i: [listdomains]=i:o:r [listnodes]=i:o:r [listchecks]=i:o:r
    [listproperties]=ai:t [update]=i: [listmetrics]= [lm]= [monitormetrics]=acdis [mm]=acdis)
  _morvex_tool_words
  current=${words[-1]}
  _morvex_tool_read
  case $command in monitormetrics | mm) seen= operands=() ;; esac # options may stand anywhere and be repeated
  if [[ $option ]]; then
    _morvex_tool_values
  elif [[ $command || $seen != *h* ]]; then
    _morvex_tool_others
  fi
  for offer in "${offers[@]}"; do
    [[ $offer == "$current"* ]] && COMPREPLY+=("${offer#"$prefix"}")
  done
}

complete -F _morvex_tool morvex-tool

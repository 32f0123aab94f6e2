# Completion for localdisk-host and localdisk-check. The words come from the program's own help, so that there is
# nothing here to forget; what is neither an option nor a command is a file, or a folder where no file would do.

_localdisk() {
  local program=${COMP_WORDS[0]} word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local command='' words index
  COMPREPLY=()
  case $previous in
    --match | --offset | --length | --accessed | --modified | --default | --exclude | --filter | --seconds) return ;;
  esac

  # The first word that is no option and no option's file.
  for ((index = 1; index < COMP_CWORD; index++)); do
    case ${COMP_WORDS[index]} in
      --module) ((index++)) ;;
      -*) ;;
      *)
        command=${COMP_WORDS[index]}
        break
        ;;
    esac
  done

  if [[ $word == -* ]]; then
    words=$("$program" ${command:+"$command"} --help 2>/dev/null | grep -oE -e '(^|[ ,])--?[a-zA-Z0-9][a-z-]*')
  elif [[ $previous != --module && ${program##*/} == localdisk-host && (-z $command || $command == help) ]]; then
    words=$("$program" --help 2>/dev/null | sed -n '/^[Ss][Uu][Bb][A-Za-z]*:$/,/^[^ ]*$/s/^  \([a-z]*\) .*/\1/p')
  else
    local kind=-f
    [[ $previous != --module && $command =~ ^(demo|mkdir|mount|sync)$ || $previous =~ ^--(root|cache)$ ]] && kind=-d
    mapfile -t COMPREPLY < <(compgen $kind -- "$word")
    compopt -o filenames 2>/dev/null
    return
  fi
  mapfile -t COMPREPLY < <(compgen -W "${words//,/ }" -- "$word" | sort -u)
}

complete -F _localdisk localdisk-host localdisk-check

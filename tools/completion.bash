# bash completion of dravik-ctl, dravik-art and dravik-sim: commands and options as --help lists them, else file names.

_dravik_tool() {
  local tool=$1 word=$2 help
  if [ "$COMP_CWORD" -eq 1 ]; then
    help=$("$tool" --help 2>/dev/null | sed -n '/^Commands:$/,/^$/s/^  \([a-z]*\) .*/\1/p')
    COMPREPLY=($(compgen -W "$help --help --version" -- "$word"))
  elif [[ $word == -* ]]; then
    help=$("$tool" "${COMP_WORDS[1]}" --help 2>/dev/null | grep -o -e '--[a-z][a-z-]*' | sort -u)
    COMPREPLY=($(compgen -W "$help --help" -- "$word"))
  fi
}
complete -o default -F _dravik_tool dravik-ctl dravik-art dravik-sim

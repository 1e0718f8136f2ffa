# Completion of quarrow, quarrow-homes, quarrow-lmtpd and quarrow-webd in bash. The programs themselves say what can be typed.

_quarrow() {
  # bash cuts words at characters such as "@" and ":"; what no blank separates is one word.
  local line=${COMP_LINE:0:COMP_POINT} words=() piece i
  for ((i = 0; i <= COMP_CWORD; i++)); do
    piece=${COMP_WORDS[i]}
    if ((i == 0)) || [[ $line == [[:blank:]]* ]]; then
      words+=('')
      line=${line#"${line%%[![:blank:]]*}"}
    fi
    ((i == COMP_CWORD)) && piece=$line
    words[${#words[@]} - 1]+=$piece
    line=${line#"$piece"}
  done

  local typed=${words[${#words[@]} - 1]} paths candidate
  local in_front=$((${#typed} - ${#2})) # what readline leaves as it is
  COMPREPLY=()
  {
    read -r paths || return
    while IFS= read -r candidate; do COMPREPLY+=("${candidate:in_front}"); done
  } < <("${1/#\~\//$HOME/}" complete bash "${words[@]:1}" 2>/dev/null)
  case $paths in
    files) compopt -o default ;;
    folders) compopt -o dirnames ;;
  esac
}

complete -F _quarrow quarrow quarrow-homes quarrow-lmtpd quarrow-webd

# bash completion for kelvarune and its companions; installed under the name of each.

_kelvarune()
{
  local cur prev words cword split kind argument word
  _init_completion -s -n : || return
  {
    read -r kind argument
    while IFS=$'\t' read -r word _; do COMPREPLY+=("$word"); done
  } < <(python3 -I "${BASH_SOURCE[0]%/*}/../../kelvarune/complete.py" bash "$cword" "${words[@]}" \
    2>/dev/null)
  case $kind in
    files) _filedir $argument ;;
    directories) _filedir -d ;;
    command)
      COMP_WORDS=("${words[@]}") COMP_CWORD=$cword # in which --option=value is one word
      _command_offset "$argument"
      ;;
    *)
      [[ $kind == nospace || ${COMPREPLY-} == *= ]] && compopt -o nospace
      [[ ${COMPREPLY[*]} == *[\ \'\"\$\&\;\(\)\<\>\|\*\?\[\\\`]* ]] && compopt -o filenames # quotes
      __ltrim_colon_completions "$cur"
      ;;
  esac
} && complete -F _kelvarune "${BASH_SOURCE[0]##*/}"

# Completion of rvxcheck's command line for bash. With the bash-completion package it belongs into its folder
# completions under the name rvxcheck; without, source it in ~/.bashrc.

_rvxcheck() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
  local options="-v -q -j --ignore --card --copies --mhl --ascmhl --help --version"
  COMPREPLY=()
  case $before in
    -j | --copies | --ignore) compopt +o default ;;  # values that nobody can guess
    --card)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -d -- "$word")
      ;;
    *)
      [[ $word == -* ]] || return  # files: readline completes them itself
      mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
      ;;
  esac
}

complete -o default -F _rvxcheck rvxcheck

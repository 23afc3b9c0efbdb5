# Completion of rvxcopy's command line for bash. With the bash-completion package it belongs into its folder
# completions under the name rvxcopy; without, source it in ~/.bashrc.

# The script of completions/sequences.sh: it is installed in the folder rvxcopy beside those of the shells.
_rvxcopy_sequences=$(dirname "$(dirname "$(dirname "$(realpath "${BASH_SOURCE[0]}")")")")/rvxcopy/sequences.sh

# Splits the line in front of the cursor into words, as the shell would, and leaves the one at the cursor apart in
# typed. Readline replaces only what follows the last unquoted ":", "=" or the like, or an open quote: replaced says
# where in typed that is, and quote holds the one that is open.
_rvxcopy_split() {
  local line=${COMP_LINE:0:COMP_POINT} c i
  words=() typed= replaced=0 quote=
  for ((i = 0; i < ${#line}; ++i)); do
    c=${line:i:1}
    if [[ $quote ]]; then
      if [[ $c == "$quote" ]]; then
        quote=
      elif [[ $c$quote == '\"' && ${line:i+1:1} == [\"\\\$\`] ]]; then
        ((++i))
        typed+=${line:i:1}
      else
        typed+=$c
      fi
    elif [[ $c == [[:blank:]] ]]; then
      [[ $typed ]] && words+=("$typed")
      typed= replaced=0
    elif [[ $c == [\"\'] ]]; then
      quote=$c replaced=${#typed}
    elif [[ $c == \\ ]]; then
      ((++i))
      typed+=${line:i:1}
    else
      typed+=$c
      [[ $COMP_WORDBREAKS == *"$c"* ]] && replaced=${#typed}
    fi
  done
}

_rvxcopy_words() {
  mapfile -t COMPREPLY < <(compgen -W "$*" -- "$typed")
}

# The folders that begin with typed, with the slash that makes a destination a folder. As the source of a sequence
# they stand for what lies in them, beside the sequences.
_rvxcopy_paths() {
  local typed_folder=${typed%"${typed##*/}"} path
  local folder=$typed_folder
  [[ $folder == "~/"* ]] && folder=$HOME${folder:1}
  if [[ ! $source ]]; then
    # Readline quotes what needs it, but neither "$" nor "`" in what is no file: such names are offered behind a quote.
    mapfile -t COMPREPLY < <(sh "$_rvxcopy_sequences" "$typed" "$folder" |
      if [[ $quote ]]; then cat; else grep -v '[$`]'; fi)
  fi
  for path in "$folder${typed##*/}"*/; do
    [[ -d $path ]] && COMPREPLY+=("$typed_folder${path:${#folder}}")
  done
  compopt -o filenames
  [[ ${#COMPREPLY[@]} == 1 && $COMPREPLY == */ ]] && compopt -o nospace
  COMPREPLY=("${COMPREPLY[@]#"${typed:0:replaced}"}")
}

_rvxcopy() {
  local words typed replaced quote word option= sequence= source=
  _rvxcopy_split
  for word in "${words[@]:1}"; do
    if [[ $option ]]; then
      option=
    else
      # By their beginning, as the program takes them.
      case $word in
        -[pto]*) option=${word:1:1} ;;
        -s*) sequence=yes ;;
        -[vfn]*) ;;
        *) source=given ;;
      esac
    fi
  done

  COMPREPLY=()
  if [[ $option == p ]]; then
    _rvxcopy_words 0 1 2 3 4 5 6
  elif [[ $option == t ]]; then
    _rvxcopy_words md5 sha1
  elif [[ $option == o ]]; then
    _rvxcopy_words 0 1
  elif [[ $typed == -* ]]; then
    _rvxcopy_words -v -s -t -f -p -o -n
  elif [[ $sequence || $source ]]; then
    _rvxcopy_paths
  else
    return  # a movie: readline completes file names itself
  fi
  compopt +o default
}

complete -o default -F _rvxcopy rvxcopy

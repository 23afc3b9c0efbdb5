# Completion of rvxcopy's command line for bash. With the bash-completion package it belongs into its folder
# completions under the name rvxcopy; without, source it in ~/.bashrc.

# The identifiers that begin with a text ($1), of the sequences in a folder ($2, as find takes it).
# Only names of files and links count, and none with a line end, which no identifier could show.
_rvxcopy_sequences() {
  LC_ALL=C find "$2." -maxdepth 1 \( -type f -o -type l \) ! -name '*[[:cntrl:]]*' 2>/dev/null | LC_ALL=C awk '
# Prints the identifiers of the sequences among the files that find names. The same text stands in the completions
# of all three shells, so that each works alone; a test compares them.
BEGIN {
  FS = "/"
  typed = ARGV[1]
  ARGV[1] = ""
  folder = typed
  sub(/[^\/]*$/, "", folder)
  hidden = substr(typed, length(folder) + 1, 1) == "."
}
# The program takes a "%" for a conversion, and an argument that begins with an option for that option.
/%/ || folder ~ /%/ { next }
$NF ~ /^[.]/ && !hidden { next }
$NF ~ /^-/ && folder == "" { next }
{
  first[++names] = frames + 1
  front = ""
  rest = $NF
  extension = match(rest, /[.][A-Za-z][A-Za-z0-9]*$/) ? substr(rest, RSTART) : ""
  rest = substr(rest, 1, length(rest) - length(extension))
  while (match(rest, /[0-9]+/)) {
    front = front substr(rest, 1, RSTART - 1)
    number = substr(rest, RSTART, RLENGTH)
    rest = substr(rest, RSTART + RLENGTH)
    if (is_countable(number) && is_apart(front) && index(rest extension, "#") == 0) {
      digits[++frames] = number
      pattern[frames] = front "/" rest extension
      ++size[pattern[frames]]
    }
    front = front number
  }
}
END {
  # A name may have several numbers. The one that counts the most files is the frame number, the last one if equal.
  first[names + 1] = frames + 1
  for (n = 1; n <= names; ++n) {
    best = first[n]
    for (f = best; f < first[n + 1]; ++f) if (size[pattern[f]] >= size[pattern[best]]) best = f
    if (best < first[n + 1] && size[pattern[best]] > 1) chosen[pattern[best]]
  }
  # A leading zero tells the number of digits. Other numbers belong to the widest that they fill or outgrow.
  for (f = 1; f <= frames; ++f) if (pattern[f] in chosen) {
    width = length(digits[f])
    if (digits[f] ~ /^0/) padded[pattern[f], width]
    else if (!(pattern[f] in shortest) || width < shortest[pattern[f]]) shortest[pattern[f]] = width
  }
  for (f = 1; f <= frames; ++f) if (pattern[f] in chosen) {
    for (width = length(digits[f]); width > 0 && !((pattern[f], width) in padded); ) --width
    sequence[f] = pattern[f] SUBSEP (width > 0 ? width : shortest[pattern[f]])
    exists[sequence[f], digits[f] + 0]
  }
  # Every run of frames without a gap, from those that have none in front of them.
  for (f in sequence) if (!((sequence[f], digits[f] - 1) in exists)) {
    for (end = digits[f] + 0; (sequence[f], end + 1) in exists; ) ++end
    split(sequence[f], part, SUBSEP)
    hashes = sprintf("%" part[2] "s", "")
    gsub(/ /, "#", hashes)
    split(part[1], around, "/")
    identifier = folder around[1] (digits[f] + 0) "-" end hashes around[2]
    if (index(identifier, typed) == 1) print identifier
  }
}
# Frame numbers end at 2147483647.
function is_countable(number) {
  sub(/^0+/, "", number)
  return length(number) < 10 || length(number) == 10 && number "" <= "2147483647"
}
# A digit of another script right in front of the number would be read as a part of it. No such digits stand in
# Latin to Hebrew, in kana and CJK, and in nearly all of Hangul; whatever ends with other letters is left out.
function is_apart(front) {
  return front ~ /[\302-\330][\200-\277]$|[\343-\351\353-\355][\200-\277][\200-\277]$/ || front !~ /[\200-\377]$/
}
' "$1"
}

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
    mapfile -t COMPREPLY < <(_rvxcopy_sequences "$typed" "$folder" |
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

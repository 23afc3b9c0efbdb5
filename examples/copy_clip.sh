#!/usr/bin/env bash
# Copies one clip or sequence with rvxcopy, shows how far it is, and says at the end what the copies are worth.
#
#     copy_clip.sh [--ascmhl] [options of rvxcopy] SOURCE DESTINATION...
#
# With --ascmhl, rvxcheck then reads back all that lies in the destinations' folders, and gives each that is clean the
# next generation of its ASC MHL history.
#
# rvxcopy and rvxcheck are looked for in PATH, unless the variables RVXCOPY and RVXCHECK name them. Progress goes to standard error, everything
# that a user should read to standard output; the last line begins with "verified", "copied only" or "failed".
# The exit status is rvxcopy's or, where that is 0, rvxcheck's.
set -u
export LC_ALL=C # paths are bytes in any encoding

# What rvxcopy is asked for. An option matches by its beginning, and three of them take the next argument.
is_verified=yes is_listed=yes is_sequence='' source='' destinations=()
read_arguments() {
  while [ $# -gt 0 ]; do
    case $1 in
      -o*)
        [[ ${2:-1} =~ ^[[:space:]]*[-+]?0*[1-9] ]] || is_listed=''
        [ $# -gt 1 ] && shift
        ;;
      -p* | -t*) [ $# -gt 1 ] && shift ;;
      -n*) is_verified='' ;;
      -s*) is_sequence=yes ;;
      -v* | -f*) ;;
      *) if [ -z "$source" ]; then source=$1; else destinations+=("$1"); fi ;;
    esac
    shift
  done
}

# Calls its arguments with each file that is to be copied, and shows the first one for which they succeed. Of an
# unusual identifier it knows no files.
first_file() {
  local number name
  if [ -z "$is_sequence" ]; then
    "$@" "$source" && echo "$source"
  elif [[ $source =~ ^(.*[^0-9])?([0-9]+)-([0-9]+)(#+)([^#]*)$ ]]; then
    for ((number = 10#${BASH_REMATCH[2]}; number <= 10#${BASH_REMATCH[3]}; ++number)); do
      printf -v name '%s%0*d%s' "${BASH_REMATCH[1]}" ${#BASH_REMATCH[4]} "$number" "${BASH_REMATCH[5]}"
      if "$@" "$name"; then
        echo "$name"
        return
      fi
    done
  fi
}

folder_without_slash() {
  local path
  for path in "${destinations[@]}"; do
    if [[ $path != */ && -d $path ]]; then
      echo "$path"
      return
    fi
  done
}

show() {
  printf '%s\n' "$1"
}

# The total may be 0, and for a sequence it is an estimate that the real number may pass.
show_progress() {
  local what=$1 done=$2 total=$3 percent=100
  if ((total > 0)); then percent=$((done * 100 / total)); fi
  percent=$((percent < 0 ? 0 : percent > 100 ? 100 : percent))
  printf '\r%-70s' "$what: $percent %" >&2
}

copied='^INFO: copied (-?[0-9]+) of (-?[0-9]+) bytes$'
verified='^INFO: verified ([0-9]+) of ([0-9]+) bytes of path (.*)$'
usual='^(INFO: (copying .*\.\.\.|verifying .*)|hash (SHA1|MD5):([0-9a-f]+|\(null\))|verify of .* ok\.'
usual+='|Copy completed successfully for destination file \(.*\))$'
# The report of a signal has no line end: what follows it on its line is the next line.
signal_report='Received signal: SIG[A-Z]+(.*\[0x[0-9a-f]+\])?'

take() {
  local line=$1
  if [[ $line =~ $signal_report ]]; then
    show "${BASH_REMATCH[0]}"
    line=${line/"${BASH_REMATCH[0]}"/}
    [ -n "$line" ] || return
  fi
  if [[ $line =~ $copied ]]; then
    show_progress copying "${BASH_REMATCH[1]}" "${BASH_REMATCH[2]}"
  elif [[ $line =~ $verified ]]; then
    show_progress "verifying ${BASH_REMATCH[3]}" "${BASH_REMATCH[1]}" "${BASH_REMATCH[2]}"
  elif ! [[ $line =~ $usual ]]; then
    show "$line" # a failure, or a line that this driver does not know
  fi
}

what_to_do() {
  local path=''
  case $1 in
    107) path=$(folder_without_slash) ;;
    200) path=$(first_file test ! -r) ;;
  esac
  case $1 in
    100 | 102 | 103 | 104 | 106 | 108 | 113) echo "correct the command" ;;
    101) echo "make the named folder possible" ;;
    107)
      if [ -n "$path" ]; then
        echo "did you mean $path/? Without the slash it names the copy itself"
      else
        echo "choose another folder, or overwrite with -f"
      fi
      ;;
    109) echo "see above: don't trust the disk or the card of the named file, and copy again with -f" ;;
    114 | 115) echo "the copies are good, but a hash list is missing: make room and rights, run again with -f" ;;
    116) echo "a copy is missing: copy again" ;;
    117) echo "this machine refuses what the run needs: use another one" ;;
    200) echo "${path:-the source or a frame} is missing or can't be read; when it is there, run again with -f" ;;
    201) echo "check the destination's rights and path" ;;
    211) echo "don't trust that disk: copy to another one" ;;
    212) echo "make room, then run again with -f" ;;
    220) echo "try another card reader, then run again with -f" ;;
    127) echo "rvxcopy can't be started" ;;
    *) echo "the run did not come to its end; run again with -f" ;;
  esac
}

# The status alone decides: a name may hold a line end, and then reads like any line.
verdict() {
  local link later=" rvxcheck tells any day whether it still is, and whether the card may be formatted."
  if [ "$status" -ne 0 ]; then
    echo "failed (status $status): $(what_to_do "$status"). Don't format the card."
    return
  elif [ -z "$is_verified" ]; then
    echo "copied only: nobody has compared the copies. Don't format the card; run again without -n."
    return
  fi
  link=$(first_file test -L)
  if [ -n "$link" ]; then
    echo "verified as a link: $link is one, and nothing of what it leads to was copied."
  else
    [ -n "$is_listed" ] || later=" No hash list was written (-o 0)."
    echo "verified: this clip is complete and durable at every destination that was named.$later"
  fi
}

add_to_histories() {
  local path folders=()
  for path in "${destinations[@]}"; do
    [[ $path == */* ]] || path=./$path
    folders+=("${path%/*}/")
  done
  "${RVXCHECK:-rvxcheck}" --ascmhl -- "${folders[@]}" </dev/null
}

wants_histories=''
if [ "${1-}" = --ascmhl ]; then
  wants_histories=yes
  shift
fi
trap : INT # Ctrl-C ends rvxcopy; the verdict is still to be told
"${RVXCOPY:-rvxcopy}" -v "$@" </dev/null | while IFS= read -r line || [ -n "$line" ]; do take "$line"; done
status=${PIPESTATUS[0]}

echo >&2
read_arguments "$@"
if [ -n "$wants_histories" ] && [ "$status" -eq 0 ] && [ -n "$is_verified" ]; then
  add_to_histories
  status=$?
  histories=" The media hash lists are written."
  [ "$status" -eq 0 ] || histories=" The media hash lists are NOT all written, see above."
  list_status=$status status=0
fi
echo "$(verdict)${histories-}"
exit "${list_status:-$status}"

#!/usr/bin/env bash
# Copies with rvxcopy, shows how far it is, and says at the end what the copies are worth.
#
#     copy_clip.sh [options of rvxcopy] SOURCE DESTINATION...
#
# rvxcopy is looked for in PATH, unless the variable RVXCOPY names it. Progress goes to standard error, everything
# that a user should read to standard output; the last line begins with "verified", "copied only" or "failed".
# The exit status is rvxcopy's.
set -u
export LC_ALL=C # paths are bytes in any encoding

# As rvxcopy reads them: an option matches by its beginning, and three of them take the next argument.
skips_verification() {
  while [ $# -gt 0 ]; do
    case $1 in
      -p* | -t* | -o*) [ $# -gt 1 ] && shift ;;
      -n*) return 0 ;;
    esac
    shift
  done
  return 1
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
  case $1 in
    100 | 102 | 103 | 104 | 106 | 108 | 113) echo "correct the command" ;;
    101) echo "make the named folder possible" ;;
    107) echo "choose another folder, or overwrite with -f" ;;
    109) echo "see above: don't trust the disk or the card of the named file, and copy again with -f" ;;
    114 | 115) echo "the copies are good, but a hash list is missing: make room and rights, run again with -f" ;;
    116) echo "a copy is missing: copy again" ;;
    117) echo "this machine refuses what the run needs: use another one" ;;
    200) echo "check rights, and that every frame exists" ;;
    201) echo "check the destination's rights and path" ;;
    211) echo "don't trust that disk: copy to another one" ;;
    212) echo "make room, then run again with -f" ;;
    220) echo "try another card reader, then run again with -f" ;;
    127) echo "rvxcopy can't be started" ;;
    *) echo "the run did not come to its end; run again with -f" ;;
  esac
}

trap : INT # Ctrl-C ends rvxcopy; the verdict is still to be told
"${RVXCOPY:-rvxcopy}" -v "$@" </dev/null | while IFS= read -r line || [ -n "$line" ]; do take "$line"; done
status=${PIPESTATUS[0]}

# The status alone decides: a name may hold a line end, and then reads like any line.
echo >&2
if [ "$status" -ne 0 ]; then
  echo "failed (status $status): $(what_to_do "$status"). Don't format the card."
elif skips_verification "$@"; then
  echo "copied only: nobody has compared the copies. Don't format the card; run again without -n."
else
  echo "verified: the card may be formatted."
fi
exit "$status"

# Completion of rvxcopy's command line for fish. It belongs into ~/.config/fish/completions.

# The identifiers that begin with a text ($argv[1]), of the sequences in a folder ($argv[2], as find takes it).
# Only names of files and links count, and none with a line end, which no identifier could show.
function __rvxcopy_sequences
    LC_ALL=C find "$argv[2]." -maxdepth 1 \( -type f -o -type l \) ! -name '*[[:cntrl:]]*' 2>/dev/null | LC_ALL=C awk '
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
' $argv[1]
end

# The word at the cursor without its quotes.
function __rvxcopy_typed
    set -l raw (commandline --current-token --cut-at-cursor)
    string unescape -- $raw; or string unescape -- "$raw'"; or string unescape -- $raw\"
end

function __rvxcopy_identifiers
    set -l typed (__rvxcopy_typed)
    __rvxcopy_sequences $typed (string replace --regex '^~(?=/)' -- $HOME (string match --regex '^(?:.*/)?' -- $typed))
end

# What stands in front of the cursor asks for: options, source, sequence, destination, or p, t or o for
# the value of that option.
function __rvxcopy_wants
    set -l wanted source
    set -l option
    for word in (commandline --tokenize --cut-at-cursor --current-process)[2..]
        if set -q option[1]
            set -e option
            continue
        end
        # By their beginning, as the program takes them.
        switch $word
            case '-p*' '-t*' '-o*'
                set option (string sub --start 2 --length 1 -- $word)
            case '-s*'
                test $wanted = source; and set wanted sequence
            case '-v*' '-f*' '-n*'
            case '*'
                set wanted destination
        end
    end
    if set -q option[1]
        set wanted $option
    else if string match --quiet -- '-*' (commandline --current-token)
        set wanted options
    end
    test $wanted = $argv[1]
end

complete -c rvxcopy --no-files
complete -c rvxcopy -o v -d 'verbose, prints progress during copy and verify'
complete -c rvxcopy -o s -d 'marks a sequence (including #### etc.)'
complete -c rvxcopy -o t -d 'hash type, md5 or sha1 (default: sha1)'
complete -c rvxcopy -o f -d "force overwrite mode (if file exists, don't error but overwrite it)"
complete -c rvxcopy -o p -d 'preserve the source folder structure to a depth of n. n can be between 0 and 6 (default is 0)'
complete -c rvxcopy -o o -d 'write output hash file (default: 1)'
complete -c rvxcopy -o n -d 'skip file verification after copy'
complete -c rvxcopy -n '__rvxcopy_wants t' -a 'md5 sha1'
complete -c rvxcopy -n '__rvxcopy_wants p' -a '0 1 2 3 4 5 6'
complete -c rvxcopy -n '__rvxcopy_wants o' -a '0 1'
complete -c rvxcopy -n '__rvxcopy_wants source' --force-files
complete -c rvxcopy -n '__rvxcopy_wants sequence' -a '(__rvxcopy_identifiers)' -d sequence
# The slash at the end is what makes a destination a folder.
complete -c rvxcopy -n '__rvxcopy_wants sequence; or __rvxcopy_wants destination' -a '(__fish_complete_directories)'

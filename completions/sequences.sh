# Prints the identifiers that begin with a text ($1), of the sequences in a folder ($2, as find takes it). The
# completions of all shells run it with sh.
# Only names of files and links count, and none with a line end, which no identifier could show.
export LC_ALL=C
find "$2." -maxdepth 1 \( -type f -o -type l \) ! -name '*[[:cntrl:]]*' 2>/dev/null | awk '
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

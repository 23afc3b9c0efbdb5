"""What the program prints: every text, and with which of them a run ends. All tests have the texts from here; the
stored runs show each of them, and the grammar in rvxcopy-output(7) is checked against both."""

import re

USAGE = b"""Usage:
  rvxcopy [-s] /source/file.mov /path/dest1/ [/path/dest2/[filname.mov] /path/dest3/[filname.mov] ..]

  Options: -v             : verbose, prints progress during copy and verify
           -s             : marks a sequence (including #### etc.)
           -t (md5|sha1)  : hash type, md5 or sha1 (default: sha1)
           -f             : force overwrite mode (if file exists, don't error but overwrite it)
           -p n           : preserve the source folder structure to a depth of n. n can be between 0 and 6 (default is 0)
           -o (0|1)       : write output hash file (default: 1)
           -n             : skip file verification after copy
"""

# What stands in the places of a text.
PLACES = {
    "s": rb"[^\n]*",  # a path
    "u": rb"\d+",
    "b": rb"[01]",
    "1": rb"(?:[0-9a-f]{40}|\(null\))",  # a digest: SHA-1, MD5, and either
    "5": rb"(?:[0-9a-f]{32}|\(null\))",
    "h": rb"(?:[0-9a-f]{40}|[0-9a-f]{32}|\(null\))",
    "e": rb"E[A-Z0-9]+",
    "r": rb"[ -~]+",  # a reason
    "n": rb"[ -~]*No space left[ -~]*",
    "w": rb"(?:(?!No space left)[ -~])+",
    "v": rb"\([^\n]*\)",
    "l": rb"(?:source|destination)",
    "d": rb"(?:MD5 digest|SHA-1 digest|thread|memory)",
    "U": re.escape(USAGE),
}

# Printed with -v only. The two digests are one piece: no other line comes between them.
VERBOSE_TEXTS = (
    "INFO: copying %s...\n",
    "INFO: copied %u of %u bytes\n",
    "hash SHA1:%1\nhash MD5:%5\n",
    "INFO: verifying %s\n",
    "INFO: verified %u of %u bytes of path %s\n",
    "verify of %l file #%u (%s) ok.\n",
    "verify of %l file %u of %u of sequence #%u (%s) ok.\n",
)

# Printed by a run that goes on.
PASSING_TEXTS = (
    "ERROR: unexpected %e during read: %r of file: %s at position:%u\n",
    "INFO: file exists:%b volumes: %v\n",
    "ERROR: unexpected %e during read: %r at position:%u\n",
    "ERROR: failed reading from %s\n",
    "INFO: expected hash: %h but got hash: %h.\n",
    "Copy completed successfully for destination file (%s)\n",
)

# For each status, with what such a run ends: one of the rows, whole and in this order, and no text of other rows. What
# other threads print may stand between them and after them.
REPORTS = {
    0: [()],
    101: [("ERROR: Can't create destination folder #%u (%s).\n",)],
    104: [("ERROR: Source path %s does not exist.\n", "\n%U"), ("ERROR: Source path %s is not a file.\n", "\n%U"),
          ("ERROR: framenumber not in range of sequence.\n", "ERROR: Source path %s does not exist.\n", "\n%U")],
    107: [("ERROR: File destination #%u (%s) already exists.\n",)],
    109: [("ERROR: verify of %l file #%u (%s) failed, wrong hash.\n",),
          ("ERROR: again unexpected %e during read: %r\n", "ERROR: again failed reading from %s\n")],
    114: [("ERROR: Can't create folder for hashes (%s).\n",)],
    115: [("ERROR: couldn't write hash file to %s\n", "ERROR: Can't write hash file (%s).\n"),
          ("ERROR: Can't write hash file (%s).\n",)],
    116: [("Copy failed for destination file (%s)\n",)],
    117: [("ERROR: No %d available: %r\n",)],
    200: [("ERROR: can't open source file (200i)",)],
    201: [("ERROR: can't open destination file (#%u) (201i)",), ("ERROR: can't open destination file (%s) (201i)",)],
    211: [("ERROR: unexpected %e during write: %w\n", "ERROR: failed writing to %s\n")],
    212: [("ERROR: unexpected %e during write: %n\n", "ERROR: failed writing to %s\n")],
    220: [("ERROR: could not reopen file handle for path: %s\n",),
          ("ERROR: again unexpected %e during read: %r userInfo: {errno = %u}\n",)],
}

# The same of runs with wrong arguments.
ARGUMENT_REPORTS = {
    100: [("rvxcopy\nSecure Copy and Verify of movies and image sequences (comes without any warranty)\n", "\n%U")],
    102: [("ERROR: Wrong arguments - missing source movie or sequence.\n", "\n%U")],
    103: [("ERROR: Wrong arguments - missing destination path.\n", "\n%U")],
    106: [("ERROR: Wrong arguments - -p must be followed by a number between 0 and 6.\n", "\n%U")],
    108: [("ERROR: Wrong arguments - -t must be followed by md5 or sha1.\n", "\n%U")],
    109: [("ERROR: Wrong arguments - -o needs to be followed by 0 (false) or 1 (true)\n", "\n%U")],
    113: [(reason, "ERROR: Can't parse sequence identifier.\n", "\n%U")
          for reason in ("ERROR: Wrong arguments - missing hashes in identifier.\n",
                         "ERROR: framenumber not in range of sequence.\n")],
}

# In the program, but printed by no run.
RESERVED_TEXTS = {
    "INFO: forced exit of %t\n",
    "ERROR: couldn't read hash file %s.\n",
    "ERROR: couldn't parse hash file in line #%u: %s\n",
    "ERROR: can't write hashfile to empty path",
}

FATAL_TEXTS = {text for reports in (REPORTS, ARGUMENT_REPORTS) for rows in reports.values()
               for row in rows for text in row}
TEXTS = {*VERBOSE_TEXTS, *PASSING_TEXTS, *FATAL_TEXTS}


def _pattern(text):
    return b"".join(PLACES[piece[1]] if piece[0] == "%" else re.escape(piece.encode())
                    for piece in re.findall("%.|[^%]+", text))


# A reason takes anything: of two texts that fit, the longer one, which says more itself, is meant.
_IN_ORDER = sorted(TEXTS, key=len, reverse=True)
_ANY_TEXT = re.compile(b"|".join(b"(%b)" % _pattern(text) for text in _IN_ORDER))


def texts_in(output):
    """The texts that an output consists of, in order, and what stands after the last one that is known."""
    texts = []
    position = 0
    while found := _ANY_TEXT.match(output, position):
        texts.append(_IN_ORDER[found.lastindex - 1])
        position = found.end()
    return texts, output[position:]


def fatal_texts(texts):
    return tuple(text for text in texts if text in FATAL_TEXTS)

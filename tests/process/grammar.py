"""What standard output may hold, as regular expressions over bytes, and what a run with each status reports."""

import re

from support import USAGE

_TEXT = rb"[^\n]*"  # a path, or a reason
_NUMBER = rb"\d+"
_ERROR_NAME = rb"E[A-Z0-9]+"
_DIGEST = rb"(?:[0-9a-f]{40}|[0-9a-f]{32}|\(null\))"

# Printed with -v only. The two digests are one piece: no other line comes between them.
_VERBOSE_PIECES = {
    "copying": rb"INFO: copying %(text)b\.\.\.\n",
    "copied": rb"INFO: copied %(number)b of %(number)b bytes\n",
    "digests": rb"hash SHA1:(?:[0-9a-f]{40}|\(null\))\nhash MD5:(?:[0-9a-f]{32}|\(null\))\n",
    "verifying": rb"INFO: verifying %(text)b\n",
    "verified": rb"INFO: verified %(number)b of %(number)b bytes of path %(text)b\n",
    "verify_ok": rb"verify of (?:source|destination) file #%(number)b \(%(text)b\) ok\.\n",
    "frame_verify_ok": rb"verify of (?:source|destination) file %(number)b of %(number)b of sequence #%(number)b"
                       rb" \(%(text)b\) ok\.\n",
}

# Printed by a run that goes on.
_PASSING_PIECES = {
    "copy_read_failed": rb"ERROR: unexpected %(error)b during read: %(text)b of file: %(text)b"
                        rb" at position:%(number)b\n",
    "volumes": rb"INFO: file exists:[01] volumes: \(%(text)b\)\n",
    "verify_read_failed": rb"ERROR: unexpected %(error)b during read: %(text)b at position:%(number)b\n",
    "failed_reading": rb"ERROR: failed reading from %(text)b\n",
    "digest_differs": rb"INFO: expected hash: %(digest)b but got hash: %(digest)b\.\n",
    "copy_completed": rb"Copy completed successfully for destination file \(%(text)b\)\n",
}

# Printed by a run that ends with them.
_FATAL_PIECES = {
    "folder_not_created": rb"ERROR: Can't create destination folder #%(number)b \(%(text)b\)\.\n",
    "source_missing": rb"ERROR: Source path %(text)b does not exist\.\n\n%(usage)b",
    "source_is_folder": rb"ERROR: Source path %(text)b is not a file\.\n\n%(usage)b",
    "destination_exists": rb"ERROR: File destination #%(number)b \(%(text)b\) already exists\.\n",
    "wrong_hash": rb"ERROR: verify of (?:source|destination) file #%(number)b \(%(text)b\) failed, wrong hash\.\n",
    "verify_read_failed_again": rb"ERROR: again unexpected %(error)b during read: (?:(?! userInfo: )[^\n])*\n",
    "again_failed_reading": rb"ERROR: again failed reading from %(text)b\n",
    "hash_folder_not_created": rb"ERROR: Can't create folder for hashes \(%(text)b\)\.\n",
    "list_not_written": rb"ERROR: couldn't write hash file to %(text)b\n",
    "hash_file_not_written": rb"ERROR: Can't write hash file \(%(text)b\)\.\n",
    "copy_missing": rb"Copy failed for destination file \(%(text)b\)\n",
    "machine_refused": rb"ERROR: No [^\n]+ available: %(text)b\n",
    # These two have no line end.
    "source_not_opened": rb"ERROR: can't open source file \(200i\)",
    "destination_not_opened": rb"ERROR: can't open destination file \(%(text)b\) \(201i\)",
    "no_space_left": rb"ERROR: unexpected %(error)b during write: [^\n]*No space left%(text)b\n",
    "write_failed": rb"ERROR: unexpected %(error)b during write: (?:(?!No space left)[^\n])*\n",
    "failed_writing": rb"ERROR: failed writing to %(text)b\n",
    "not_reopened": rb"ERROR: could not reopen file handle for path: %(text)b\n",
    "copy_read_failed_again": rb"ERROR: again unexpected %(error)b during read: %(text)b userInfo: %(text)b\n",
}

# For each status that a run with right arguments may end with, the fatal pieces that tell why. Other threads may
# still print pieces of the other kinds between them and behind them.
_REPORTS = {
    0: [()],
    101: [("folder_not_created",)],
    104: [("source_missing",), ("source_is_folder",)],
    107: [("destination_exists",)],
    109: [("wrong_hash",), ("verify_read_failed_again", "again_failed_reading")],
    114: [("hash_folder_not_created",)],
    115: [("list_not_written", "hash_file_not_written"), ("hash_file_not_written",)],
    116: [("copy_missing",)],
    117: [("machine_refused",)],
    200: [("source_not_opened",)],
    201: [("destination_not_opened",)],
    211: [("write_failed", "failed_writing")],
    212: [("no_space_left", "failed_writing")],
    220: [("not_reopened",), ("copy_read_failed_again",)],
}

_WITHOUT_LINE_END = ("source_not_opened", "destination_not_opened")


def _any_of(*groups):
    values = {b"text": _TEXT, b"number": _NUMBER, b"error": _ERROR_NAME, b"digest": _DIGEST, b"usage": re.escape(USAGE)}
    return re.compile(b"|".join(b"(?P<%b>%b)" % (name.encode(), pattern % values)
                                for group in groups for name, pattern in group.items()))


_QUIET_PIECE = _any_of(_FATAL_PIECES, _PASSING_PIECES)
_PIECE = _any_of(_FATAL_PIECES, _PASSING_PIECES, _VERBOSE_PIECES)


def output_problems(output, status, verbose):
    """What is wrong with the output of a run that ended with the status, one text for each."""
    if status not in _REPORTS:
        return ["status %d is not documented for right arguments" % status]
    piece = _PIECE if verbose else _QUIET_PIECE
    names = []
    position = 0
    while position < len(output):
        found = piece.match(output, position)
        if not found:
            return ["standard output holds %r" % output[position:position + 200]]
        names.append(found.lastgroup)
        position = found.end()
    fatal = tuple(name for name in names if name in _FATAL_PIECES)
    problems = []
    if fatal not in _REPORTS[status]:
        problems.append("status %d is reported with %s" % (status, list(fatal)))
    if any(name in _WITHOUT_LINE_END for name in names[:-1]):
        problems.append("something is printed behind a line without an end")
    return problems

"""The runs of the corpus: their set-up, and by hand what they print, end with and leave behind."""

import os

from corpus import COPIED_ONLY, FAILED, FOLDER, GONE, VERIFIED, Case, Link, Part
from corpus import CALL_STACK, LIBRARY_REASON, VOLUMES, hash_list, md5, sha1
from support import USAGE

MOVIE = b"".join(b"%d\n" % number for number in range(1, 1001))  # seq 1000
assert len(MOVIE) == 3893
LONG_MOVIE = b"0123456789abcdef" * (11 * 2**17)  # 11 blocks of 2 MiB: the reader can't get to its end on its own
assert len(LONG_MOVIE) == 23068672
DAMAGED = b"damaged\n"
ONE_CARD = {"card/clip.mov": MOVIE}
STACK = CALL_STACK.decode()
LISTED_VOLUMES = VOLUMES.decode()


def frame(number):
    return b"%04d\n" % number * 100  # 500 bytes


def frames(*numbers):
    return {"card/f_%02d.dpx" % number: frame(number) for number in numbers}


def copies(folder, *numbers):
    return {"%s/f_%02d.dpx" % (folder, number): frame(number) for number in numbers}


def digests(data):
    return "hash SHA1:%s\nhash MD5:%s\n" % (sha1(data), md5(data))


def usage_after(error):
    return error + "\n" + USAGE.decode()


def movie_list(label="SHA1", original="card/clip.mov"):
    return hash_list(label, original, **{"clip.mov": MOVIE})


def frame_list(label, original, *numbers):
    return hash_list(label, original, **{"f_%02d.dpx" % number: frame(number) for number in numbers})


def movie_left(folder, name="clip.mov"):
    return {folder + "/" + name: MOVIE, "%s/sha1/%s.sha1" % (folder, name): movie_list()}


def wait_for(*lines):
    """Shell commands that wait until the program has printed these texts; not for ever, where it never does."""
    return "".join("for attempt in $(seq 3000); do grep -aqF '%s' ../output && break; sleep 0.02; done\n" % line
                   for line in lines)


def wrong_hash(data, got):
    return "INFO: expected hash: %s but got hash: %s.\n" % (sha1(data), got)


HEADER = ("rvxcopy\nSecure Copy and Verify of movies and image sequences (comes without any warranty)\n\n" +
          USAGE.decode())

WRONG_COMMAND_LINES = [
    Case("usage-no-argument", "Called without arguments: what the program is, and how it is used.", [],
         before={}, output=HEADER, status=100, verdict=FAILED),
    Case("usage-one-argument", "One argument is too few.", ["card/clip.mov"],
         before=ONE_CARD, output=HEADER, status=100, verdict=FAILED),
    Case("source-argument-missing", "Only options.", ["-v", "-s"], before=ONE_CARD, status=102, verdict=FAILED,
         output=usage_after("ERROR: Wrong arguments - missing source movie or sequence.\n")),
    Case("destination-argument-missing", "A source and no destination.", ["-v", "card/clip.mov"], before=ONE_CARD,
         status=103, verdict=FAILED, output=usage_after("ERROR: Wrong arguments - missing destination path.\n")),
    Case("destination-taken-for-an-option", "A destination whose name begins with an option is that option.",
         ["card/clip.mov", "-video/"], before=ONE_CARD, status=103, verdict=FAILED,
         output=usage_after("ERROR: Wrong arguments - missing destination path.\n")),
    Case("source-missing", "The source does not exist.", ["card/none.mov", "raid/"], before=ONE_CARD,
         status=104, verdict=FAILED, output=usage_after("ERROR: Source path card/none.mov does not exist.\n")),
    Case("source-is-a-folder", "The source is a folder.", ["card", "raid/"], before=ONE_CARD,
         status=104, verdict=FAILED, output=usage_after("ERROR: Source path card is not a file.\n")),
    Case("first-frame-missing", "Of a sequence the first frame is named.", ["-s", "card/f_7-9##.dpx", "raid/"],
         before=frames(8, 9), status=104, verdict=FAILED,
         output=usage_after("ERROR: Source path card/f_07.dpx does not exist.\n")),
    Case("sequence-backwards", "A sequence whose first frame comes after its last has no first file: (null).",
         ["-s", "card/f_3-1##.dpx", "raid/"], before=frames(1, 2, 3), status=104, verdict=FAILED,
         output=usage_after("ERROR: framenumber not in range of sequence.\n"
                            "ERROR: Source path (null) does not exist.\n")),
    Case("depth-wrong", "A depth beyond 6.", ["-p", "7", "card/clip.mov", "raid/"], before=ONE_CARD,
         status=106, verdict=FAILED,
         output=usage_after("ERROR: Wrong arguments - -p must be followed by a number between 0 and 6.\n")),
    Case("depth-missing", "A depth that is not given.", ["card/clip.mov", "raid/", "-p"], before=ONE_CARD,
         status=106, verdict=FAILED,
         output=usage_after("ERROR: Wrong arguments - -p must be followed by a number between 0 and 6.\n")),
    Case("hash-type-wrong", "An unknown hash type; upper case is not known.", ["-t", "SHA1", "card/clip.mov", "raid/"],
         before=ONE_CARD, status=108, verdict=FAILED,
         output=usage_after("ERROR: Wrong arguments - -t must be followed by md5 or sha1.\n")),
    Case("hash-list-value-missing", "-o without its value: 109, as a wrong hash has.", ["card/clip.mov", "raid/", "-o"],
         before=ONE_CARD, status=109, verdict=FAILED,
         output=usage_after("ERROR: Wrong arguments - -o needs to be followed by 0 (false) or 1 (true)\n")),
    Case("identifier-wrong", "A sequence identifier without #.", ["-s", "card/clip.mov", "raid/"],
         before=ONE_CARD, status=113, verdict=FAILED,
         output=usage_after("ERROR: Wrong arguments - missing hashes in identifier.\n"
                            "ERROR: Can't parse sequence identifier.\n")),
]

MOVIES = [
    Case("movie", "A movie to one destination. Without -v nothing is printed.", ["card/clip.mov", "raid/"],
         before=ONE_CARD, verdict=VERIFIED, left=movie_left("raid")),
    Case("movie-verbose", "A movie to one destination, with everything that -v prints.",
         ["-v", "card/clip.mov", "raid/"], before=ONE_CARD, verdict=VERIFIED, left=movie_left("raid"),
         output="INFO: copying card...\n"
                "INFO: copied 0 of 3893 bytes\n" + digests(MOVIE) +
                "INFO: verifying raid/\n"
                "INFO: verifying card\n"
                "INFO: verified 3893 of 3893 bytes of path raid\n"
                "INFO: verified 3893 of 3893 bytes of path card\n"
                "verify of destination file #1 (raid/clip.mov) ok.\n"
                "verify of source file #2 (card/clip.mov) ok.\n"),
    Case("movie-two-destinations-md5",
         "Two destinations, one of which gives the copy another name. The source has the number after theirs.",
         ["-v", "-t", "md5", "card/clip.mov", "raid/", "shuttle/take.mov"], before=ONE_CARD, verdict=VERIFIED,
         left={"raid/clip.mov": MOVIE, "raid/md5/clip.mov.md5": movie_list("MD5"),
               "shuttle/take.mov": MOVIE, "shuttle/md5/take.mov.md5": movie_list("MD5")},
         output="INFO: copying card...\n"
                "INFO: copied 0 of 3893 bytes\n" + digests(MOVIE) +
                "INFO: verifying raid/\n"
                "INFO: verifying shuttle\n"
                "INFO: verifying card\n"
                "INFO: verified 3893 of 3893 bytes of path raid\n"
                "INFO: verified 3893 of 3893 bytes of path shuttle\n"
                "INFO: verified 3893 of 3893 bytes of path card\n"
                "verify of destination file #1 (raid/clip.mov) ok.\n"
                "verify of destination file #2 (shuttle/take.mov) ok.\n"
                "verify of source file #3 (card/clip.mov) ok.\n"),
    Case("movie-progress",
         "Progress of a copy and of a verification that take long. The source's last read is held until the line is "
         "printed, and the verification's first read takes longer than the time between two lines.",
         ["-v", "-o", "0", "card/long.mov", "raid/"], before={"card/long.mov": LONG_MOVIE[:4194309]},
         verdict=VERIFIED, left={"raid/long.mov": LONG_MOVIE[:4194309]},
         faults=["read card/long.mov 3 1 run=../hold", "read raid/long.mov 1 1 run=../pause"],
         scripts={"hold": wait_for("INFO: copied 4194304 of"),
                  "pause": wait_for("bytes of path card") + "sleep 0.7\n"},
         output="INFO: copying card...\n"
                "INFO: copied 0 of 4194309 bytes\n"
                "INFO: copied 4194304 of 4194309 bytes\n" + digests(LONG_MOVIE[:4194309]) +
                "INFO: verifying raid/\n"
                "INFO: verifying card\n"
                "INFO: verified 4194309 of 4194309 bytes of path card\n"
                "INFO: verified 4194304 of 4194309 bytes of path raid\n"
                "INFO: verified 4194309 of 4194309 bytes of path raid\n"
                "verify of destination file #1 (raid/long.mov) ok.\n"
                "verify of source file #2 (card/long.mov) ok.\n"),
    Case("movie-slow-destination",
         "A destination that is slower than the digests: they are printed before the copy's progress ends. The first "
         "write is held until they are, the second until the progress of the first is.",
         ["-v", "-o", "0", "card/long.mov", "raid/"], before={"card/long.mov": LONG_MOVIE[:2097157]},
         verdict=VERIFIED, left={"raid/long.mov": LONG_MOVIE[:2097157]},
         faults=["write raid/long.mov 1 1 run=../hold-first", "write raid/long.mov 2 1 run=../hold-second"],
         scripts={"hold-first": wait_for("hash MD5:"), "hold-second": wait_for("INFO: copied 2097152 of")},
         output="INFO: copying card...\n"
                "INFO: copied 0 of 2097157 bytes\n" + digests(LONG_MOVIE[:2097157]) +
                "INFO: copied 2097152 of 2097157 bytes\n"
                "INFO: verifying raid/\n"
                "INFO: verifying card\n"
                "INFO: verified 2097157 of 2097157 bytes of path raid\n"
                "INFO: verified 2097157 of 2097157 bytes of path card\n"
                "verify of destination file #1 (raid/long.mov) ok.\n"
                "verify of source file #2 (card/long.mov) ok.\n"),
    Case("movie-empty", "An empty file: no progress while it is copied, and 0 of 0 bytes verified.",
         ["-v", "-o", "0", "card/empty.mov", "raid/"], before={"card/empty.mov": b""}, verdict=VERIFIED,
         left={"raid/empty.mov": b""},
         output="INFO: copying card...\n" + digests(b"") +
                "INFO: verifying raid/\n"
                "INFO: verifying card\n"
                "INFO: verified 0 of 0 bytes of path raid\n"
                "INFO: verified 0 of 0 bytes of path card\n"
                "verify of destination file #1 (raid/empty.mov) ok.\n"
                "verify of source file #2 (card/empty.mov) ok.\n"),
    Case("movie-current-folder", "Bare names on both sides: the folder is an empty text.",
         ["-v", "-o", "0", "clip.mov", "copy.mov"], before={"clip.mov": MOVIE}, verdict=VERIFIED,
         left={"copy.mov": MOVIE},
         output="INFO: copying ...\n"
                "INFO: copied 0 of 3893 bytes\n" + digests(MOVIE) +
                "INFO: verifying \n"
                "INFO: verifying \n"
                "INFO: verified 3893 of 3893 bytes of path \n"
                "INFO: verified 3893 of 3893 bytes of path \n"
                "verify of destination file #1 (copy.mov) ok.\n"
                "verify of source file #2 (clip.mov) ok.\n"),
    Case("movie-rebuilt-folders", "-p 2 rebuilds the last two folders of the source's path.",
         ["-v", "-p", "2", "card/DCIM/A001/clip.mov", "raid/"], before={"card/DCIM/A001/clip.mov": MOVIE},
         verdict=VERIFIED,
         left={"raid/DCIM/A001/clip.mov": MOVIE,
               "raid/DCIM/A001/sha1/clip.mov.sha1": movie_list(original="card/DCIM/A001/clip.mov")},
         output="INFO: copying card/DCIM/A001...\n"
                "INFO: copied 0 of 3893 bytes\n" + digests(MOVIE) +
                "INFO: verifying raid/DCIM/A001\n"
                "INFO: verifying card/DCIM/A001\n"
                "INFO: verified 3893 of 3893 bytes of path raid/DCIM/A001\n"
                "INFO: verified 3893 of 3893 bytes of path card/DCIM/A001\n"
                "verify of destination file #1 (raid/DCIM/A001/clip.mov) ok.\n"
                "verify of source file #2 (card/DCIM/A001/clip.mov) ok.\n"),
    Case("movie-overwritten", "With -f an older copy and its list are replaced.", ["-f", "card/clip.mov", "raid/"],
         before={**ONE_CARD, "raid/clip.mov": b"old", "raid/sha1/clip.mov.sha1": b"old list"}, verdict=VERIFIED,
         left=movie_left("raid")),
    Case("movie-without-list", "-o 0: verified, and no list.", ["-v", "-o", "0", "card/clip.mov", "raid/"],
         before=ONE_CARD, verdict=VERIFIED, left={"raid/clip.mov": MOVIE},
         output="INFO: copying card...\n"
                "INFO: copied 0 of 3893 bytes\n" + digests(MOVIE) +
                "INFO: verifying raid/\n"
                "INFO: verifying card\n"
                "INFO: verified 3893 of 3893 bytes of path raid\n"
                "INFO: verified 3893 of 3893 bytes of path card\n"
                "verify of destination file #1 (raid/clip.mov) ok.\n"
                "verify of source file #2 (card/clip.mov) ok.\n"),
    Case("movie-value-like-an-option", "-n as the value of -o is no option: the run is verified, and has no list.",
         ["-o", "-n", "card/clip.mov", "raid/"], before=ONE_CARD, verdict=VERIFIED, left={"raid/clip.mov": MOVIE}),
    Case("movie-unverified", "-n: each copy is reported, also without -v. Nobody has compared it.",
         ["-n", "card/clip.mov", "raid/", "shuttle/take.mov"], before=ONE_CARD, verdict=COPIED_ONLY,
         left={"raid/clip.mov": MOVIE, "shuttle/take.mov": MOVIE},
         output="Copy completed successfully for destination file (raid/clip.mov)\n"
                "Copy completed successfully for destination file (shuttle/take.mov)\n"),
    Case("movie-unverified-verbose", "-n with -v: no digest is made or printed.",
         ["-v", "-n", "card/clip.mov", "raid/"], before=ONE_CARD, verdict=COPIED_ONLY, left={"raid/clip.mov": MOVIE},
         output="INFO: copying card...\n"
                "INFO: copied 0 of 3893 bytes\n"
                "Copy completed successfully for destination file (raid/clip.mov)\n"),
    Case("movie-unverified-by-prefix", "Options match by their beginning: -nothing is -n, -verbose is -v.",
         ["-nothing", "-verbose", "card/clip.mov", "raid/"], before=ONE_CARD, verdict=COPIED_ONLY,
         left={"raid/clip.mov": MOVIE},
         output="INFO: copying card...\n"
                "INFO: copied 0 of 3893 bytes\n"
                "Copy completed successfully for destination file (raid/clip.mov)\n"),
]

SEQUENCES = [
    Case("sequence", "A sequence to two destinations; the name given for the second is its list's.",
         ["-s", "-t", "md5", "card/f_1-3##.dpx", "raid/", "shuttle/day3"], before=frames(1, 2, 3), verdict=VERIFIED,
         left={**copies("raid", 1, 2, 3), **copies("shuttle", 1, 2, 3),
               "raid/md5/f_1-3##.dpx.md5": frame_list("MD5", "card/f_1-3##.dpx", 1, 2, 3),
               "shuttle/md5/day3.md5": frame_list("MD5", "card/f_1-3##.dpx", 1, 2, 3)}),
    Case("sequence-verbose", "Progress counts the whole run. The number after # is the file's place among the copies "
         "of its frame.", ["-v", "-s", "card/f_9-10##.dpx", "raid/", "shuttle/"], before=frames(9, 10),
         verdict=VERIFIED,
         left={**copies("raid", 9, 10), **copies("shuttle", 9, 10),
               "raid/sha1/f_9-10##.dpx.sha1": frame_list("SHA1", "card/f_9-10##.dpx", 9, 10),
               "shuttle/sha1/f_9-10##.dpx.sha1": frame_list("SHA1", "card/f_9-10##.dpx", 9, 10)},
         output="INFO: copying card...\n"
                "INFO: copied 0 of 1000 bytes\n" + digests(frame(9)) +
                "INFO: copied 500 of 1000 bytes\n" + digests(frame(10)) +
                "INFO: verifying raid/\n"
                "INFO: verifying shuttle/\n"
                "INFO: verifying card\n"
                "INFO: verified 500 of 1000 bytes of path raid\n"
                "INFO: verified 500 of 1000 bytes of path shuttle\n"
                "INFO: verified 500 of 1000 bytes of path card\n"
                "verify of destination file 1 of 2 of sequence #1 (raid/f_09.dpx) ok.\n"
                "verify of destination file 1 of 2 of sequence #2 (shuttle/f_09.dpx) ok.\n"
                "verify of source file 1 of 2 of sequence #3 (card/f_09.dpx) ok.\n"
                "INFO: verified 1000 of 1000 bytes of path raid\n"
                "INFO: verified 1000 of 1000 bytes of path shuttle\n"
                "INFO: verified 1000 of 1000 bytes of path card\n"
                "verify of destination file 2 of 2 of sequence #1 (raid/f_10.dpx) ok.\n"
                "verify of destination file 2 of 2 of sequence #2 (shuttle/f_10.dpx) ok.\n"
                "verify of source file 2 of 2 of sequence #3 (card/f_10.dpx) ok.\n"),
    Case("sequence-estimated",
         "The total of more than three frames is estimated from three; a larger one makes more bytes than that.",
         ["-v", "-o", "0", "-s", "card/f_1-4##.dpx", "raid/"],
         before={**frames(1, 3, 4), "card/f_02.dpx": frame(2) * 2}, verdict=VERIFIED,
         left={**copies("raid", 1, 3, 4), "raid/f_02.dpx": frame(2) * 2},
         output="INFO: copying card...\n"
                "INFO: copied 0 of 2000 bytes\n" + digests(frame(1)) +
                "INFO: copied 500 of 2000 bytes\n" + digests(frame(2) * 2) +
                "INFO: copied 1500 of 2000 bytes\n" + digests(frame(3)) +
                "INFO: copied 2000 of 2000 bytes\n" + digests(frame(4)) +
                "INFO: verifying raid/\n"
                "INFO: verifying card\n" + "".join(
                    "INFO: verified {1} of 2000 bytes of path raid\n"
                    "INFO: verified {1} of 2000 bytes of path card\n"
                    "verify of destination file {0} of 4 of sequence #1 (raid/f_0{0}.dpx) ok.\n"
                    "verify of source file {0} of 4 of sequence #2 (card/f_0{0}.dpx) ok.\n".format(number, verified)
                    for number, verified in ((1, 500), (2, 1500), (3, 2000), (4, 2500)))),
    Case("sequence-unverified", "-n: one line for each frame and destination.",
         ["-n", "-s", "card/f_1-2##.dpx", "raid/", "shuttle/"], before=frames(1, 2), verdict=COPIED_ONLY,
         left={**copies("raid", 1, 2), **copies("shuttle", 1, 2)},
         output="Copy completed successfully for destination file (raid/f_01.dpx)\n"
                "Copy completed successfully for destination file (shuttle/f_01.dpx)\n"
                "Copy completed successfully for destination file (raid/f_02.dpx)\n"
                "Copy completed successfully for destination file (shuttle/f_02.dpx)\n"),
]

LINK = {"card/link.mov": Link("../elsewhere/clip.mov")}
LINK_TEXT = b"../elsewhere/clip.mov"
LINKS = [
    Case("link", "A link is copied as a link; its digest is that of its target's path. No bytes are counted.",
         ["-v", "card/link.mov", "raid/"], before=LINK, verdict=VERIFIED,
         left={"raid/link.mov": Link("../elsewhere/clip.mov"),
               "raid/sha1/link.mov.sha1": hash_list("SHA1", "card/link.mov", **{"link.mov": LINK_TEXT})},
         output="INFO: copying card...\n" + digests(LINK_TEXT) +
                "INFO: verifying raid/\n"
                "INFO: verifying card\n"
                "verify of destination file #1 (raid/link.mov) ok.\n"
                "verify of source file #2 (card/link.mov) ok.\n"),
    Case("link-unverified", "With -n no digest is made: both print as (null).", ["-v", "-n", "card/link.mov", "raid/"],
         before={**LINK, "elsewhere/clip.mov": MOVIE}, verdict=COPIED_ONLY,
         left={"raid/link.mov": Link("../elsewhere/clip.mov")},
         output="INFO: copying card...\n"
                "hash SHA1:(null)\n"
                "hash MD5:(null)\n"
                "Copy completed successfully for destination file (raid/link.mov)\n"),
    Case("link-unverified-dangling", "With -n the copy of a link whose target is missing counts as missing.",
         ["-n", "card/link.mov", "raid/"], before=LINK, status=116, verdict=FAILED,
         left={"raid/link.mov": Link("../elsewhere/clip.mov")},
         output="Copy failed for destination file (raid/link.mov)\n"),
    Case("link-destination-exists", "Something stands where the link is to be copied to.", ["card/link.mov", "raid/"],
         before={**LINK, "raid/link.mov": b"old"}, status=107, verdict=FAILED,
         output="ERROR: File destination #1 (raid/link.mov) already exists.\n"),
    Case("link-not-created", "-f does not replace a file by a link. The error has no line end.",
         ["-f", "card/link.mov", "raid/"], before={**LINK, "raid/link.mov": b"old"}, status=201, verdict=FAILED,
         output="ERROR: can't open destination file (raid/link.mov) (201i)"),
]

NO_UTF8 = os.fsdecode(b"cl\xefp\xff.mov")
LINE_END = "take\n2.mov"
FORGED_FAILURE = "x\nERROR: verify of destination file #1 (x) failed, wrong hash.\n.mov"
FORGED_SUCCESS = "x\nverify of source file #2 (x) ok.\n.mov"
FORGED_COPY = "x\nCopy completed successfully for destination file (x)\n.mov"
DEEP = "/".join(["f" * 250] * 13)
NAMES = [
    Case("name-not-utf8", "Bytes of a path are printed as they are.", ["-v", "-o", "0", "card/" + NO_UTF8, "raid/"],
         before={"card/" + NO_UTF8: MOVIE}, verdict=VERIFIED, left={"raid/" + NO_UTF8: MOVIE},
         output="INFO: copying card...\n"
                "INFO: copied 0 of 3893 bytes\n" + digests(MOVIE) +
                "INFO: verifying raid/\n"
                "INFO: verifying card\n"
                "INFO: verified 3893 of 3893 bytes of path raid\n"
                "INFO: verified 3893 of 3893 bytes of path card\n"
                "verify of destination file #1 (raid/" + NO_UTF8 + ") ok.\n"
                "verify of source file #2 (card/" + NO_UTF8 + ") ok.\n"),
    Case("name-with-line-end", "A name may hold a line end; a piece of such a line may be no known line.",
         ["-v", "-o", "0", "card/" + LINE_END, "raid/"], before={"card/" + LINE_END: MOVIE}, verdict=VERIFIED,
         left={"raid/" + LINE_END: MOVIE},
         output="INFO: copying card...\n"
                "INFO: copied 0 of 3893 bytes\n" + digests(MOVIE) +
                "INFO: verifying raid/\n"
                "INFO: verifying card\n"
                "INFO: verified 3893 of 3893 bytes of path raid\n"
                "INFO: verified 3893 of 3893 bytes of path card\n"
                "verify of destination file #1 (raid/take\n2.mov) ok.\n"
                "verify of source file #2 (card/take\n2.mov) ok.\n"),
    Case("name-like-a-failure", "A name that reads as the report of a failure. Only the status tells.",
         ["-v", "-o", "0", "card/" + FORGED_FAILURE, "raid/"], before={"card/" + FORGED_FAILURE: MOVIE},
         verdict=VERIFIED, left={"raid/" + FORGED_FAILURE: MOVIE},
         output="INFO: copying card...\n"
                "INFO: copied 0 of 3893 bytes\n" + digests(MOVIE) +
                "INFO: verifying raid/\n"
                "INFO: verifying card\n"
                "INFO: verified 3893 of 3893 bytes of path raid\n"
                "INFO: verified 3893 of 3893 bytes of path card\n"
                "verify of destination file #1 (raid/" + FORGED_FAILURE + ") ok.\n"
                "verify of source file #2 (card/" + FORGED_FAILURE + ") ok.\n"),
    Case("name-like-a-success", "A name that reads as the report of a success. Only the status tells.",
         ["card/" + FORGED_SUCCESS, "raid/"],
         before={"card/" + FORGED_SUCCESS: MOVIE, "raid/" + FORGED_SUCCESS: b"old"}, status=107, verdict=FAILED,
         output="ERROR: File destination #1 (raid/" + FORGED_SUCCESS + ") already exists.\n"),
    Case("name-like-an-unverified-copy", "A name that reads as the report of -n, in a run that failed.",
         ["card/" + FORGED_COPY, "raid/"],
         before={"card/" + FORGED_COPY: MOVIE, "raid/" + FORGED_COPY: b"old"}, status=107, verdict=FAILED,
         output="ERROR: File destination #1 (raid/" + FORGED_COPY + ") already exists.\n"),
    Case("name-with-conversions", "A % in a path stands for itself.", ["-n", "card/100%s%n.mov", "raid/"],
         before={"card/100%s%n.mov": MOVIE}, verdict=COPIED_ONLY, left={"raid/100%s%n.mov": MOVIE},
         output="Copy completed successfully for destination file (raid/100%s%n.mov)\n"),
    Case("name-very-long", "A line is as long as its path is.", ["-n", DEEP + "/clip.mov", DEEP + "/copy/"],
         before={DEEP + "/clip.mov": MOVIE}, verdict=COPIED_ONLY, left={DEEP + "/copy/clip.mov": MOVIE},
         output="Copy completed successfully for destination file (" + DEEP + "/copy/clip.mov)\n"),
]

FAILED_BEFORE_THE_COPY = [
    Case("folder-not-created", "A file stands where the second destination's folder is to be.",
         ["-v", "card/clip.mov", "raid/", "shuttle/day3/"], before={**ONE_CARD, "shuttle": b"a file"},
         status=101, verdict=FAILED, left={"raid": FOLDER},
         output="ERROR: Can't create destination folder #2 (shuttle/day3/).\n"),
    Case("destination-exists", "The copy exists at the second destination. The first one's is left empty.",
         ["card/clip.mov", "raid/", "shuttle/"], before={**ONE_CARD, "shuttle/clip.mov": b"old"},
         status=107, verdict=FAILED, left={"raid/clip.mov": b""},
         output="ERROR: File destination #2 (shuttle/clip.mov) already exists.\n"),
    Case("destination-frame-exists", "A later frame exists. The frames before it stay copied.",
         ["-s", "card/f_1-3##.dpx", "raid/"], before={**frames(1, 2, 3), "raid/f_02.dpx": b"old"},
         status=107, verdict=FAILED, left=copies("raid", 1),
         output="ERROR: File destination #1 (raid/f_02.dpx) already exists.\n"),
    Case("source-not-opened", "The source may not be read. The error has no line end.",
         ["-v", "card/clip.mov", "raid/"], before=ONE_CARD, status=200, verdict=FAILED, left={"raid": FOLDER},
         faults=["openr card/clip.mov 1 * EACCES"],
         output="INFO: copying card...\nERROR: can't open source file (200i)"),
    Case("frame-missing", "A later frame is missing. The frames before it stay copied.",
         ["-s", "card/f_1-3##.dpx", "raid/"], before=frames(1, 3), status=200, verdict=FAILED, left=copies("raid", 1),
         output="ERROR: can't open source file (200i)"),
    Case("destination-not-opened", "A folder stands where the second copy is to be.",
         ["-f", "card/clip.mov", "raid/", "shuttle/"], before={**ONE_CARD, "shuttle/clip.mov": FOLDER},
         status=201, verdict=FAILED, left={"raid/clip.mov": b""},
         output="ERROR: can't open destination file (#2) (201i)"),
    Case("destination-is-the-source", "The source is never overwritten, also with -f.",
         ["-f", "card/clip.mov", "card/"], before=ONE_CARD, status=201, verdict=FAILED,
         output="ERROR: can't open destination file (#1) (201i)"),
    Case("digest-refused", "The machine refuses MD5. What follows \"available: \" is the library's text.",
         ["card/clip.mov", "raid/"], before=ONE_CARD, faults=["digest MD5 1 * EPERM"], status=117, verdict=FAILED,
         output="ERROR: No MD5 digest available: " + LIBRARY_REASON.decode() + "\n"),
    Case("thread-refused", "The machine refuses a thread.", ["card/clip.mov", "raid/"], before=ONE_CARD,
         faults=["thread thread 3 * EAGAIN"], status=117, verdict=FAILED, left={"raid/clip.mov": Part(MOVIE)},
         output="ERROR: No thread available: Resource temporarily unavailable\n"),
]

READ_ERROR = ("ERROR: unexpected EIO during read: Input/output error of file: card/clip.mov at position:0\n"
              "INFO: file exists:1 volumes: " + LISTED_VOLUMES + "\n")
COPY_FAILURES = [
    Case("read-recovered", "A block of the source is read at the second attempt: the run is whole, the card is not.",
         ["-v", "-o", "0", "card/clip.mov", "raid/"], before=ONE_CARD, verdict=VERIFIED, left={"raid/clip.mov": MOVIE},
         faults=["read card/clip.mov 1 1 EIO"],
         output="INFO: copying card...\n"
                "INFO: copied 0 of 3893 bytes\n" + READ_ERROR + digests(MOVIE) +
                "INFO: verifying raid/\n"
                "INFO: verifying card\n"
                "INFO: verified 3893 of 3893 bytes of path raid\n"
                "INFO: verified 3893 of 3893 bytes of path card\n"
                "verify of destination file #1 (raid/clip.mov) ok.\n"
                "verify of source file #2 (card/clip.mov) ok.\n"),
    Case("read-failed", "A block of the source fails twice.", ["-v", "card/clip.mov", "raid/"], before=ONE_CARD,
         faults=["read card/clip.mov 1 2 EIO"], status=220, verdict=FAILED, left={"raid/clip.mov": b""},
         output="INFO: copying card...\n"
                "INFO: copied 0 of 3893 bytes\n" + READ_ERROR +
                "ERROR: again unexpected EIO during read: Input/output error userInfo: {errno = 5}\n"),
    Case("read-failed-later", "The last block fails twice. Its position is the block's, not the bytes' copied.",
         ["card/long.mov", "raid/"], before={"card/long.mov": LONG_MOVIE[:4194309]},
         faults=["read card/long.mov 3 2 EIO"], status=220, verdict=FAILED,
         left={"raid/long.mov": Part(LONG_MOVIE[:4194309])},
         output="ERROR: unexpected EIO during read: Input/output error of file: card/long.mov at position:4194304\n"
                "INFO: file exists:1 volumes: " + LISTED_VOLUMES + "\n"
                "ERROR: again unexpected EIO during read: Input/output error userInfo: {errno = 5}\n"),
    Case("card-gone", "The card is pulled out while it is read.", ["card/clip.mov", "raid/"], before=ONE_CARD,
         faults=["read card/clip.mov 1 1 run=../lose", "read card/clip.mov 1 1 EIO"],
         scripts={"lose": "rm card/clip.mov\n"}, status=220, verdict=FAILED,
         left={"card": FOLDER, "card/clip.mov": GONE, "raid/clip.mov": b""},
         output=READ_ERROR.replace("exists:1", "exists:0") +
                "ERROR: could not reopen file handle for path: card/clip.mov\n"),
    Case("frame-is-a-folder", "A folder stands in a frame's place.", ["-s", "card/f_1-3##.dpx", "raid/"],
         before={**frames(1, 3), "card/f_02.dpx": FOLDER}, status=220, verdict=FAILED,
         left={**copies("raid", 1), "raid/f_02.dpx": b""},
         output="ERROR: unexpected EISDIR during read: Is a directory of file: card/f_02.dpx at position:0\n"
                "INFO: file exists:1 volumes: " + LISTED_VOLUMES + "\n"
                "ERROR: again unexpected EISDIR during read: Is a directory userInfo: {errno = 21}\n"),
    Case("write-failed", "A destination's disk fails. The folder is named, not the file.",
         ["card/clip.mov", "raid/", "shuttle/"], before=ONE_CARD, faults=["write shuttle/clip.mov 1 * EIO"],
         status=211, verdict=FAILED, left={"raid/clip.mov": Part(MOVIE), "shuttle/clip.mov": b""},
         output="ERROR: unexpected EIO during write: Input/output error\nERROR: failed writing to shuttle/\n"),
    Case("write-failed-verbose", "A destination's disk fails during a copy whose progress is printed.",
         ["-v", "card/long.mov", "raid/day3/"], before={"card/long.mov": LONG_MOVIE},
         faults=["write raid/day3/long.mov 1 * EIO"],
         status=211, verdict=FAILED, left={"raid/day3/long.mov": b""},
         output="INFO: copying card...\n"
                "INFO: copied 0 of 23068672 bytes\n"
                "ERROR: unexpected EIO during write: Input/output error\nERROR: failed writing to raid/day3/\n"),
    Case("write-quota-exceeded", "A quota is no full disk: 211.", ["card/clip.mov", "raid/take.mov"], before=ONE_CARD,
         faults=["write raid/take.mov 1 * EDQUOT"], status=211, verdict=FAILED, left={"raid/take.mov": b""},
         output="ERROR: unexpected EDQUOT during write: Disk quota exceeded\nERROR: failed writing to raid\n"),
    Case("write-not-durable", "All bytes were taken, and the disk fails when they are to be made safe.",
         ["-n", "card/clip.mov", "raid/"], before=ONE_CARD, faults=["fdatasync raid/clip.mov 1 * EIO"],
         status=211, verdict=FAILED, left={"raid/clip.mov": MOVIE},
         output="ERROR: unexpected EIO during write: Input/output error\nERROR: failed writing to raid/\n"),
    Case("disk-full", "No space is left at a destination.", ["card/clip.mov", "raid/"], before=ONE_CARD,
         faults=["write raid/clip.mov 1 * ENOSPC"], status=212, verdict=FAILED, left={"raid/clip.mov": b""},
         output="ERROR: unexpected ENOSPC during write: No space left on device\nERROR: failed writing to raid/\n"),
    Case("copy-missing", "With -n: a copy is gone when the run looks for it.",
         ["-n", "card/clip.mov", "raid/", "shuttle/"], before=ONE_CARD,
         faults=["stat raid/clip.mov 3 1 run=../lose"], scripts={"lose": "rm shuttle/clip.mov\n"},
         status=116, verdict=FAILED, left={"raid/clip.mov": MOVIE, "shuttle": FOLDER},
         output="Copy completed successfully for destination file (raid/clip.mov)\n"
                "Copy failed for destination file (shuttle/clip.mov)\n"),
]

VERIFY_FAILURES = [
    Case("copy-damaged", "A copy reads back wrong.", ["card/clip.mov", "raid/", "shuttle/"], before=ONE_CARD,
         faults=["lstat shuttle/clip.mov 1 1 run=../damage"], scripts={"damage": "echo damaged >shuttle/clip.mov\n"},
         status=109, verdict=FAILED, left={"raid/clip.mov": MOVIE, "shuttle/clip.mov": DAMAGED},
         output=wrong_hash(MOVIE, sha1(DAMAGED)) +
                "ERROR: verify of destination file #2 (shuttle/clip.mov) failed, wrong hash.\n"),
    Case("copy-damaged-verbose", "A copy reads back wrong. The destinations before it are reported as good.",
         ["-v", "-t", "md5", "card/clip.mov", "raid/", "shuttle/"], before=ONE_CARD,
         faults=["lstat shuttle/clip.mov 1 1 run=../damage"],
         scripts={"damage": wait_for("bytes of path raid", "bytes of path card") + "echo damaged >shuttle/clip.mov\n"},
         status=109, verdict=FAILED, left={"raid/clip.mov": MOVIE, "shuttle/clip.mov": DAMAGED},
         output="INFO: copying card...\n"
                "INFO: copied 0 of 3893 bytes\n" + digests(MOVIE) +
                "INFO: verifying raid/\n"
                "INFO: verifying shuttle/\n"
                "INFO: verifying card\n"
                "INFO: verified 3893 of 3893 bytes of path raid\n"
                "INFO: verified 3893 of 3893 bytes of path card\n"
                "INFO: verified 8 of 3893 bytes of path shuttle\n"
                "INFO: expected hash: %s but got hash: %s.\n"
                "verify of destination file #1 (raid/clip.mov) ok.\n"
                "ERROR: verify of destination file #2 (shuttle/clip.mov) failed, wrong hash.\n"
                % (md5(MOVIE), md5(DAMAGED))),
    Case("source-changed", "The source reads back otherwise than it was copied: the card or its reader is at fault.",
         ["card/clip.mov", "raid/"], before=ONE_CARD,
         faults=["lstat card/clip.mov 4 1 run=../damage"], scripts={"damage": "echo damaged >card/clip.mov\n"},
         status=109, verdict=FAILED, left={"card/clip.mov": DAMAGED, "raid/clip.mov": MOVIE},
         output=wrong_hash(MOVIE, sha1(DAMAGED)) +
                "ERROR: verify of source file #2 (card/clip.mov) failed, wrong hash.\n"),
    Case("frame-damaged", "The copy of the second frame reads back wrong; later frames are not looked at.",
         ["-v", "-s", "card/f_1-3##.dpx", "raid/"], before=frames(1, 2, 3),
         faults=["lstat raid/f_02.dpx 1 1 run=../damage"],
         scripts={"damage": wait_for("INFO: verified 1000 of 1500 bytes of path card") +
                  "echo damaged >raid/f_02.dpx\n"},
         status=109, verdict=FAILED, left={**copies("raid", 1, 3), "raid/f_02.dpx": DAMAGED},
         output="INFO: copying card...\n"
                "INFO: copied 0 of 1500 bytes\n" + digests(frame(1)) +
                "INFO: copied 500 of 1500 bytes\n" + digests(frame(2)) +
                "INFO: copied 1000 of 1500 bytes\n" + digests(frame(3)) +
                "INFO: verifying raid/\n"
                "INFO: verifying card\n"
                "INFO: verified 500 of 1500 bytes of path raid\n"
                "INFO: verified 500 of 1500 bytes of path card\n"
                "verify of destination file 1 of 3 of sequence #1 (raid/f_01.dpx) ok.\n"
                "verify of source file 1 of 3 of sequence #2 (card/f_01.dpx) ok.\n"
                "INFO: verified 1000 of 1500 bytes of path card\n"
                "INFO: verified 508 of 1500 bytes of path raid\n" + wrong_hash(frame(2), sha1(DAMAGED)) +
                "ERROR: verify of destination file #1 (raid/f_02.dpx) failed, wrong hash.\n"),
    Case("copy-not-opened", "A copy can't be opened to be read back: a wrong hash, with (null) for its own.",
         ["card/clip.mov", "raid/"], before=ONE_CARD, faults=["openr raid/clip.mov 1 * EACCES"],
         status=109, verdict=FAILED, left={"raid/clip.mov": MOVIE},
         output=wrong_hash(MOVIE, "(null)") +
                "ERROR: verify of destination file #1 (raid/clip.mov) failed, wrong hash.\n"),
    Case("link-changed", "A copied link leads elsewhere when it is read back.", ["card/link.mov", "raid/"], before=LINK,
         faults=["lstat raid/link.mov 2 1 run=../change"], scripts={"change": "ln -sfn other raid/link.mov\n"},
         status=109, verdict=FAILED, left={"raid/link.mov": Link("other")},
         output=wrong_hash(LINK_TEXT, sha1(b"other")) +
                "ERROR: verify of destination file #1 (raid/link.mov) failed, wrong hash.\n"),
    Case("copy-through-a-link", "A copy that was written through a link is verified as that link, and fails.",
         ["card/clip.mov", "raid/"], before={**ONE_CARD, "raid/clip.mov": Link("other.mov")},
         status=109, verdict=FAILED, left={"raid/other.mov": MOVIE},
         output=wrong_hash(MOVIE, sha1(b"other.mov")) +
                "ERROR: verify of destination file #1 (raid/clip.mov) failed, wrong hash.\n"),
    Case("verify-read-recovered", "A chunk of a copy is read at the second attempt.",
         ["-v", "-o", "0", "card/clip.mov", "raid/"], before=ONE_CARD, verdict=VERIFIED, left={"raid/clip.mov": MOVIE},
         faults=["read raid/clip.mov 1 1 run=../hold", "read raid/clip.mov 1 1 EIO"],
         scripts={"hold": wait_for("bytes of path card")},
         output="INFO: copying card...\n"
                "INFO: copied 0 of 3893 bytes\n" + digests(MOVIE) +
                "INFO: verifying raid/\n"
                "INFO: verifying card\n"
                "INFO: verified 3893 of 3893 bytes of path card\n"
                "ERROR: unexpected EIO during read: Input/output error at position:0\n"
                "ERROR: failed reading from raid/clip.mov\n"
                "INFO: verified 3893 of 3893 bytes of path raid\n"
                "verify of destination file #1 (raid/clip.mov) ok.\n"
                "verify of source file #2 (card/clip.mov) ok.\n"),
    Case("verify-read-recovered-not-ascii", "A path that is not ASCII prints as (null) in these lines.",
         ["card/clip.mov", "r\u00e4id/"], before=ONE_CARD, verdict=VERIFIED, left=movie_left("r\u00e4id"),
         faults=["read r\u00e4id/clip.mov 1 1 EIO"],
         output="ERROR: unexpected EIO during read: Input/output error at position:0\n"
                "ERROR: failed reading from (null)\n"),
    Case("verify-read-failed", "A chunk of a copy fails twice: 109, as a wrong hash has.",
         ["card/clip.mov", "raid/"], before=ONE_CARD, faults=["read raid/clip.mov 1 2 EIO"],
         status=109, verdict=FAILED, left={"raid/clip.mov": MOVIE},
         output="ERROR: unexpected EIO during read: Input/output error at position:0\n"
                "ERROR: failed reading from raid/clip.mov\n"
                "ERROR: again unexpected EIO during read: Input/output error\n"
                "ERROR: again failed reading from raid/clip.mov\n"),
    Case("verify-not-reopened", "A copy can't be opened again after a failed read, and counts as ended there.",
         ["card/long.mov", "raid/"], before={"card/long.mov": LONG_MOVIE[:4194309]},
         faults=["read raid/long.mov 2 1 EIO", "openr raid/long.mov 2 * EIO"],
         status=109, verdict=FAILED, left={"raid/long.mov": LONG_MOVIE[:4194309]},
         output="ERROR: unexpected EIO during read: Input/output error at position:4194304\n"
                "ERROR: failed reading from raid/long.mov\n" +
                wrong_hash(LONG_MOVIE[:4194309], sha1(LONG_MOVIE[:4194304])) +
                "ERROR: verify of destination file #1 (raid/long.mov) failed, wrong hash.\n"),
]

LIST_FAILURES = [
    Case("list-folder-not-created", "A file stands where the second list's folder is to be. The copies are verified.",
         ["card/clip.mov", "raid/", "shuttle/"], before={**ONE_CARD, "shuttle/sha1": b"a file"},
         status=114, verdict=FAILED, left={**movie_left("raid"), "shuttle/clip.mov": MOVIE},
         output="ERROR: Can't create folder for hashes (shuttle/sha1).\n"),
    Case("list-not-written", "A folder stands where the second list is to be. The copies are verified.",
         ["card/clip.mov", "raid/", "shuttle/"], before={**ONE_CARD, "shuttle/sha1/clip.mov.sha1": FOLDER},
         status=115, verdict=FAILED, left={**movie_left("raid"), "shuttle/clip.mov": MOVIE},
         output="ERROR: couldn't write hash file to shuttle/sha1/clip.mov.sha1\n"
                "ERROR: Can't write hash file (shuttle/sha1/clip.mov.sha1).\n"),
    Case("list-in-the-way-of-a-copy", "A list would replace a copy that the same run has made.",
         ["card/clip.mov", "raid/", "raid/sha1/clip.mov.sha1"], before=ONE_CARD, status=115, verdict=FAILED,
         left={"raid/clip.mov": MOVIE, "raid/sha1/clip.mov.sha1": MOVIE},
         output="ERROR: Can't write hash file (raid/sha1/clip.mov.sha1).\n"),
]

SIGNALS = [
    Case("signal-reported", "A signal is reported without a line end, and the run goes on: its next line follows on "
         "the same line.", ["-v", "-n", "card/clip.mov", "raid/"], before=ONE_CARD, verdict=COPIED_ONLY,
         left={"raid/clip.mov": MOVIE}, faults=["openw raid/clip.mov 1 1 signal=11"],
         output="INFO: copying card...\n"
                "Received signal: SIGSEGV" + STACK + "INFO: copied 0 of 3893 bytes\n"
                "Copy completed successfully for destination file (raid/clip.mov)\n"),
    Case("signal-reported-last", "A signal's report is all that a run prints.", ["card/clip.mov", "raid/"],
         before=ONE_CARD, verdict=VERIFIED, left=movie_left("raid"), faults=["openw raid/clip.mov 1 1 signal=8"],
         output="Received signal: SIGFPE" + STACK),
    Case("signal-reported-before-a-failure", "A signal's report, and on the same line why the run ended.",
         ["card/clip.mov", "raid/"], before=ONE_CARD, status=200, verdict=FAILED, left={"raid": FOLDER},
         faults=["openr card/clip.mov 1 1 signal=6", "openr card/clip.mov 1 * EACCES"],
         output="Received signal: SIGABRT" + STACK + "ERROR: can't open source file (200i)"),
    Case("killed", "The program is killed during the copy. It can't say so.", ["-v", "card/clip.mov", "raid/"],
         before=ONE_CARD, faults=["openw raid/clip.mov 1 1 signal=9"], status=-9, verdict=FAILED,
         left={"raid": FOLDER}, output="INFO: copying card...\n"),
]

CASES = (WRONG_COMMAND_LINES + MOVIES + SEQUENCES + LINKS + NAMES + FAILED_BEFORE_THE_COPY + COPY_FAILURES +
         VERIFY_FAILURES + LIST_FAILURES + SIGNALS)

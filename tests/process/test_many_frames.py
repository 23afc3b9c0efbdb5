"""More frames than an hour of film has: none is lost."""

import hashlib
import os
import subprocess
import time

from storage import StorageTest, require_mounts
from support import SANITIZERS, THOROUGH, main

# With a sanitizer each frame takes up to 15 times as long, and memory that was freed is kept.
FRAMES = 1500 if SANITIZERS else 100000 if THOROUGH else 10000
LONGEST_SEQUENCE = 800  # seconds


class ManyFramesTest(StorageTest):
    def test_all_copies_are_right_and_listed(self):
        require_mounts()
        self.tmpfs("disk", 2000)
        contents = {"f_%06d.dpx" % number: b"frame %d" % number for number in range(1, FRAMES + 1)}
        os.makedirs(self.path("disk/card"))
        for name, data in contents.items():
            with open(self.path("disk/card/" + name), "wb") as file:
                file.write(data)
        identifier = "f_1-%d######.dpx" % FRAMES
        begun = time.monotonic()
        result = self.run_tool("-s", "disk/card/" + identifier, "disk/d/", timeout=LONGEST_SEQUENCE)
        self.note_figure("%d frames: %.0f s", FRAMES, time.monotonic() - begun)
        self.assert_run(result, 0, "")
        self.assert_list_entries("disk/d/sha1/%s.sha1" % identifier, [
            "SHA1(../%s)= %s" % (name, hashlib.sha1(data).hexdigest()) for name, data in contents.items()])
        os.rename(self.path("disk/d/sha1"), self.path("disk/sha1"))
        self.assertEqual(subprocess.run(["diff", "-r", self.path("disk/card"), self.path("disk/d")]).returncode, 0)


if __name__ == "__main__":
    main()

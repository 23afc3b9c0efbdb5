import os

from support import ProcessTest, main, pattern


class DestinationTest(ProcessTest):
    def setUp(self):
        super().setUp()
        self.write("V/CARD/DCIM/A001/clip.mov", b"movie")

    def copy(self, *arguments):
        self.assert_run(self.run_tool("-o", "0", *arguments), 0, "")

    def test_trailing_slash_makes_a_folder(self):
        self.copy("V/CARD/DCIM/A001/clip.mov", "mnt/backup/")
        self.assertEqual(self.tree("mnt"), {"backup": None, "backup/clip.mov": b"movie"})

    def test_last_component_is_the_file_name(self):
        self.copy("V/CARD/DCIM/A001/clip.mov", "mnt/backup/take2.mov")
        self.assertEqual(self.tree("mnt"), {"backup": None, "backup/take2.mov": b"movie"})

    def test_folder_without_trailing_slash_is_a_file_name(self):
        self.copy("V/CARD/DCIM/A001/clip.mov", "mnt/backup")
        self.assertEqual(self.tree("mnt"), {"backup": b"movie"})

    def test_existing_folder_without_trailing_slash_is_a_file_name_too(self):
        os.makedirs(self.path("mnt/backup"))
        result = self.run_tool("V/CARD/DCIM/A001/clip.mov", "mnt/backup")
        self.assert_run(result, 107, "ERROR: File destination #1 (mnt/backup) already exists.\n")

    def test_bare_file_name_lands_in_the_current_folder(self):
        self.copy("V/CARD/DCIM/A001/clip.mov", "copy.mov")
        self.assertEqual(self.read("copy.mov"), b"movie")

    def test_bare_names_on_both_sides(self):
        self.write("clip.mov", b"here")
        self.assert_run(self.run_tool("clip.mov", "copy.mov"), 0, "")
        self.assertEqual(self.read("copy.mov"), b"here")
        self.assert_list_entries("sha1/copy.mov.sha1",
                                 ["SHA1(../clip.mov)= 0154c0dabe7145db37e0b81bf667e7224abec0ba"])

    def test_depth_rebuilds_folders_at_every_destination(self):
        self.copy("-p", "2", "V/CARD/DCIM/A001/clip.mov", "d1/", "d2/take.mov")
        self.assertEqual(self.tree("d1"), {"DCIM": None, "DCIM/A001": None, "DCIM/A001/clip.mov": b"movie"})
        self.assertEqual(self.tree("d2"), {"DCIM": None, "DCIM/A001": None, "DCIM/A001/take.mov": b"movie"})

    def test_depth_rebuilds_only_folders_that_the_path_has(self):
        self.write("A001/B/clip.mov", b"two deep")
        self.copy("-p", "6", "A001/B/clip.mov", "d/")
        self.assertEqual(self.tree("d"), {"A001": None, "A001/B": None, "A001/B/clip.mov": b"two deep"})

    def test_depth_of_an_absolute_path_ends_at_the_root(self):
        absolute = self.path("clip.mov")
        self.write("clip.mov", b"absolute")
        levels = self.folder.strip("/").split("/")
        self.assertLess(len(levels), 6)
        self.copy("-p", "6", absolute, "d/")
        self.assertEqual(self.read(os.path.join("d", *levels, "clip.mov")), b"absolute")

    def test_rebuilt_folder_is_named_in_messages(self):
        result = self.run_tool("-n", "-p", "1", "V/CARD/DCIM/A001/clip.mov", "d/")
        self.assert_run(result, 0, "Copy completed successfully for destination file (d/A001/clip.mov)\n")

    def test_folder_keeps_its_slash_where_it_is_printed_alone(self):
        result = self.run_tool("-v", "-o", "0", "V/CARD/DCIM/A001/clip.mov", "d1/")
        self.assertIn(b"INFO: verifying d1/\n", result.output)
        self.assertIn(b"verify of destination file #1 (d1/clip.mov) ok.\n", result.output)

    def test_depth_of_a_sequence_uses_the_folder_of_the_identifier(self):
        self.write_frames("R/S/f_%03d.dpx", (1, 2))
        self.copy("-s", "-p", "1", "R/S/f_1-2###.dpx", "d/")
        self.assertEqual(sorted(self.tree("d")), ["S", "S/f_001.dpx", "S/f_002.dpx"])

    def test_folder_blocked_by_a_file_ends_with_101(self):
        self.write("mnt", b"a file")
        result = self.run_tool("V/CARD/DCIM/A001/clip.mov", "ok/", "mnt/backup/")
        self.assert_run(result, 101, "ERROR: Can't create destination folder #2 (mnt/backup/).\n")
        self.assertEqual(self.tree("ok"), {}, "earlier folders stay, nothing is copied")

    def test_folders_that_can_not_be_examined_up_to_the_root_end_with_101(self):
        folder = self.path("mnt") + "/"
        result = self.run_tool("V/CARD/DCIM/A001/clip.mov", folder, faults=["stat =/* 1 * EIO"])
        self.assert_run(result, 101, "ERROR: Can't create destination folder #1 (%s).\n" % folder)

    def test_folder_that_is_a_file_ends_with_101(self):
        self.write("mnt", b"a file")
        result = self.run_tool("V/CARD/DCIM/A001/clip.mov", "mnt/")
        self.assert_run(result, 101, "ERROR: Can't create destination folder #1 (mnt/).\n")

    def test_rebuilt_folder_that_can_not_be_created_is_named(self):
        self.write("d/A001", b"a file")
        result = self.run_tool("-p", "1", "V/CARD/DCIM/A001/clip.mov", "d/")
        self.assert_run(result, 101, "ERROR: Can't create destination folder #1 (d/A001).\n")

    def test_path_longer_than_any_can_be_ends_with_101(self):
        longest = "a/" * 65000
        result = self.run_tool("V/CARD/DCIM/A001/clip.mov", longest)
        self.assert_run(result, 101, "ERROR: Can't create destination folder #1 (%s).\n" % longest)

    def test_dev_null_with_a_slash_is_no_folder(self):
        result = self.run_tool("V/CARD/DCIM/A001/clip.mov", "/dev/null/")
        self.assert_run(result, 101, "ERROR: Can't create destination folder #1 (/dev/null/).\n")

    def test_folder_that_may_not_be_created_ends_with_101(self):
        os.makedirs(self.path("locked"))
        os.chmod(self.path("locked"), 0o555)
        result = self.run_tool_unprivileged("V/CARD/DCIM/A001/clip.mov", "locked/new/")
        self.assert_run(result, 101, "ERROR: Can't create destination folder #1 (locked/new/).\n")


class TotalSizeTest(ProcessTest):
    def total_of(self, identifier):
        result = self.run_tool("-v", "-s", "-n", identifier, "d/")
        self.assertEqual(result.status, 0)
        line = result.output.split(b"\n")[1].decode()
        self.assertTrue(line.startswith("INFO: copied 0 of "), line)
        return int(line.split()[4])

    def test_equal_samples_stand_for_all_frames(self):
        self.write_frames("f%04d.dpx", range(1, 101), 500)
        self.write("f0007.dpx", pattern(9000))  # neither first, nor middle (index 50), nor last
        self.assertEqual(self.total_of("f1-100####.dpx"), 100 * 500)

    def test_different_samples_have_every_frame_measured(self):
        for different in (1, 51, 100):
            with self.subTest(different):
                self.write_frames("x%d/f%%04d.dpx" % different, range(1, 101), 500)
                self.write("x%d/f%04d.dpx" % (different, different), pattern(501))
                self.assertEqual(self.total_of("x%d/f1-100####.dpx" % different), 99 * 500 + 501)
                os.rename(self.path("d"), self.path("d-%d" % different))

    def test_three_frames_are_measured_one_by_one(self):
        self.write_frames("f%04d.dpx", (1, 2, 3), 500)
        self.write("f0002.dpx", pattern(700))
        self.assertEqual(self.total_of("f1-3####.dpx"), 1700)

    def test_four_frames_are_estimated(self):
        self.write_frames("f%04d.dpx", (1, 2, 3, 4), 500)
        self.write("f0002.dpx", pattern(700))  # index 1: not a sample
        self.assertEqual(self.total_of("f1-4####.dpx"), 2000)


class SequenceNamesTest(ProcessTest):
    def copied(self, identifier, names):
        for name in names:
            self.write(name, os.fsencode(name))
        self.assert_run(self.run_tool("-s", "-o", "0", identifier, "d/"), 0, "")
        self.assertEqual(self.tree("d"), {os.path.basename(name): os.fsencode(name) for name in names})

    def test_explicit_name_at_a_destination_names_only_the_hash_list(self):
        self.write_frames("f_%02d.dpx", (1, 2))
        self.assert_run(self.run_tool("-s", "f_1-2##.dpx", "d/other.name"), 0, "")
        self.assertEqual(sorted(self.tree("d")), ["f_01.dpx", "f_02.dpx", "sha1", "sha1/other.name.sha1"])

    def test_seven_digits(self):
        self.copied("A001C003.86400-86402#######.dpx", ["A001C003.%07d.dpx" % n for n in (86400, 86401, 86402)])

    def test_digits_of_other_scripts_are_digits(self):
        self.copied("clip_\u0661-\u0663##.dpx", ["clip_01.dpx", "clip_02.dpx", "clip_03.dpx"])

    def test_characters_count_and_not_bytes(self):
        self.copied("\u00e9t\u00e9_1-2\u00e9##.dpx", ["\u00e9t\u00e9_01.dpx", "\u00e9t\u00e9_02.dpx"])

    def test_bytes_that_are_no_characters_are_kept(self):
        identifier = os.fsdecode(b"\xff\xfe_1-2##.dp\xff")
        self.copied(identifier, [os.fsdecode(b"\xff\xfe_01.dp\xff"), os.fsdecode(b"\xff\xfe_02.dp\xff")])


if __name__ == "__main__":
    main()

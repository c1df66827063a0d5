"""The Python module and the extfs script, on archives that the program makes:
moldex_archive_test.py PROGRAM EXTFS_SCRIPT"""
import contextlib
import os
import struct
import subprocess
import sys
import tempfile
import threading
import unittest

import moldex_archive as qel

PROGRAM, SCRIPT = map(os.path.abspath, sys.argv[1:3])
NUMBERS = b"".join(b"%d\n" % number for number in range(50000))


def run(*command):
    return subprocess.run(command, capture_output=True, check=False)


def stream(kind, data, size=None):
    return struct.pack("<IIQI", kind, 0, len(data) if size is None else size, 0) + data


class ModuleTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(os.chdir, os.getcwd())
        self.addCleanup(self.folder.cleanup)
        os.chdir(self.folder.name)

    def write(self, name, data):
        with open(name, "wb") as file:
            file.write(data)

    def pack(self, **files):
        """Makes a.qel of these files and returns its bytes."""
        for name, data in files.items():
            self.write(name, data)
        packed = run(PROGRAM, "-crf", "a.qel", *(files or ["tree"]))
        self.assertEqual(packed.returncode, 0, packed)
        with open("a.qel", "rb") as file:
            return file.read()

    def read(self, path="a.qel"):
        with qel.Archive(path) as archive:
            return [(entry, b"".join(archive.pieces())) for entry in archive]

    def module(self, *arguments):
        return run(sys.executable, "-m", "moldex_archive", *arguments)

    def make_tree(self):
        os.makedirs("tree/sub")
        self.write("tree/sub/numbers", NUMBERS)
        self.write("tree/ ü -> x", b"x")
        os.symlink("sub/numbers", "tree/link")
        os.utime("tree/sub/numbers", (1, 1600000000))
        os.chmod("tree/sub/numbers", 0o640)
        self.pack()

    def test_gives_what_was_packed(self):
        self.make_tree()
        entries = {entry.name: (entry, data) for entry, data in self.read()}
        self.assertEqual(list(entries), ["tree", "tree/ ü -> x", "tree/link", "tree/sub", "tree/sub/numbers"])
        entry, data = entries["tree/sub/numbers"]
        self.assertEqual((data, entry.size, entry.permissions()), (NUMBERS, len(NUMBERS), "-rw-r-----"))
        self.assertEqual((entry.seconds, entry.ticks, str(entry.time)), (1600000000, 0, "2020-09-13 12:26:40+00:00"))
        self.assertEqual(entries["tree/link"][0].link_target, "sub/numbers")
        self.assertIsNone(entry.link_target)
        self.assertEqual([entry.type for entry, _ in entries.values()],
                         [qel.DIRECTORY, qel.FILE, qel.SYMBOLIC_LINK, qel.DIRECTORY, qel.FILE])
        self.assertEqual(self.module("-x", "tree/sub/numbers", "a.qel").stdout, NUMBERS)
        for name in "tree", "tree/link":
            refused = self.module("-x", name, "a.qel")
            self.assertEqual((refused.returncode, refused.stdout), (1, b""))
            self.assertRegex(refused.stderr.decode(), f"^moldex_archive: {name} is a .*, not a file\n$")
        self.assertEqual(repr(entry), "<Entry 'tree/sub/numbers': -rw-r-----, 288890 bytes>")
        self.assertEqual(self.module("-t", "a.qel").stdout, b"5 entries, 0 damaged\n")
        self.assertIn(b"-rw-r-----       288890 2020-09-13 12:26:40 tree/sub/numbers\n", self.module("-l", "a.qel").stdout)

    def test_takes_the_last_of_several(self):
        self.pack(a=b"first")
        self.write("a", b"second")
        run(PROGRAM, "-af", "a.qel", "a")
        self.assertEqual(self.module("-x", "a", "a.qel").stdout, b"second")
        self.assertEqual(self.module("-x", "b", "a.qel").returncode, 1)

    def test_finds_the_file_in_a_backup_stream(self):
        whole = b"before" + bytes(100000) + b"after"
        backup = stream(3, b"security") + stream(1, b"before") + stream(9, struct.pack("<Q", 100006) + b"after")
        archive = self.pack(a=backup)
        # In long-name mode, with 2020-09-13 12:26:40.1234567 as the time and "hidden" as an attribute.
        mode = struct.pack("<I", 0x40180)
        time = struct.pack("<Q", (1600000000 + 11644473600) * 10**7 + 1234567)
        self.write("long.qel", b"VUK\0002.00RG" + mode + archive[14:26] + time + archive[34:])
        entry, data = self.read("long.qel")[0]
        self.assertEqual((data, entry.size), (whole, len(backup)))
        self.assertEqual((entry.seconds, entry.ticks, entry.attributes), (1600000000, 1234567, 2))
        with qel.Archive("long.qel") as opened:
            next(iter(opened))
            self.assertEqual(list(opened.placed_pieces(stored=True)), [(0, backup, True)])
        self.assertEqual(self.read()[0][1], backup)  # without long names it is a file

    def test_damage_ends_in_a_failure(self):
        archive = self.pack(a=b"some text, some text", b=NUMBERS[:300])
        undamaged = [data for _, data in self.read()]
        for place in range(len(archive)):
            for damaged in (archive[:place], archive[:place] + bytes([archive[place] ^ 0x55]) + archive[place + 1:]):
                self.write("a.qel", damaged)
                with contextlib.suppress(qel.Error):
                    self.assertLessEqual(len(self.read()), len(undamaged))
        self.write("a.qel", archive[:-1] + bytes([archive[-1] ^ 1]))
        with self.assertRaises(qel.Error) as raised:
            self.read()
        self.assertEqual((raised.exception.status, str(raised.exception)), (qel.BAD_DATA, "checksum error in b"))
        self.assertEqual(self.module("-t", "a.qel").stdout, b"2 entries, 1 damaged\n")

    def test_wrong_use_and_bad_output_end_in_a_message(self):
        self.make_tree()
        archive = qel.Archive("a.qel")
        for use, text in (lambda: next(archive.pieces()), "no entry"), (lambda: next(iter(archive)), "closed"):
            with self.assertRaisesRegex(qel.Error, text):
                use()
            archive.close()
        with self.assertRaises(ValueError):
            qel.Archive("a.qel\0")
        command = [sys.executable, "-m", "moldex_archive", "-l", "a.qel"]
        with open("/dev/full", "wb") as full:
            failed = subprocess.run(command, stdout=full, stderr=subprocess.PIPE, check=False)
        self.assertRegex(failed.stderr, rb"^moldex_archive: standard output: .*\n$")
        listed = subprocess.run(command, capture_output=True, env=os.environ | {"PYTHONIOENCODING": "ascii"}, check=True)
        self.assertIn(rb"tree/ \xfc -> x", listed.stdout)

    def test_archives_in_several_threads(self):
        self.make_tree()
        results = []
        threads = [threading.Thread(target=lambda: results.append(self.read()[-1][1])) for _ in range(8)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(results, [NUMBERS] * 8)

    def test_shows_an_archive_to_midnight_commander(self):
        self.make_tree()
        lines = run(SCRIPT, "list", "a.qel").stdout.decode().splitlines()
        self.assertRegex(lines[1], r"^-rw\S+ 1 0 0 1 \d\d-\d\d-\d{4} \d\d:\d\d:\d\d tree/ ü -> x$")
        self.assertTrue(lines[2].startswith("l") and lines[2].endswith(" tree/link -> sub/numbers"), lines)
        copied = run(SCRIPT, "copyout", "a.qel", "tree/sub/numbers", "out")
        with open("out", "rb") as file:
            self.assertEqual((copied.returncode, file.read()), (0, NUMBERS))
        archive = self.pack(abcde=b"")
        for name, shown in (b"../xy", b""), (b"/etc/", b"etc"), (b"a\nbcd", b""), (b"./ab/", b"ab"):
            self.write("a.qel", archive.replace(b"abcde", name))
            self.assertEqual(run(SCRIPT, "list", "a.qel").stdout.split(b" ")[-1].strip(), shown)
        self.assertIn(b"is no .QEL archive", run(SCRIPT, "list", "abcde").stderr)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])

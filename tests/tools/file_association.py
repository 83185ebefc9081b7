"""The association of our files, installed into an empty prefix and judged by the desktop's own programs."""
import configparser
import os
import shlex
import struct
import subprocess
import tempfile
import unittest

BUILD = os.environ["OC_BUILD_DIR"]
CMAKE = os.environ["OC_CMAKE"]
PROGRAM = os.environ["OC_SETTINGS_PROGRAM"]


class Association(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.prefix = folder.name
        subprocess.run([CMAKE, "--install", BUILD, "--prefix", self.prefix, "--component", "association"], check=True,
                       capture_output=True, timeout=60)

    def read(self, name):
        with open(os.path.join(self.prefix, name), "rb") as stream:
            return stream.read()

    def test_the_database_of_types_takes_our_names_and_magic(self):
        done = subprocess.run(["update-mime-database", os.path.join(self.prefix, "share/mime")], capture_output=True,
                              text=True, timeout=60,
                              env=os.environ | {"XDG_DATA_DIRS": os.path.join(self.prefix, "share")})
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        globs = self.read("share/mime/globs2").decode().splitlines()
        for line in ("50:application/x-ochrine-preset:*.ocpreset", "50:application/x-ochrine-grade:*.ocgrade",
                     "50:application/x-asc-cdl+xml:*.cdl", "50:application/x-asc-cdl+xml:*.ccc"):
            self.assertIn(line, globs)
        magic = self.read("share/mime/magic")
        self.assertIn(b"[60:application/x-ochrine-preset]\n>4=\x00\x04\x11\x22\x33\x44", magic)
        for version in (1, 2, 3, 5):
            self.assertIn(b"1>0=\x00\x04" + struct.pack(">I", version), magic)
        self.assertIn(b"[60:application/x-ochrine-grade]\n>0=\x00\x04" + struct.pack("<I", 0x12343210), magic)

    def test_the_desktop_entry_opens_exactly_these_types_with_a_program_of_ours(self):
        entry = configparser.ConfigParser(interpolation=None, delimiters="=")
        entry.optionxform = str
        entry.read_string(self.read("share/applications/ochrine-settings.desktop").decode())
        entry = entry["Desktop Entry"]
        types = self.read("share/mime/packages/ochrine.xml").decode()
        for kind in entry["MimeType"].strip(";").split(";"):
            self.assertIn(f'type="{kind}"', types)
        self.assertEqual(entry["TryExec"], os.path.basename(PROGRAM))

    def test_the_command_of_the_entry_shows_a_file_with_any_name(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "-a $(touch evil) 'b' \"c\".ocpreset")
            with open(path, "wb") as stream:
                stream.write(struct.pack(">II", 2, 0x11223344))
            with open(os.path.join(folder, "less"), "w", encoding="utf-8") as stream:
                stream.write("#!/bin/sh\nexec cat\n")
            os.chmod(os.path.join(folder, "less"), 0o755)
            os.symlink(PROGRAM, os.path.join(folder, "ochrine-settings"))
            entry = self.read("share/applications/ochrine-settings.desktop").decode()
            line = next(l for l in entry.splitlines() if l.startswith("Exec="))[len("Exec="):]
            # A value is unescaped once as a text of the file, then as a quoted argument.
            line = line.replace("\\\\", "\\").replace("\\$", "$")
            words = [path if word == "%f" else word for word in shlex.split(line)]
            done = subprocess.run(words, capture_output=True, text=True, timeout=60, cwd=folder,
                                  env={"PATH": folder + ":/usr/bin:/bin"})
            self.assertIn('"kind": "ocpreset"', done.stdout)
            self.assertNotIn("evil", os.listdir(folder))


if __name__ == "__main__":
    unittest.main()

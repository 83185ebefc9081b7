"""What every file of the project keeps: its texts, its headers, its seeds."""
import os
import re
import tempfile
import unittest

import tree

TEXT = (".c", ".cpp", ".h", ".py", ".md", ".txt", ".json", ".cmake", ".yml", ".sh", ".cfg", "")

# A text refers to what a reader of the repository has. The patterns are written so that they do not match themselves.
UNREACHABLE = [
    (re.compile(r"speci[f]ication", re.IGNORECASE), "another document"),
    (re.compile(r"\b(the|this) spe[c]\b", re.IGNORECASE), "another document"),
    (re.compile(r"\bspe[c]\.md|\bhouse-styl[e]\b|\bdesig[n]\.md"), "another document"),
    (re.compile(r"\bPart[s]? [0-9]+\.[0-9]"), "a numbered part of another document"),
    (re.compile(r"\b[Ii]ssue[s]? #?[0-9]"), "a ticket"),
    (re.compile(r"/(work|root|farm)/[a-z.]|/home/[a-z]"), "a path of one machine"),
    (re.compile(r"\b(deb|snapshot|security)\.debian[.]org|registry\.npmjs[.]org|pypi[.]org"), "a server of packages"),
]


def broken_texts(folder):
    found = []
    for name in tree.tracked(folder):
        if os.path.splitext(name)[1] not in TEXT:
            continue
        try:
            lines = tree.text(folder, name).splitlines()
        except UnicodeDecodeError:
            if name.startswith("fuzz/corpora/") or os.path.splitext(name)[1] == "":
                continue
            found.append(f"{name}: is not UTF-8")
            continue
        if name.startswith("fuzz/corpora/"):
            continue
        for number, line in enumerate([name, *lines]):
            for pattern, what in UNREACHABLE:
                if pattern.search(line):
                    found.append(f"{name}:{number}: names {what}: {line.strip()}")
    return found


def broken_headers(folder):
    """Headers that can be read twice. A header for C may use its own guard."""
    found = []
    for name in tree.tracked(folder):
        if not name.endswith(".h") or not name.startswith(("src/", "app/", "host/", "tests/")):
            continue
        text = tree.text(folder, name)
        if re.search(r"^#pragma once$", text, re.MULTILINE):
            continue
        if name.endswith("-inl.h") and "defined(HWY_TARGET_TOGGLE)" in text:
            continue   # read once for every instruction set
        guard = re.search(r"^#ifndef (\w+)\n#define (\w+)\n", text, re.MULTILINE)
        if not (name.startswith("host/") and guard and guard.group(1) == guard.group(2)):
            found.append(f"{name}: has no #pragma once")
    return found


def broken_heads(folder):
    """Headers of ours begin with a comment: the job and the one thing to know."""
    return [f"{name}: does not begin with a comment" for name in tree.tracked(folder)
            if name.endswith(".h") and name.startswith(("src/", "host/"))
            and not tree.text(folder, name).lstrip().startswith(("//", "/*"))]


def broken_seeds(folder):
    """Fuzz targets without seeds, seeds without a target, targets that the build does not know."""
    found = []
    names = tree.tracked(folder)
    listed = tree.text(folder, "fuzz/CMakeLists.txt") if "fuzz/CMakeLists.txt" in names else ""
    readers = {match.group(1) for match in (re.match(r"^fuzz/(\w+)_fuzz\.cpp$", n) for n in names) if match}
    seeded = {match.group(1) for match in (re.match(r"^fuzz/corpora/(\w+)/.+$", n) for n in names) if match}
    for reader in sorted(readers - seeded):
        found.append(f"fuzz/{reader}_fuzz.cpp has no seeds in fuzz/corpora/{reader}/")
    for reader in sorted(seeded - readers):
        found.append(f"fuzz/corpora/{reader}/ has seeds, but there is no fuzz/{reader}_fuzz.cpp")
    for reader in sorted(readers):
        if not re.search(r"\boc_fuzz\(\s*" + reader + r"\b", listed):
            found.append(f"fuzz/CMakeLists.txt does not build {reader}_fuzz")
    return found


def broken_lists(folder):
    """Sources that no build list names: not compiled, or, for headers, not compiled alone."""
    found = []
    names = tree.tracked(folder)
    lists = {os.path.dirname(n): tree.text(folder, n) for n in names if os.path.basename(n) == "CMakeLists.txt"}
    for name in names:
        if not name.endswith(tree.SOURCE) or not name.startswith(("src/", "app/", "host/", "tests/", "bench/")):
            continue
        if name.startswith("tests/") and name.endswith(".h"):
            continue   # what tests share is compiled with them
        # Lists of tests may name the module alone.
        short = re.compile(r"(_test|_bench)?\.cpp$" if name.startswith(("tests/", "bench/")) else r"\Z")
        if not any(re.search(r"(?<![\w./-])" + re.escape(wanted) + r"(?![\w./-])", text)
                   for place, text in lists.items() for path in [os.path.relpath(name, place or ".")]
                   for wanted in (path, short.sub("", path))):
            found.append(f"{name}: no CMakeLists.txt names it")
    return found


def broken_installs(folder):
    """Pages of the manual that are installed with no program, or stay behind."""
    lists = "\n".join(tree.text(folder, n) for n in tree.tracked(folder) if os.path.basename(n) == "CMakeLists.txt")
    found = []
    for page in tree.tracked(folder):
        if not re.fullmatch(r"man/[^/]+\.1", page):
            continue
        program = re.escape(page[len("man/"):-len(".1")])
        if not re.search(r"^install\(TARGETS " + program + " RUNTIME ", lists, re.MULTILINE):
            found.append(f"{page}: its program is not installed")
        if not re.search(r"^install\(FILES \S*/" + re.escape(page) + " ", lists, re.MULTILINE):
            found.append(f"{page}: is not installed")
    return found


class Tree(unittest.TestCase):
    def sound(self, broken):
        self.assertFalse(broken, "\n" + "\n".join(broken))

    def setUp(self):
        self.root = tree.root()

    def test_texts_refer_to_what_is_here(self):
        self.sound(broken_texts(self.root))

    def test_headers_can_be_read_twice(self):
        self.sound(broken_headers(self.root))

    def test_headers_begin_with_a_comment(self):
        self.sound(broken_heads(self.root))

    def test_every_source_is_built(self):
        self.sound(broken_lists(self.root))

    def test_every_program_with_a_manual_is_installed(self):
        self.sound(broken_installs(self.root))

    def test_every_reader_has_seeds(self):
        self.sound(broken_seeds(self.root))


class SelfTest(unittest.TestCase):
    """The checks catch what they are for."""

    def broken(self, check, files):
        with tempfile.TemporaryDirectory() as folder:
            tree.write_tree(folder, files)
            return check(folder)

    def test_texts(self):
        for line in ("see the speci" + "fication", "As the spe" + "c says", "Part" + " 2.3 tells", "issu" + "e 12",
                     "read /wor" + "k/main/x", "/hom" + "e/me/clip.mov", "http://deb.debian" + ".org/debian"):
            with self.subTest(line=line):
                self.assertEqual(len(self.broken(broken_texts, {"src/a.h": "// fine\n" + line + "\n"})), 1)
        self.assertEqual(self.broken(broken_texts, {"README.md": "A part of a session; specific; network/reader.\n",
                                                    "fuzz/corpora/X/seed.txt": "Part" + " 2.3"}), [])
        self.assertEqual(len(self.broken(broken_texts, {"docs/the-speci" + "fication.md": "\n"})), 1)

    def test_headers(self):
        guard = "/* c */\n#ifndef A_H\n#define A_H\n#endif\n"
        self.assertEqual(self.broken(broken_headers, {"src/a.h": "// a\n#pragma once\n", "host/a.h": guard}), [])
        self.assertEqual(len(self.broken(broken_headers, {"src/a.h": guard, "host/b.h": "// b\n"})), 2)
        self.assertEqual(len(self.broken(broken_heads, {"src/a.h": "#pragma once\n// late\n"})), 1)

    def test_lists(self):
        sound = {"src/CMakeLists.txt": "oc_library(core SOURCES A.cpp linux/B.cpp HEADERS A.h)\n", "src/A.cpp": "",
                 "src/A.h": "", "src/linux/B.cpp": ""}
        self.assertEqual(self.broken(broken_lists, sound), [])
        for name in ("src/C.cpp", "src/B.cpp", "src/linux/A.cpp", "src/A.c", "host/A.cpp", "tests/B_test.cpp"):
            with self.subTest(name=name):
                self.assertEqual(len(self.broken(broken_lists, sound | {name: ""})), 1)

    def test_installs(self):
        sound = ["add_executable(a main.cpp)", "install(TARGETS a RUNTIME DESTINATION bin)",
                 "install(FILES ${CMAKE_SOURCE_DIR}/man/a.1 DESTINATION share/man/man1)"]
        for left_out, count in ((None, 0), (1, 1), (2, 1)):
            lines = "\n".join(line for i, line in enumerate(sound) if i != left_out) + "\n"
            self.assertEqual(len(self.broken(broken_installs, {"tools/a/CMakeLists.txt": lines, "man/a.1": ""})), count)

    def test_seeds(self):
        sound = {"fuzz/Block_fuzz.cpp": "", "fuzz/corpora/Block/a": "x", "fuzz/CMakeLists.txt": "oc_fuzz(Block S x)"}
        self.assertEqual(self.broken(broken_seeds, sound), [])
        self.assertEqual(len(self.broken(broken_seeds, sound | {"fuzz/corpora/Other/a": "x"})), 1)
        self.assertEqual(len(self.broken(broken_seeds, sound | {"fuzz/CMakeLists.txt": "oc_fuzz(Blocks)"})), 1)
        self.assertEqual(len(self.broken(broken_seeds, {"fuzz/Block_fuzz.cpp": "", "fuzz/CMakeLists.txt":
                                                        "oc_fuzz(Block)"})), 1)


if __name__ == "__main__":
    unittest.main()

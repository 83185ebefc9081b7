"""The shared library as a host meets it: what it exports, the two examples, and an installation.

Arguments: source folder, build folder, the library, the example in C, and "sanitised" when the library cannot be loaded
by a foreign program.
"""
import ctypes
import os
import random
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCE, BUILD, LIBRARY, EXAMPLE, IS_SANITISED = (*sys.argv[1:5], "sanitised" in sys.argv[5:])
HEADER = os.path.join(SOURCE, "host/ochrine.h")
WIDTH, HEIGHT = 61, 37


def run(*command, **more):
    return subprocess.run(command, capture_output=True, timeout=120, **more)


def picture():
    dice = random.Random(7)
    return bytes(dice.randrange(256) for _ in range(WIDTH * HEIGHT * 3))


def words_of(colours):
    """As the examples take them: blue, green, red, alpha."""
    return b"".join(bytes((colours[i + 2], colours[i + 1], colours[i], 255)) for i in range(0, len(colours), 3))


def load():
    library = ctypes.CDLL(LIBRARY)
    library.ochrine_grade_set_key.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_double]
    library.ochrine_grade_save.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_uint32]
    library.ochrine_grade_switch.argtypes = [ctypes.c_void_p, ctypes.c_uint32, ctypes.c_int]
    library.ochrine_version.restype = ctypes.c_char_p
    return library


def write_grade(path, kind):
    """Red times a half and a pedestal on blue: plain enough to be computed here too."""
    library = load()
    grade = ctypes.c_void_p()
    assert library.ochrine_grade_create(ctypes.byref(grade)) == 0
    assert library.ochrine_grade_set_key(grade, b"rgb_master_r_gain", 0.5) == 0
    assert library.ochrine_grade_set_key(grade, b"rgb_master_b_ped", 0.25) == 0
    assert library.ochrine_grade_switch(grade, 192, 1) == 0
    assert library.ochrine_grade_save(grade, os.fsencode(path), kind) == 0
    library.ochrine_grade_destroy(ctypes.c_void_p(grade.value))


def expected(colours):
    """Cut to whole numbers after a bias of 1/512, as pixels leave the engine."""
    out = bytearray()
    for i in range(0, len(colours), 3):
        red, green, blue = (c / 255 for c in colours[i:i + 3])
        out += bytes(int(min(max(v + 1 / 512, 0), 1) * 255) for v in (red * 0.5, green, blue + 0.25))
    return bytes(out)


class Names(unittest.TestCase):
    def test_the_library_shows_the_functions_of_its_header_and_nothing_else(self):
        names = run("nm", "-D", "--defined-only", LIBRARY).stdout.decode().split("\n")
        shown = {re.sub(r"@.*", "", line.split()[-1]) for line in names if line}
        with open(HEADER) as file:
            told = set(re.findall(r"^OCHRINE_API[^(]*?\b(ochrine_\w+)\(", file.read(), re.MULTILINE))
        self.assertGreater(len(told), 25)
        self.assertEqual(shown, told | {"ochrine_1"})

    def test_it_has_a_soname_and_needs_no_more_than_it_uses(self):
        text = run("readelf", "-d", LIBRARY).stdout.decode()
        self.assertIn("soname: [libochrine.so.1]", text)
        for foreign in ("Qt", "avcodec", "sqlite", "xml2", "zimg"):
            self.assertNotIn(foreign, text)

    def test_the_header_is_plain_c99_and_c_plus_plus(self):
        for language, standard in (("c", "c99"), ("c", "c11"), ("c++", "c++98"), ("c++", "c++20")):
            done = run("c++" if language == "c++" else "cc", "-x", language, f"-std={standard}", "-Wall", "-Wextra",
                       "-Werror", "-fsyntax-only", "-include", HEADER, "/dev/null")
            self.assertEqual((done.returncode, done.stderr), (0, b""), standard)


@unittest.skipIf(IS_SANITISED, "a sanitized library cannot be loaded by a foreign program")
class Examples(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.folder)
        self.colours = picture()

    def start(self, program, grade, pixels, size=(WIDTH, HEIGHT), env=None):
        return run(*program, grade, *map(str, size), input=pixels, env={**os.environ, **(env or {})})

    def render(self, *program, kind=0, env=None):
        grade = os.path.join(self.folder, "grade")
        write_grade(grade, kind)
        done = self.start(program, grade, words_of(self.colours), env=env)
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        return done.stdout

    def test_the_example_in_c_renders_the_grade(self):
        for kind in (0, 1):
            self.assertEqual(self.render(EXAMPLE, kind=kind), words_of(expected(self.colours)))

    def test_the_example_in_python_renders_the_same(self):
        program = os.path.join(SOURCE, "host/examples/render_picture.py")
        self.assertEqual(self.render(sys.executable, "-B", program, env={"OCHRINE_LIBRARY": LIBRARY}),
                         words_of(expected(self.colours)))

    def test_both_say_what_is_wrong(self):
        good, bad = os.path.join(self.folder, "good"), os.path.join(self.folder, "bad")
        write_grade(good, 0)
        with open(bad, "wb") as file:
            file.write(b"no grade")
        program = os.path.join(SOURCE, "host/examples/render_picture.py")
        pixels = words_of(self.colours)
        for command in ([EXAMPLE], [sys.executable, "-B", program]):
            for grade, words, size, says in ((bad, pixels, (WIDTH, HEIGHT), b"this is no grade"),
                                             (good, pixels[:-1], (WIDTH, HEIGHT), b"argument"),
                                             (good, b"", (WIDTH, HEIGHT), b"argument"),
                                             (good, pixels, (0, HEIGHT), b"argument")):
                done = self.start(command, grade, words, size, {"OCHRINE_LIBRARY": LIBRARY})
                self.assertEqual((done.returncode, done.stdout), (1, b""), (command, says))
                self.assertIn(says, done.stderr)

    def test_a_program_that_does_not_ask_hears_nothing_and_one_that_does_hears_the_log(self):
        script = ("import ctypes, sys\n"
                  "o = ctypes.CDLL(sys.argv[1])\n"
                  "lines = []\n"
                  "log = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.POINTER(ctypes.c_char), ctypes.c_size_t)(\n"
                  "    lambda context, text, count: lines.append(text[:count]))\n"
                  "if sys.argv[2] == 'ask': o.ochrine_set_log(log, None)\n"
                  "r = ctypes.c_void_p()\n"
                  "assert o.ochrine_renderer_create(1, ctypes.byref(r)) == 0\n"
                  "assert (len(lines) > 0) == (sys.argv[2] == 'ask'), lines\n")
        for word in ("ask", "silent"):
            done = run(sys.executable, "-B", "-c", script, LIBRARY, word)
            self.assertEqual((done.returncode, done.stdout, done.stderr), (0, b"", b""), word)

    def test_an_installation_is_found_by_pkg_config(self):
        prefix = os.path.join(self.folder, "usr")
        done = run("cmake", "--install", BUILD, "--component", "library", "--prefix", prefix)
        self.assertEqual(done.returncode, 0, done.stderr)
        found = [os.path.join(where, name) for where, _, names in os.walk(prefix) for name in names]
        self.assertEqual(sorted(os.path.basename(f) for f in found),
                         ["libochrine.so", "libochrine.so.1", "libochrine.so.1.0.0", "ochrine.h", "ochrine.pc"])
        pc = next(f for f in found if f.endswith(".pc"))
        env = {**os.environ, "PKG_CONFIG_PATH": os.path.dirname(pc)}
        wanted = run("pkg-config", f"--define-variable=prefix={prefix}", "--cflags", "--libs", "ochrine", env=env)
        self.assertEqual(wanted.returncode, 0, wanted.stderr)
        version = run("pkg-config", "--modversion", "ochrine", env=env).stdout.decode().strip()
        self.assertEqual(version, load().ochrine_version().decode())
        program = os.path.join(self.folder, "render_picture")
        built = run("cc", "-std=c99", "-o", program, os.path.join(SOURCE, "host/examples/render_picture.c"),
                    *wanted.stdout.decode().split())
        self.assertEqual((built.returncode, built.stderr), (0, b""))
        libraries = os.path.dirname(os.path.dirname(pc))
        self.assertEqual(self.render(program, env={"LD_LIBRARY_PATH": libraries}), words_of(expected(self.colours)))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])

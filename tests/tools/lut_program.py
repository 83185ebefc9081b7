"""ochrine-lut as a user runs it: what it writes, measures and answers."""
import json
import os
import stat
import struct
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree

PROGRAM = os.environ["OC_LUT_PROGRAM"]
SOURCE = os.environ["OC_SOURCE_DIR"]
GOLDEN = os.path.join(SOURCE, "tests", "golden")
TARGETS = {"academy": "lut", "lustre": "3dl", "flame": "3dl", "smoke": "3dl", "generic": "3dl", "cinetal": "a3d",
           "hdlink": "3dl", "luther": "txt", "panavision": "txt", "pogle": "m3d", "scratch": "lut",
           "truelight": "cube", "autodesk-pre-3.0": "3dl", "cube": "cube", "clf": "clf"}
CDL = b"""<ColorDecisionList xmlns="urn:ASC:CDL:v1.01"><ColorDecision><ColorCorrection><SOPNode>
<Slope>0.5 0.5 0.5</Slope><Offset>0.25 0.25 0.25</Offset><Power>1 1 1</Power></SOPNode></ColorCorrection>
</ColorDecision></ColorDecisionList>"""


def golden(name):
    return os.path.join(GOLDEN, name, "settings")


def cube_rows(text):
    return [tuple(float(number) for number in line.split()) for line in text.splitlines()
            if line and line[0] in "-0123456789"]


class Program(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def path(self, name):
        return os.path.join(self.folder, name)

    def text(self, name):
        with open(self.path(name), encoding="utf-8") as stream:
            return stream.read()

    def run_tool(self, *arguments, code=0):
        environment = {"PATH": os.environ.get("PATH", ""), "LC_ALL": "C.UTF-8"}  # no display, no runtime folder
        done = subprocess.run([PROGRAM, *arguments], capture_output=True, text=True, stdin=subprocess.DEVNULL,
                              timeout=120, env=environment, cwd=self.folder)
        self.assertEqual(done.returncode, code, done.stdout + done.stderr)
        return done

    def report(self, *arguments, code=0):
        return json.loads(self.run_tool("--json", *arguments, code=code).stdout)

    # Tables -----------------------------------------------------------------------------------------------------------

    def test_every_target_is_listed_written_and_measured(self):
        listed = [line.split()[0] for line in self.run_tool("--list").stdout.splitlines()]
        self.assertEqual(listed, list(TARGETS))
        for target, extension in TARGETS.items():
            with self.subTest(target=target):
                name = f"{target}.{extension}"
                report = self.report("--target", target, golden("0002-hsl-master"), name)
                self.assertEqual(report["target"], target)
                self.assertEqual(report["out"], name)
                self.assertGreater(os.path.getsize(self.path(name)), 50000)
                self.assertLessEqual(report["trilinear"]["mean"], report["trilinear"]["p99"])
                self.assertLessEqual(report["trilinear"]["p99"], report["trilinear"]["max"])

    def test_a_neutral_grade_is_exact_within_the_steps_of_the_target(self):
        steps = {"cube": 1e-6, "clf": 1e-6, "truelight": 3e-6, "cinetal": 1 / 65535, "pogle": 1 / 65535,
                 "luther": 1 / 876, "panavision": 1 / 876, "scratch": 1 / 1023}
        for target in TARGETS:
            with self.subTest(target=target):
                report = self.report("--target", target, golden("0001-neutral"))
                self.assertLessEqual(report["trilinear"]["max"], steps.get(target, 1 / 4095))
                self.assertLessEqual(report["tetrahedral"]["max"], steps.get(target, 1 / 4095))
                self.assertEqual(report["tools"], [])

    def test_more_points_make_the_difference_smaller(self):
        means = [self.report("--target", "cube", "--points", str(points), golden("0007-rgb-and-cmy"))["trilinear"]["mean"]
                 for points in (17, 33, 65)]
        self.assertGreater(means[0], means[1] * 1.5)
        self.assertGreater(means[1], means[2] * 1.5)

    def test_a_cube_holds_its_size_and_its_rows_red_fastest(self):
        self.run_tool("--points=2", "--quiet", self.cdl(), "look.cube")
        text = self.text("look.cube")
        self.assertIn("\nLUT_3D_SIZE 2\n", text)
        self.assertIn('TITLE "look.cube"\n', text)
        rows = cube_rows(text)
        self.assertEqual(len(rows), 8)
        self.assertEqual(rows[0], (0.25, 0.25, 0.25))
        self.assertEqual(rows[1], (0.75, 0.25, 0.25))
        self.assertEqual(rows[-1], (0.75, 0.75, 0.75))

    def test_a_clf_is_well_formed(self):
        self.run_tool("--quiet", "--points", "17", golden("0005-rgb"), "a & b.clf")
        root = ElementTree.parse(self.path("a & b.clf")).getroot()
        self.assertEqual(root.attrib["compCLFversion"], "3")
        self.assertEqual(root.attrib["id"], "a & b.clf")
        array = root.find("LUT3D/Array")
        self.assertEqual(array.attrib["dim"], "17 17 17 3")
        self.assertEqual(len(array.text.split()), 17 ** 3 * 3)

    def test_an_academy_table_is_well_formed(self):
        self.run_tool("--quiet", "--target", "academy", golden("0005-rgb"), 'x "<y>.lut')
        root = ElementTree.parse(self.path('x "<y>.lut')).getroot()
        self.assertEqual(root.attrib["id"], 'x "<y>.lut')
        array = root.find("{urn:NATAS:ASC:LUT:v0.95}LUT3D/{urn:NATAS:ASC:LUT:v0.95}Array")
        self.assertEqual(len(array.text.split()), 4913 * 3)

    def cdl(self):
        with open(self.path("look.cdl"), "wb") as stream:
            stream.write(CDL)
        return "look.cdl"

    def test_grades_of_every_kind_are_taken(self):
        report = self.report("--target", "cube", self.cdl())
        self.assertEqual([tool["name"] for tool in report["tools"]], ["RGB master"])
        self.assertLess(report["trilinear"]["max"], 1e-4)
        with open(self.path("empty.ocpreset"), "wb") as stream:
            stream.write(struct.pack(">II", 2, 0x11223344))
        self.assertEqual(self.report("--target", "cube", "empty.ocpreset")["tools"], [])

    def test_a_preset_and_the_record_it_came_from_give_the_same_table(self):
        for name in ("0023-limiter-luma", "0027-secondaries-and-limiter-last"):
            with self.subTest(grade=name):
                subprocess.run([os.environ["OC_SETTINGS_PROGRAM"], "convert", golden(name), self.path("x.ocpreset")],
                               check=True, capture_output=True, timeout=60)
                tables = []
                for grade in (golden(name), "x.ocpreset"):
                    report = self.report("--target", "cube", "--points", "9", grade, "look.cube")
                    self.assertIn("Limiter", [tool["name"] for tool in report["tools"]])
                    tables.append(cube_rows(self.text("look.cube")))
                self.assertEqual(tables[0], tables[1])
        self.assertLess(max(tables[1][-1]), 0.99)  # white is held

    # The report -------------------------------------------------------------------------------------------------------

    def test_tools_are_named_in_the_order_of_the_pipeline(self):
        report = self.report("--target", "lustre", golden("0027-secondaries-and-limiter-last"))
        names = [tool["name"] for tool in report["tools"]]
        self.assertEqual(names[-7:], [f"Secondary {letter}" for letter in "ABCDEF"] + ["Limiter"])
        self.assertEqual(names[0], "Input highlight recovery")
        self.assertEqual(report["tools"][0]["remark"], "above white it cannot be carried")

    def test_previews_that_are_baked_are_noted(self):
        notes = self.report("--target", "cube", golden("0017-secondary-mask"))["notes"]
        self.assertTrue(any("Secondary" in note and "preview" in note for note in notes), notes)
        notes = self.report("--target", "cube", golden("0025-limiter-preview"))["notes"]
        self.assertTrue(any("limiter" in note for note in notes), notes)
        notes = self.report("--target", "cube", golden("0001-neutral"))["notes"]
        self.assertEqual(len(notes), 1)

    def test_an_odd_name_is_still_json(self):
        done = subprocess.run([os.fsencode(PROGRAM), b"--json", golden("0001-neutral").encode(), b'a"\\\n\xff.cube'],
                              capture_output=True, timeout=120, cwd=self.folder)
        self.assertEqual(json.loads(done.stdout.decode())["out"], 'a"\\\n\ufffd.cube')

    def test_a_grade_without_finite_values_is_no_exact_one(self):
        neutral = struct.pack(">12f", *[1, 1, 0] * 4)
        for value in (float("inf"), float("nan")):
            master = struct.pack(">I12f", 1, 1, 1, value, *[1, 1, 0] * 3)
            chunk = master + (struct.pack(">I", 0) + neutral) * 3
            with open(self.path("wild.ocpreset"), "wb") as stream:
                stream.write(struct.pack(">IIIIIII", 2, 0x11223344, 16, 4, 1, 30, len(chunk)) + chunk)
            with self.subTest(value=value):
                def refuse(word):
                    raise AssertionError(word)
                done = self.run_tool("--json", "--target", "lustre", "--max-error", "0.5", "wild.ocpreset", code=1)
                report = json.loads(done.stdout, parse_constant=refuse)
                self.assertIsNone(report["trilinear"]["max"])
                self.assertTrue(any("infinite or no numbers" in note for note in report["notes"]), report["notes"])

    def test_what_the_target_cuts_is_told(self):
        with open(self.path("bright.cdl"), "wb") as stream:
            stream.write(CDL.replace(b"0.5 0.5 0.5", b"2 2 2"))
        self.assertGreater(self.report("--target", "scratch", "bright.cdl")["trilinear"]["outside"], 0.3)
        self.assertEqual(self.report("--target", "cube", "bright.cdl")["trilinear"]["outside"], 0)
        self.assertIn("% of the picture leaves the range", self.run_tool("--target", "scratch", "bright.cdl").stdout)

    def test_quiet_says_nothing(self):
        done = self.run_tool("--quiet", golden("0005-rgb"), "x.cube")
        self.assertEqual(done.stdout + done.stderr, "")

    def test_the_log_of_the_engine_stays_silent(self):
        self.assertEqual(self.run_tool("--target", "cube", golden("0012-everything")).stderr, "")

    # Exit codes -------------------------------------------------------------------------------------------------------

    def test_an_error_above_the_limit_ends_with_1_and_the_table_written(self):
        self.run_tool("--quiet", "--max-error", "0.001", golden("0012-everything"), "x.cube", code=1)
        self.assertTrue(os.path.exists(self.path("x.cube")))
        self.run_tool("--quiet", "--max-error=0.001", golden("0001-neutral"), "x.cube", code=0)

    def test_wrong_command_lines_end_with_2(self):
        grade = golden("0001-neutral")
        for words, answer in [
                ([], "a grade is missing"),
                ([grade], "--target is missing"),
                ([grade, "x.lut"], "--target is missing"),
                (["--target"], "--target wants a value"),
                (["--target", "nuke", grade], "there is no target nuke"),
                (["--frob", grade], "there is no option --frob"),
                (["--target", "cube", grade, "a.cube", "b.cube"], "at most one file"),
                (["--target", "cube", ""], "a grade and at most one file"),
                (["--target", "flame", "--points", "17", grade], "flame has a grid of its own"),
                (["--target", "cube", "--points", "1", grade], "from 2 to 129"),
                (["--target", "cube", "--points", "130", grade], "from 2 to 129"),
                (["--target", "cube", "--points", "17x", grade], "from 2 to 129"),
                (["--target", "cube", "--points", "99999999999999999999", grade], "from 2 to 129"),
                (["--target", "cube", "--max-error", "-1", grade], "--max-error takes"),
                (["--target", "cube", "--max-error", "nan", grade], "--max-error takes"),
        ]:
            with self.subTest(words=words):
                done = self.run_tool(*words, code=2)
                self.assertIn(answer, done.stderr)
                self.assertEqual(done.stdout, "")
        self.assertEqual(os.listdir(self.folder), [])

    def test_what_holds_no_grade_ends_with_3(self):
        with open(self.path("noise"), "wb") as stream:
            stream.write(b"noise")
        for name in ("noise", "gone.ocpreset", self.folder):
            with self.subTest(name=name):
                self.assertIn("ochrine-lut: ", self.run_tool("--target", "cube", name, "x.cube", code=3).stderr)
        self.assertFalse(os.path.exists(self.path("x.cube")))

    def test_a_table_that_cannot_be_written_ends_with_4(self):
        self.run_tool("--target", "cube", golden("0001-neutral"), "gone/x.cube", code=4)

    def test_the_grade_that_is_read_is_not_replaced(self):
        name = self.cdl()
        os.symlink(name, self.path("link.cube"))
        for out in (name, "./" + name, "link.cube"):
            done = self.run_tool("--target", "cube", name, out, code=4)
            self.assertIn(f"the table would replace {out}, which is being read", done.stderr)
        with open(self.path(name), "rb") as stream:
            self.assertEqual(stream.read(), CDL)

    def test_a_table_is_replaced_whole_and_keeps_its_mode(self):
        with open(self.path("x.cube"), "w", encoding="utf-8") as stream:
            stream.write("old\n" * 1000000)
        os.chmod(self.path("x.cube"), 0o640)
        self.run_tool("--quiet", "--points", "2", golden("0001-neutral"), "x.cube")
        self.assertEqual(len(cube_rows(self.text("x.cube"))), 8)
        self.assertEqual(stat.S_IMODE(os.stat(self.path("x.cube")).st_mode), 0o640)
        self.assertEqual(os.listdir(self.folder), ["x.cube"])

    def test_words_behind_two_dashes_are_files(self):
        with open(self.path("--help"), "wb") as stream:
            stream.write(CDL)
        self.run_tool("--quiet", "--target", "cube", "--", "--help", "--list")
        self.assertTrue(os.path.exists(self.path("--list")))

    def test_help_and_version_are_told(self):
        self.assertIn("--target NAME", self.run_tool("--help").stdout)
        self.assertEqual(self.run_tool("--version").stdout, "ochrine-lut 3.0.9(286)\n")

    def test_help_and_manual_name_every_option_target_and_exit_code(self):
        with open(os.path.join(SOURCE, "man", "ochrine-lut.1"), encoding="utf-8") as stream:
            manual = stream.read().replace("\\-", "-")
        shown = self.run_tool("--help").stdout
        for word in ["--target", "--points", "--max-error", "--json", "--quiet", "--list", "--help", "--version",
                     *TARGETS]:
            with self.subTest(word=word):
                self.assertIn(word, manual)
                self.assertIn(word, shown)
        for code in range(5):
            self.assertIn(f".B {code}\n", manual)


if __name__ == "__main__":
    unittest.main()

"""ochrine-settings as a user runs it: what it prints, writes and answers, judged by Python's own readers."""
import json
import os
import struct
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree

PROGRAM = os.environ["OC_SETTINGS_PROGRAM"]
SOURCE = os.environ["OC_SOURCE_DIR"]
RECORD_BYTES = 33556
SIGNATURE = 0x12343210


def words(*values):
    return b"".join(struct.pack(">I", value & 0xFFFFFFFF) for value in values)


def floats(*values):
    return b"".join(struct.pack(">f", value) for value in values)


def settings_file(*chunks, version=2):
    return words(version, 0x11223344) + b"".join(words(number, len(data)) + data for number, data in chunks)


def cdl(sop="", sat="", description="look"):
    return (f"<ColorDecisionList><ColorDecision><ColorCorrection><SOPNode><Description>{description}</Description>{sop}"
            f"</SOPNode>{sat}</ColorCorrection></ColorDecision></ColorDecisionList>").encode()


class Program(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def file(self, name, content=None):
        path = os.path.join(self.folder, name)
        if content is not None:
            with open(path, "wb") as stream:
                stream.write(content)
        return path

    def content(self, name):
        with open(os.path.join(self.folder, name), "rb") as stream:
            return stream.read()

    def run_tool(self, *arguments, code=0):
        environment = {"PATH": os.environ.get("PATH", ""), "LC_ALL": "C.UTF-8"}  # no display, no runtime folder
        done = subprocess.run([PROGRAM, *arguments], capture_output=True, text=True, stdin=subprocess.DEVNULL,
                              timeout=60, env=environment, cwd=self.folder)
        self.assertEqual(done.returncode, code, done.stdout + done.stderr)
        return done

    def grade(self, path, *options):
        return json.loads(self.run_tool("print", path, *options).stdout)

    # The command line -------------------------------------------------------------------------------------------------

    def test_help_names_every_command_option_and_exit_code_and_so_does_the_man_page(self):
        text = self.run_tool("--help").stdout
        with open(os.path.join(SOURCE, "man/ochrine-settings.1"), encoding="utf-8") as stream:
            page = stream.read().replace("\\-", "-")
        for word in ("print", "compare", "validate", "upgrade", "convert", "--clean", "--strict", "--words", "--help",
                     "--version"):
            self.assertIn(word, text)
            self.assertIn(word, page)
        for code in range(5):
            self.assertIn(f"{code} ", text[text.index("Exit codes"):])
            self.assertIn(f".B {code}\n", page)

    def test_the_version_is_that_of_the_product(self):
        self.assertEqual(self.run_tool("--version").stdout, "ochrine-settings 3.0.9(286)\n")

    def test_wrong_command_lines_end_with_2_and_tell_why(self):
        for arguments, told in (([], "a command is missing"), (["frobnicate"], "there is no command frobnicate"),
                                (["print"], "print takes one file"), (["print", "a", "b"], "print takes one file"),
                                (["compare", "a"], "compare takes two files"),
                                (["--frob", "print", "a"], "there is no option --frob"),
                                (["convert", "a", "b.txt"], "the name must end in"),
                                (["convert", "a", "x.cdl/b"], "the name must end in")):
            with self.subTest(arguments=arguments):
                self.assertIn(told, self.run_tool(*arguments, code=2).stderr)

    def test_files_that_hold_no_grade_end_with_3(self):
        cases = {"empty": b"", "noise": b"\x89PNG\r\n", "version4": settings_file(version=4), "cut.xml": b"<a>",
                 "collection.ccc": b"<ColorCorrectionCollection><ColorCorrection/></ColorCorrectionCollection>",
                 "wrong-signature": bytes(RECORD_BYTES)}
        for name, content in cases.items():
            with self.subTest(name=name):
                done = self.run_tool("print", self.file(name, content), code=3)
                self.assertIn(name, done.stderr)
                self.assertEqual(done.stdout, "")
        self.assertIn("there is no file gone", self.run_tool("print", "gone", code=3).stderr)
        self.run_tool("print", self.folder, code=3)

    def test_a_name_that_begins_with_a_dash_follows_two_dashes(self):
        self.file("-look", settings_file())
        self.run_tool("print", "--", "-look")

    def test_files_that_cannot_be_written_end_with_4(self):
        source = self.file("a.ocpreset", settings_file())
        for command, name in (("upgrade", "no/b.ocpreset"), ("convert", "no/b.cdl"), ("convert", "no/b.ocgrade")):
            self.assertIn("cannot be written", self.run_tool(command, source, name, code=4).stderr)

    # print ------------------------------------------------------------------------------------------------------------

    def test_a_neutral_grade_prints_every_key_of_the_catalogue_once(self):
        text = self.run_tool("print", self.file("n.ocpreset", settings_file())).stdout

        def once(pairs):
            keys = [key for key, _ in pairs]
            self.assertEqual(len(keys), len(set(keys)))
            return dict(pairs)
        grade = json.loads(text, object_pairs_hook=once)
        with open(os.path.join(SOURCE, "tests/data/catalogue-keys.txt"), encoding="utf-8") as stream:
            catalogue = [line.split()[-1].strip('",') for line in stream if line.strip()]
        parameters = list(grade["parameters"])
        self.assertEqual(len(parameters), 318)
        self.assertEqual(len(catalogue), 318)
        seen = set()
        for printed, key in zip(parameters, catalogue):
            if key in seen:  # the pedestal of a group triple
                self.assertTrue(key.endswith("_gain"))
                key = key[:-len("gain")] + "ped"
            self.assertEqual(printed, key)
            seen.add(key)
        self.assertEqual(grade["kind"], "ocpreset")
        self.assertEqual(grade["parameters"]["hsl_master_saturation"], 100)
        self.assertEqual(grade["parameters"]["rgb_master_ped"], 0)
        self.assertEqual(grade["curveShapes"]["master"], {"points": [[0, 0], [1, 1]]})
        self.assertEqual(grade["curveShapes"]["hue"], {"points": [[0, 0.5], [1, 0.5]]})
        self.assertEqual(grade["switches"]["secondary_in_use"], True)

    def test_values_are_those_of_the_file_bit_for_bit(self):
        block = words(1) + floats(1 / 3, 150, -0.1, 1e-30, 3e38, 0.5, float("inf"), float("nan"), -0.0)
        path = self.file("v.ocpreset", settings_file((29, block * 4), (14, words(5)), (36, words(1)),
                                                     (33, words(1, -7) + floats(20, 0.5) + words(*[0] * 9))))
        parameters = self.grade(path)["parameters"]
        for key, value in (("hue", 1 / 3), ("vibrance", -0.1), ("brightness", 1e-30), ("contrast", 3e38)):
            self.assertEqual(struct.pack(">f", parameters["hsl_master_" + key]), floats(value))
        self.assertEqual(parameters["hsl_shadows_gain"], "inf")
        self.assertEqual(parameters["hsl_shadows_gamma"], "nan")
        self.assertEqual(str(float(parameters["hsl_master_pedestal"])), "-0.0")
        self.assertEqual(parameters["hueoffset_master_huewheel"], -7)
        self.assertEqual(self.grade(path)["switches"]["primary"], 5)

    def test_curves_print_as_points_samples_or_a_bare_count(self):
        points = words(0, 0, 0, 3) + floats(*[0, 0.5, 1] + [0] * 13) + floats(*[0, 0.25, 1] + [0] * 13)
        points += bytes(4108 - len(points))
        samples = words(0, 0, 1) + floats(*[i / 1024 for i in range(1024)])
        broken = words(0, 0, 0, 17) + bytes(4108 - 16)
        negative = words(0, 0, 0, -1) + bytes(4108 - 16)
        shapes = self.grade(self.file("c.ocpreset", settings_file((27, points + samples + broken + negative))))
        shapes = shapes["curveShapes"]
        self.assertEqual(shapes["master"], {"points": [[0, 0], [0.5, 0.25], [1, 1]]})
        self.assertEqual(floats(*shapes["red"]["samples"]), floats(*[i / 1024 for i in range(1024)]))
        self.assertEqual(shapes["green"], {"pointCount": 17})
        self.assertEqual(shapes["blue"], {"pointCount": -1})

    def test_a_name_with_quotes_and_odd_bytes_is_still_json(self):
        path = os.path.join(os.fsencode(self.folder), b'a"\\\n\xff.ocpreset')
        with open(path, "wb") as stream:
            stream.write(settings_file())
        done = subprocess.run([os.fsencode(PROGRAM), b"print", path], capture_output=True, timeout=60)
        self.assertIn('a"\\\n\ufffd.ocpreset', json.loads(done.stdout.decode())["file"])

    # compare ----------------------------------------------------------------------------------------------------------

    def test_the_same_grade_in_two_kinds_of_file_compares_equal(self):
        preset = self.file("a.ocpreset", settings_file((15, words(1))))
        self.run_tool("convert", preset, "a.ocgrade")
        self.assertEqual(self.run_tool("compare", preset, "a.ocgrade").stdout, "")

    def test_differences_are_told_one_a_line(self):
        curve = words(0, 0, 0, 2) + floats(*[0, 1] + [0] * 14) + floats(*[0.1, 1] + [0] * 14)
        curve += bytes(4108 - len(curve))
        identity = words(0, 0, 0, 2) + floats(*[0, 1] + [0] * 14) + floats(*[0, 1] + [0] * 14)
        identity += words(*[7] * ((4108 - len(identity)) // 4))  # behind the points: no difference
        first = self.file("a.ocpreset", settings_file((30, (words(0) + floats(*[1, 1, 0] * 4)) * 4)))
        changed = words(1) + floats(1.5, 1, 0.25, *[1, 1, 0] * 3)
        second = self.file("b.ocpreset", settings_file((30, changed + (words(0) + floats(*[1, 1, 0] * 4)) * 3),
                                                       (27, curve + identity * 3)))
        done = self.run_tool("compare", first, second, code=1)
        self.assertEqual(done.stdout.splitlines(), [
            "rgb_master_gain: 1 -> 1.5", "rgb_master_ped: 0 -> 0.25", "switches.rgb_master: false -> true",
            "curveShapes.master: another shape"])

    def test_words_of_state_count_when_asked(self):
        first = self.file("a.ocpreset", settings_file((13, words(*range(7)))))
        second = self.file("b.ocpreset", settings_file((13, words(9, *range(1, 7)))))
        self.run_tool("compare", first, second)
        self.assertEqual(self.run_tool("compare", "--words", first, second, code=1).stdout,
                         "word 33424: 0x00000000 -> 0x00000009\n")

    # validate ---------------------------------------------------------------------------------------------------------

    def test_what_the_tool_writes_is_sound(self):
        self.run_tool("convert", self.file("a.ocpreset", settings_file()), "b.ocpreset")
        self.assertEqual(self.run_tool("validate", "--strict", "b.ocpreset").stdout,
                         "b.ocpreset: settings file, 0 errors, 0 warnings\n")

    def test_damage_is_an_error(self):
        sound = settings_file((14, words(1)), (30, bytes(208)))
        for content, told in ((sound[:-3], "chunk 30 at 20 is cut: 205 of 208 bytes are there"),
                              (sound + b"\0\0\0", "3 bytes behind the last chunk"),
                              (settings_file()[:8] + words(14, 8, 1), "chunk 14 at 8 tells 8 bytes in place of 4"),
                              (settings_file((29, (words(1) + floats(*[float("nan")] * 9)) * 4)),
                               "hsl_master_hue is nan"),
                              (settings_file((27, (words(0, 0, 0, 99) + bytes(4092)) * 4)),
                               "curve master claims 99 points")):
            with self.subTest(told=told):
                done = self.run_tool("validate", self.file("x.ocpreset", content), code=1)
                self.assertIn("error: " + told + "\n", done.stdout)

    def test_what_the_application_takes_is_a_warning(self):
        path = self.file("w.ocpreset", settings_file(
            (2, words(*[1] + [65536] * 12) * 4), (99, b"abc"), (12, words(*[0] * 9)),
            (29, (words(1) + floats(0, 100, 0, 0, 0, 0.5, 21, 1, 0)) * 4)))
        done = self.run_tool("validate", path)
        for told in ("chunk 99 at 224 is not known and was skipped", "2 chunks have an older shape",
                     "hsl_master_gain is 21, beyond 0 to 20", "chunk 14 is not there"):
            self.assertIn("warning: " + told, done.stdout)
        self.assertNotIn("error:", done.stdout)
        self.assertNotIn("chunk 30 is not there", done.stdout)  # chunk 2 stands for it
        self.run_tool("validate", "--strict", path, code=1)

    # upgrade ----------------------------------------------------------------------------------------------------------

    def test_an_old_file_is_written_in_todays_shape(self):
        old = settings_file((1, words(1, 0x18000, 0x500000, 0, 0, 0x8000, 0x10000, 0x20000, 0) * 4), version=1)
        path = self.file("old.ocpreset", old)
        self.run_tool("upgrade", path, path)
        today = self.content("old.ocpreset")
        self.assertEqual(len(today), 33720)
        self.assertEqual(today[:16], words(2, 0x11223344, 29, 160))
        self.assertEqual(today[16:56], words(1) + floats(1.5, 80, 0, 0, 0, 0.5, 1, 2, 0))
        self.run_tool("validate", "--strict", path)

    def test_only_settings_files_are_upgraded(self):
        done = self.run_tool("upgrade", self.file("a.cdl", cdl()), "b.ocpreset", code=3)
        self.assertIn("is a colour decision list", done.stderr)
        self.assertFalse(os.path.exists(os.path.join(self.folder, "b.ocpreset")))

    # convert ----------------------------------------------------------------------------------------------------------

    def test_a_list_becomes_a_preset_and_a_list_again(self):
        sop = "<Slope>1.1 1 0.9</Slope><Offset>0.01 0 -0.02</Offset><Power>1.25 1 0.8</Power>"
        self.run_tool("convert", self.file("a.cdl", cdl(sop, "<SatNode><Saturation>0.8</Saturation></SatNode>")),
                      "b.ocpreset")
        grade = self.grade("b.ocpreset")
        self.assertEqual(grade["parameters"]["rgb_master_r_gain"], 1.1)
        self.assertEqual(grade["parameters"]["rgb_master_r_gamma"], 0.8)
        self.assertEqual(grade["parameters"]["hsl_master_saturation"], 80)
        self.assertTrue(grade["switches"]["rgb"] and grade["switches"]["primary"])
        self.assertEqual(self.run_tool("convert", "b.ocpreset", "Look 1 & 2.cdl").stderr, "")
        text = self.content("Look 1 & 2.cdl").decode()
        self.assertRegex(text, r"\A<!-- Creator: Brindlepath Ochrine v3\.0\.9\(286\)   -->\n"
                               r"<!-- Date:    \d\d-[A-Z][a-z][a-z]-\d{4} \d\d:\d\d:\d\d         -->\n"
                               r'<ColorDecisionList xmlns="urn:ASC:CDL:v1\.01">\n')
        root = ElementTree.fromstring(text)
        found = {element.tag.split("}")[-1]: element for element in root.iter()}
        self.assertEqual(found["Description"].text, "Look 1 & 2.cdl")
        self.assertEqual(found["Slope"].text, "1.1000 1.0000 0.9000")
        self.assertEqual(found["Offset"].text, "0.0100 0.0000 -0.0200")
        self.assertEqual(found["Power"].text, "1.2500 1.0000 0.8000")
        self.assertEqual(found["Saturation"].text, "0.800000")
        self.assertEqual(found["ColorCorrection"].attrib, {"ref": "urn:BrindlepathOC:cdl:cc00000000"})
        self.assertNotIn("MediaRef", found)

    def test_a_tilde_is_warned_about_and_clean_lists_can_be_had(self):
        preset = self.file("a.ocpreset", settings_file())
        done = self.run_tool("convert", preset, "a~b.cdl")
        self.assertIn("--clean", done.stderr)
        self.assertIn("<Description>a&tilde;b.cdl</Description>", self.content("a~b.cdl").decode())
        with self.assertRaises(ElementTree.ParseError):
            ElementTree.fromstring(self.content("a~b.cdl").decode())
        self.assertEqual(self.run_tool("convert", "--clean", preset, "c~d.cdl").stderr, "")
        root = ElementTree.fromstring(self.content("c~d.cdl").decode())
        self.assertIn("c~d.cdl", [element.text for element in root.iter()])

    def test_a_list_with_the_entity_is_read_and_cleaned_when_asked(self):
        original = cdl("<Slope>2 2 2</Slope>", description="a &tilde; &amp; b")
        path = self.file("a.cdl", original)
        self.assertIn("--clean reads it as ~", self.run_tool("convert", path, "b.cdl", code=3).stderr)
        self.assertFalse(os.path.exists(os.path.join(self.folder, "b.cdl")))
        self.assertIn("read with ~", self.run_tool("convert", "--clean", path, "b.cdl").stderr)
        self.assertEqual(self.content("b.cdl"), original.replace(b"&tilde;", b"~"))
        self.assertEqual(self.grade(path, "--clean")["parameters"]["rgb_master_g_gain"], 2)

    def test_what_a_list_cannot_hold_is_told(self):
        chunks = ((20, words(1)), (16, words(1)), (30, (words(1) + floats(*[1, 1, 0] * 4)) * 4), (24, words(1)))
        levels = (6, (words(0, 1) + floats(0, 0.25, 1, 0, 0.5, 1)) * 5)
        told = self.run_tool("convert", self.file("a.ocpreset", settings_file(*chunks, levels)), "a.cdl").stderr
        for tool in ("the levels", "the RGB ranges", "the limiter"):
            self.assertIn("warning: the list leaves out " + tool + "\n", told)
        # A pane that is on without a block that is does nothing.
        without = self.run_tool("convert", self.file("b.ocpreset", settings_file(*chunks)), "b.cdl").stderr
        self.assertEqual(without, told.replace("ochrine-settings: warning: the list leaves out the levels\n", ""))
        for tool in ("CMY", "curves", "hue offsets", "switched off"):
            self.assertNotIn(tool, told)
        off = self.file("b.ocpreset", settings_file((30, (words(0) + floats(2, 1, 0, *[1, 1, 0] * 3)) * 4)))
        self.assertIn("a master tool that is switched off", self.run_tool("convert", off, "b.cdl").stderr)

    def test_a_record_is_little_endian_with_its_signature_and_comes_back(self):
        preset = self.file("a.ocpreset", settings_file((14, words(1)), (43, floats(0.5, 0.25) + words(3, 4))))
        self.run_tool("convert", preset, "a.ocgrade")
        record = self.content("a.ocgrade")
        self.assertEqual(len(record), RECORD_BYTES)
        self.assertEqual(struct.unpack_from("<II", record), (SIGNATURE, 1))
        self.assertEqual(struct.unpack_from("<ffII", record, 33540), (0.5, 0.25, 3, 4))
        self.run_tool("convert", "a.ocgrade", "b.ocpreset")
        self.run_tool("compare", "--words", preset, "b.ocpreset")
        self.assertEqual(self.grade("a.ocgrade")["kind"], "record")

    def test_an_output_that_exists_is_replaced_whole_and_keeps_its_mode(self):
        preset = self.file("a.ocpreset", settings_file())
        out = self.file("b.cdl", b"x" * 100000)
        os.chmod(out, 0o600)
        self.run_tool("convert", preset, out)
        self.assertTrue(self.content("b.cdl").endswith(b"</ColorDecisionList>\n"))
        self.assertEqual(os.stat(out).st_mode & 0o777, 0o600)
        self.assertEqual(sorted(os.listdir(self.folder)), ["a.ocpreset", "b.cdl"])


if __name__ == "__main__":
    unittest.main()

"""The commands of the project: what they answer to wrong calls, what they count, what they want installed."""
import os
import re
import subprocess
import sys
import tempfile
import unittest

import tree

JUNIT = """<testsuite>
<testcase name="unit" status="run"/>
<testcase name="crashed" status="fail"><failure message="SEGFAULT"/></testcase>
<testcase name="plain" status="run"/>
<testcase name="broken" status="fail"><failure message=""/></testcase>
<testcase name="left_out" status="notrun"><skipped message=""/></testcase>
<testcase name="off" status="disabled"/>
</testsuite>
"""
UNIT = """<testsuites><testsuite name="A">
<testcase name="a" status="run" result="completed"/>
<testcase name="b" status="run" result="completed"/>
<testcase name="c" status="run" result="completed"><failure message="x"/></testcase>
<testcase name="d" status="run" result="skipped"><skipped message="x"/></testcase>
<testcase name="e" status="notrun" result="suppressed"/>
</testsuite></testsuites>
"""
CRASHED = '<testsuites><testsuite name="A"><testcase name="a" status="run" result="completed"/></testsuite></testsuites>'


class Commands(unittest.TestCase):
    def setUp(self):
        self.root = tree.root()

    def call(self, *words, cwd="/", close_input=False):
        command = list(words)
        if close_input:
            command = ["bash", "-c", 'exec "$@" <&-', "bash", *command]
        return subprocess.run(command, cwd=cwd, capture_output=True, text=True, stdin=subprocess.DEVNULL, timeout=60)

    def test_wrong_calls_are_told_before_anything_is_done(self):
        with tempfile.TemporaryDirectory() as folder:
            cases = [
                (["--frobnicate"], "there is no option --frobnicate"),
                (["--out-dir"], "--out-dir wants a folder"),
                (["a.mov", "b.mov"], "one clip at a time"),
                ([""], "the clip has an empty name"),
                (["gone.mov"], f"there is no clip {folder}/gone.mov"),
                ([folder], "is no file that can be read"),
            ]
            for words, answer in cases:
                for close_input in (False, True):
                    with self.subTest(words=words, close_input=close_input):
                        done = self.call(os.path.join(self.root, "run"), *words, cwd=folder, close_input=close_input)
                        self.assertEqual(done.returncode, 1)
                        self.assertIn(answer, done.stderr)
                        self.assertNotIn("packages", done.stdout)
            self.assertEqual(os.listdir(folder), [])

    def test_help_is_an_answer(self):
        for name in ("run", "test"):
            done = self.call(os.path.join(self.root, name), "--help")
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            self.assertIn(f"Usage: ./{name}", done.stdout)

    def test_cases_are_counted_once(self):
        with tempfile.TemporaryDirectory() as folder:
            tree.write_tree(folder, {"junit.xml": JUNIT, "cases/unit.xml": UNIT, "cases/crashed.xml": CRASHED})
            done = self.call(sys.executable, os.path.join(self.root, "tools/test-totals"),
                             os.path.join(folder, "junit.xml"), os.path.join(folder, "cases"))
            # unit: 2 passed, 1 failed, 1 skipped; crashed: 1 and 1; plain; broken; left_out.
            self.assertEqual(done.stdout.split(), ["4", "3", "2"], done.stderr)

    def test_a_run_without_a_list_is_no_success(self):
        done = self.call(sys.executable, os.path.join(self.root, "tools/test-totals"), "/dev/null", "/dev/null")
        self.assertNotEqual(done.returncode, 0)

    def test_every_package_has_a_set_and_a_reason(self):
        lines = [l for l in tree.text(self.root, "packages.txt").splitlines() if l and not l.startswith("#")]
        self.assertGreater(len(lines), 10)
        for line in lines:
            self.assertRegex(line, r"^[a-z0-9][a-z0-9+.-]+ +(build|run|wayland|test|screen|ci) +\S.*$")
        names = [line.split()[0] for line in lines]
        self.assertEqual(len(names), len(set(names)))

    def test_every_library_of_the_build_comes_from_a_package(self):
        packages = tree.text(self.root, "packages.txt")
        build = tree.text(self.root, "CMakeLists.txt")
        for group in re.findall(r"pkg_check_modules\(\w+ REQUIRED IMPORTED_TARGET ([^)]+)\)", build):
            for module in group.split():
                stem = re.sub(r"^lib", "", module)
                self.assertRegex(packages, rf"(?m)^lib{stem}\S*-dev ", module)

    def test_scripts_parse(self):
        for name in ("run", "test", ".ci/run", "tools/common.sh"):
            done = self.call("bash", "-n", os.path.join(self.root, name))
            self.assertEqual((done.returncode, done.stderr), (0, ""))


if __name__ == "__main__":
    unittest.main()

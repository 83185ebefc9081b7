"""Whole sessions: the real host and the real application on a display of their own, driven by a real mouse.

A test is a method of a class derived from Session. Each has a folder of its own below OC_SESSION_DIR (cleared when it
begins, kept when it ends, with logs and screenshots), so that tests that run at the same time do not meet.

The environment names the programs: OCHRINE_HOST, OCHRINE_APP.
"""
import glob
import os
import shutil
import struct
import subprocess
import sys
import unittest
import zlib

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tools"))
from headless import Desktop, Failure, is_running, wait_until   # noqa: E402, F401

GRADE_BYTES = 33556
GRADE_SIGNATURE = 0x12343210
# A journal: a header, then records that each end in a checksum.
JOURNAL_HEADER_BYTES, JOURNAL_RECORD_BYTES, JOURNAL_GRADE_AT = 312, 33576, 16
# Offsets in a grade.
PRIMARY_ON, HSL_ON, HSL_MASTER_ON, HSL_MASTER_SATURATION = 4, 8, 12, 20
# Offsets in the block of a host, and values of its status.
STATUS, BYTES_REMAINING, FRAME_TIME = 12, 52900, 52872
RUNNING, CHUNK_CONSUMED, CHUNK_READY, REQUEST_FRAME = 3, 5, 6, 9


class Session(unittest.TestCase):
    size = (1024, 768)

    def setUp(self):
        base = os.environ.get("OC_SESSION_DIR") or os.path.join(os.getcwd(), "session-tests")
        self.folder = os.path.join(base, self.id().split(".", 1)[-1])
        shutil.rmtree(self.folder, ignore_errors=True)
        os.makedirs(self.folder)
        self.host_program = os.environ["OCHRINE_HOST"]
        self.app_program = os.environ["OCHRINE_APP"]
        self.stamps = {}   # of the layout reports when each session's window came up
        self.desktop = Desktop(self.folder, *self.size)
        self.addCleanup(self.desktop.close)
        self.desktop.__enter__()
        leaks = os.path.join(os.path.dirname(os.path.abspath(__file__)), "leaks.txt")
        self.desktop.env["LSAN_OPTIONS"] = f"suppressions={leaks}:print_suppressions=0"

    def tearDown(self):
        try:
            self.check_logs()
        finally:
            self.show_problems()

    def check_logs(self):
        """No program broke a rule of its own, or of a sanitizer."""
        for log in glob.glob(self.path("*.log")):
            with open(log, encoding="utf-8", errors="replace") as file:
                text = file.read()
            for word in ("Assert (", "Sanitizer", "runtime error:", "terminate called"):
                self.assertNotIn(word, text, log)

    def show_problems(self):
        # A failed test shows what a person would have seen, and what the programs said.
        outcome = getattr(self._outcome, "result", None)
        problems = [e for e in (outcome.errors + outcome.failures if outcome else []) if e[0] is self]
        if problems:
            try:
                self.desktop.screenshot(self.path("failure.png"))
            except (OSError, subprocess.SubprocessError):
                pass
            for log in sorted(glob.glob(self.path("*.log"))):
                with open(log, encoding="utf-8", errors="replace") as file:
                    text = file.read()
                print(f"---- {log}\n{text[-4000:]}", file=sys.stderr)

    def path(self, *names):
        return os.path.join(self.folder, *names)

    # Clips and pixels.

    def make_clip(self, name="clip.mov", size="192x108", frames=6, rate="24"):
        """A small clip in which every frame and every pixel differs, made by ffmpeg, stored without loss."""
        path = self.path(name)
        self.ffmpeg("-f", "lavfi", "-i", f"testsrc2=size={size}:rate={rate}", "-frames:v", str(frames),
                    "-vf", "format=rgb24", "-c:v", "png", path)
        return path

    @staticmethod
    def ffmpeg(*words):
        done = subprocess.run(["ffmpeg", "-hide_banner", "-loglevel", "error", "-nostdin", "-y", *words],
                              capture_output=True, timeout=120)
        if done.returncode != 0:
            raise Failure(f"ffmpeg {' '.join(words)}: {done.stderr.decode(errors='replace')}")
        return done.stdout

    def pixels(self, path):
        """All pixels of a clip as ffmpeg decodes them, 16 bits a channel."""
        return self.ffmpeg("-i", path, "-f", "rawvideo", "-pix_fmt", "rgb48le", "-")

    def screen_pixels(self, box, name):
        """The pixels of a box of the screen; the whole screenshot stays in the folder."""
        path = self.path(name)
        self.desktop.screenshot(path)
        crop = f"crop={box.width}:{box.height}:{box.x}:{box.y}"
        return self.ffmpeg("-i", path, "-vf", crop, "-f", "rawvideo", "-pix_fmt", "rgb24", "-")

    # Grades.

    def read_grade(self, path):
        with open(path, "rb") as file:
            grade = file.read()
        self.assertEqual(len(grade), GRADE_BYTES, path)
        self.assertEqual(struct.unpack_from("<I", grade)[0], GRADE_SIGNATURE, path)
        return grade

    def make_grade(self, saturation, name="start.ocgrade"):
        """A grade file in which nothing is on but the HSL master, with this saturation in percent."""
        grade = bytearray(GRADE_BYTES)
        struct.pack_into("<I", grade, 0, GRADE_SIGNATURE)
        for offset in (PRIMARY_ON, HSL_ON, HSL_MASTER_ON):
            struct.pack_into("<I", grade, offset, 1)
        # Hue, saturation, vibrance, brightness, contrast, contrast center, gain, gamma, pedestal.
        struct.pack_into("<9f", grade, HSL_MASTER_ON + 4, 0, saturation, 0, 0, 0, 0.5, 1, 1, 0)
        with open(self.path(name), "wb") as file:
            file.write(grade)
        return self.path(name)

    @staticmethod
    def saturation_of(grade):
        return struct.unpack_from("<f", grade, HSL_MASTER_SATURATION)[0]

    # Journals.

    def journals(self):
        return sorted(glob.glob(self.path("state", "ochrine", "*.ocjournal")))

    def journaled(self):
        """The newest sound grade of the only journal, or None."""
        names = self.journals()
        if not names:
            return None
        self.assertEqual(len(names), 1, names)
        with open(names[0], "rb") as file:
            data = file.read()
        newest, grade = 0, None
        for at in range(JOURNAL_HEADER_BYTES, len(data) - JOURNAL_RECORD_BYTES + 1, JOURNAL_RECORD_BYTES):
            record = data[at:at + JOURNAL_RECORD_BYTES]
            number = struct.unpack_from("<I", record, 4)[0]
            if number > newest and zlib.crc32(record[:-4]) == struct.unpack_from("<I", record, JOURNAL_RECORD_BYTES - 4)[0]:
                newest, grade = number, record[JOURNAL_GRADE_AT:JOURNAL_GRADE_AT + GRADE_BYTES]
        return grade

    def grade(self, slider, percent, saturation):
        """Drags the slider of the saturation and waits until the journal holds the value."""
        self.desktop.drag_slider(slider, percent)
        wait_until(lambda: (self.journaled() or b"") and
                           abs(self.saturation_of(self.journaled()) - saturation) < 5, 10, "the journal")

    # Programs.

    def block_word(self, offset):
        """A signed word of the host's block, or None while there is no block."""
        try:
            with open(self.path("runtime", "ochrine", "Ochrine3CommBlock"), "rb") as file:
                file.seek(offset)
                word = file.read(4)
        except OSError:
            return None
        return struct.unpack("<i", word)[0] if len(word) == 4 else None

    def start_host(self, *words, name="host", out="out"):
        """Starts ochrine-host; its output and the application's go to NAME.log."""
        os.makedirs(self.path(out), exist_ok=True)
        command = [self.host_program, "--app", self.app_program, "--out-dir", self.path(out), *words]
        return self.desktop.start(command, name)

    def run_host(self, *words, seconds=120):
        """Runs ochrine-host to its end, without an application; returns what it said."""
        done = subprocess.run([self.host_program, *words], env=self.desktop.env, stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, timeout=seconds)
        self.assertEqual(done.returncode, 0, done.stderr + done.stdout)
        return done.stdout

    def wait_for_window(self, host, session=1, seconds=60):
        """Waits until the window of the host's n-th session is up and stands still."""
        seen = self.stamps.get(session - 1)
        box = self.desktop.wait_for("OK", seconds, lambda: host.poll() is None, seen)
        self.stamps[session] = self.desktop.layout_stamp()
        return box

    def wait_hidden(self, host, button="OK"):
        """Waits until the application has answered the button: its window is hidden then."""
        wait_until(lambda: f"UI: {button} was clicked" in self.desktop.log("host") or (host and host.poll() is not None),
                   30, "the hidden window")

    def application(self):
        """The id of the one running application."""
        pids = self.desktop.processes(os.path.basename(self.app_program))
        self.assertEqual(len(pids), 1, f"applications running: {pids}")
        return pids[0]

    def applications(self):
        return self.desktop.processes(os.path.basename(self.app_program))

    def wait_gone(self, pid, seconds=15, what="the application's end"):
        wait_until(lambda: not is_running(pid), seconds, what)

    def wait_ended(self, child, seconds=60):
        """Waits for a program that we started and returns its exit code, negative for a signal."""
        try:
            return child.wait(seconds)
        except subprocess.TimeoutExpired:
            raise Failure(f"{child.args[0]} has not ended within {seconds} s") from None

    def left_behind(self):
        """Files that are still in the runtime folder of the host's protocol."""
        return sorted(os.path.basename(p) for p in glob.glob(self.path("runtime", "ochrine", "*")))


if __name__ == "__main__":
    unittest.main()

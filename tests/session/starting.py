"""The first seconds: splash, screen, keys that are held."""
import contextlib
import os
import signal
import sqlite3
import time
import unittest

import harness


class Starting(harness.Session):
    def window_with_size(self, width, height):
        """Id, left and top of a visible window of ours with this size, or None."""
        for window in self.desktop.windows("Ochrine"):
            words = dict(line.split("=", 1) for line in
                         self.desktop.hand("getwindowgeometry", "--shell", window).split() if "=" in line)
            if (int(words["WIDTH"]), int(words["HEIGHT"])) == (width, height):
                return window, int(words["X"]), int(words["Y"])
        return None

    def splash_ground(self, application, left, top):
        """Pixels of orange-yellow in the lower right corner of the splash, where its text stands, 150 by 16."""
        self.desktop.kill(application, signal.SIGSTOP)   # as long as we look
        self.desktop.screenshot(self.path("splash.png"))
        self.desktop.kill(application, signal.SIGCONT)
        pixels = self.ffmpeg("-i", self.path("splash.png"), "-vf",
                             f"crop=150:16:{left + 351 - 150}:{top + 303 - 16}", "-f", "rawvideo", "-pix_fmt",
                             "rgb24", "-")
        return sum(pixels[i:i + 3] == b"\xff\xcc\x00" for i in range(0, len(pixels), 3))

    def test_the_splash_stands_in_the_middle_of_the_screen(self):
        host = self.start_host("--no-render", self.make_clip())
        seen = harness.wait_until(lambda: self.window_with_size(351, 303), 30, "the splash")
        application = self.application()
        left, top = seen[1:]
        self.assertLessEqual(abs(left - (1024 - 351) // 2), 1)
        self.assertLessEqual(abs(top - (768 - 303) // 2), 1)
        # Its first picture has no box; the steps with a text do.
        ground = harness.wait_until(lambda: self.splash_ground(application, left, top), 10, "the splash's first text")
        self.assertGreater(ground, 150 * 16 * 0.6)
        self.wait_for_window(host)
        self.assertIsNone(self.window_with_size(351, 303))
        self.desktop.click("Cancel")
        self.assertEqual(self.wait_ended(host), 0)

    def undo_depth(self, value=None):
        """The stored depth; sets it first when one is given."""
        with contextlib.closing(sqlite3.connect(self.path("config", "ochrine", "Settings.db"))) as store:
            if value is not None:
                store.execute("UPDATE value SET content = ? WHERE name = 'Undo Depth'", (value,))
                store.commit()
            return store.execute("SELECT content FROM value WHERE name = 'Undo Depth'").fetchone()[0]

    def test_shift_and_control_at_the_start_bring_the_defaults_back(self):
        clip = self.make_clip()
        host = self.start_host("--no-render", clip)
        self.wait_for_window(host)
        self.desktop.key("ctrl+q")
        self.assertEqual(self.wait_ended(host), 0)
        harness.wait_until(lambda: not self.applications(), 15, "the application's end")
        self.assertEqual(self.undo_depth(), 20)
        self.assertEqual(self.undo_depth(5), 5)
        for keys, depth in (((), 5), (("shift", "ctrl"), 20)):
            os.unlink(self.desktop.layout_file)
            self.stamps = {}
            for key in keys:
                self.desktop.hand("keydown", key)
            host = self.start_host("--no-render", clip, name=f"with{len(keys)}")
            self.wait_for_window(host)
            for key in keys:
                self.desktop.hand("keyup", key)
            self.desktop.key("ctrl+q")
            self.assertEqual(self.wait_ended(host), 0)
            harness.wait_until(lambda: not self.applications(), 15, "the application's end")
            self.assertEqual(self.undo_depth(), depth)


class SmallScreen(harness.Session):
    size = (1024, 767)

    def test_a_screen_one_row_too_low_is_told_and_ends_it(self):
        host = self.start_host("--no-render", self.make_clip())
        harness.wait_until(lambda: self.desktop.windows("Insufficient Screen Resolution"), 30, "the box")
        time.sleep(0.5)
        self.desktop.screenshot(self.path("alert.png"))
        self.desktop.key("Return")
        self.assertEqual(self.wait_ended(host), 0)   # it was told 4, with the grade as it was
        harness.wait_until(lambda: not self.applications(), 15, "the application's end")
        self.assertNotIn("failed, error", self.desktop.log("host"))
        self.assertEqual(self.left_behind(), [])


if __name__ == "__main__":
    unittest.main()

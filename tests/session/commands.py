"""Commands on a real display: the clipboard between two applications, slots that outlive a run, letters, the menu."""
import os
import struct
import time
import unittest

import harness

SLIDER = "hsl_master_saturation"


class Commands(harness.Session):
    def runtime_word(self, runtime, offset):
        """A word of the host's block in another runtime folder, or None."""
        try:
            with open(os.path.join(runtime, "ochrine", "Ochrine3CommBlock"), "rb") as file:
                file.seek(offset)
                return struct.unpack("<i", file.read(4))[0]
        except (OSError, struct.error):
            return None

    def test_a_copy_reaches_another_application(self):
        clip = self.make_clip()
        first = self.start_host(clip, name="host")
        self.wait_for_window(first)
        self.desktop.drag_slider(SLIDER, 75)
        self.desktop.key("ctrl+c")
        time.sleep(0.3)
        # A second application beside it, in folders of its own, on the same display and in front.
        runtime = self.path("second-runtime")
        os.makedirs(runtime, mode=0o700)
        layout = self.path("second-layout.txt")
        os.makedirs(self.path("second-out"))
        second = self.desktop.start(
            [self.host_program, "--app", self.app_program, "--out-dir", self.path("second-out"), clip], "second",
            env={"XDG_RUNTIME_DIR": runtime, "XDG_CONFIG_HOME": self.path("second-config"),
                 "XDG_STATE_HOME": self.path("second-state"), "OCHRINE_LAYOUT_FILE": layout})
        harness.wait_until(lambda: os.path.exists(layout) and
                           self.runtime_word(runtime, harness.STATUS) == harness.RUNNING, 60, "the second window")
        time.sleep(1.5)
        self.desktop.key("ctrl+v")
        time.sleep(0.5)
        self.desktop.screenshot(self.path("pasted.png"))
        self.desktop.click("OK")   # both windows are maximised: their buttons stand in the same place
        self.assertEqual(self.wait_ended(second), 0)
        grade = self.read_grade(self.path("second-out", "clip.ocgrade"))
        self.assertAlmostEqual(self.saturation_of(grade), 225, delta=4)
        harness.wait_until(lambda: len(self.desktop.windows("^Ochrine$")) == 1, 15, "the end of the second window")
        self.desktop.click("Cancel")
        self.assertEqual(self.wait_ended(first), 0)

    def test_a_slot_outlives_the_application(self):
        clip = self.make_clip()
        host = self.start_host(clip)
        self.wait_for_window(host)
        application = self.application()
        self.desktop.drag_slider(SLIDER, 75)
        self.desktop.key("shift+F3")
        time.sleep(0.3)
        self.desktop.click("Cancel")   # the grade goes, the slot stays
        self.wait_ended(host)
        self.wait_gone(application)
        again = self.start_host(clip, name="again", out="again")
        self.stamps[0] = self.desktop.layout_stamp()
        self.wait_for_window(again)
        self.desktop.key("F3")
        time.sleep(0.5)
        self.desktop.click("OK")
        self.assertEqual(self.wait_ended(again), 0)
        grade = self.read_grade(self.path("again", "clip.ocgrade"))
        self.assertAlmostEqual(self.saturation_of(grade), 225, delta=4)

    def test_leaving_the_front_stops_the_playback(self):
        host = self.start_host("--no-render", self.make_clip(frames=600))
        self.wait_for_window(host)
        self.desktop.key("space")
        harness.wait_until(lambda: (self.block_word(harness.FRAME_TIME) or 0) > 0, 10, "the playback")
        (window,) = self.desktop.windows("^Ochrine$")
        self.desktop.hand("windowminimize", window)
        time.sleep(0.5)
        stopped = self.block_word(harness.FRAME_TIME)
        time.sleep(0.5)
        self.assertEqual(self.block_word(harness.FRAME_TIME), stopped)
        self.desktop.hand("windowactivate", "--sync", window)
        time.sleep(0.5)
        self.assertEqual(self.block_word(harness.FRAME_TIME), stopped)   # coming back does not start it
        self.desktop.key("space")
        harness.wait_until(lambda: self.block_word(harness.FRAME_TIME) > stopped, 10, "the playback")
        self.desktop.click("Cancel")
        self.assertEqual(self.wait_ended(host), 0)

    def test_the_menu_undoes_and_letters_select(self):
        clip = self.make_clip()
        host = self.start_host(clip)
        self.wait_for_window(host)
        self.desktop.drag_slider(SLIDER, 75)
        self.desktop.drag_slider(SLIDER.replace("saturation", "brightness"), 80)
        menus = self.desktop.wait_for("menus")
        self.desktop.click((menus.x + 66, menus.y + menus.height // 2))
        time.sleep(0.4)
        self.desktop.screenshot(self.path("edit-menu.png"))
        self.desktop.key("Down", "Return")   # Undo
        time.sleep(0.4)
        stamp = self.desktop.layout_stamp()
        self.desktop.key("p")
        self.desktop.wait_for("rgb_master_gamma.track", 15, newer_than=stamp)
        self.desktop.click("OK")
        self.assertEqual(self.wait_ended(host), 0)
        grade = self.read_grade(self.path("out", "clip.ocgrade"))
        self.assertAlmostEqual(self.saturation_of(grade), 225, delta=4)
        self.assertEqual(struct.unpack_from("<f", grade, harness.HSL_MASTER_ON + 16)[0], 0)


if __name__ == "__main__":
    unittest.main()

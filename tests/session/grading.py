"""A colourist at work: mouse, keys, OK and Cancel, and what is on disk afterwards."""
import os
import struct
import time
import unittest

import harness

SLIDER = "hsl_master_saturation"


class Grading(harness.Session):
    def render_only(self, clip, grade, name):
        path = self.path(name)
        self.run_host("--render-only", "--grade", grade, "--output", path, clip)
        return self.pixels(path)

    def check_result(self, clip, source, out="out"):
        """The grade on disk has the switches that make it count; the graded clip is the engine's own result."""
        grade_file = self.path(out, "clip.ocgrade")
        grade = self.read_grade(grade_file)
        for offset in (harness.PRIMARY_ON, harness.HSL_ON, harness.HSL_MASTER_ON):
            self.assertEqual(struct.unpack_from("<I", grade, offset)[0], 1, offset)
        rendered = self.pixels(self.path(out, "clip_graded.mov"))
        self.assertEqual(rendered, self.render_only(clip, grade_file, "again.mov"))
        self.assertNotEqual(rendered, self.render_only(clip, self.make_grade(100, "plain.ocgrade"), "plain.mov"))
        self.assertEqual(len(rendered), len(source))
        return grade

    def grade_and_ok(self, *options):
        clip = self.make_clip()
        host = self.start_host(*options, clip)
        self.wait_for_window(host)
        application = self.application()
        picture = self.desktop.wait_for("picture")
        before = self.screen_pixels(picture, "before.png")
        self.desktop.drag_slider(SLIDER, 75)
        time.sleep(0.5)
        after = self.screen_pixels(picture, "after.png")
        self.assertNotEqual(before, after, "the picture did not follow the slider")
        self.desktop.click("OK")
        self.assertEqual(self.wait_ended(host), 0)
        grade = self.check_result(clip, self.pixels(clip))
        # 75 % of a track from 0 to 300, to the pixel that the mouse can hit.
        self.assertAlmostEqual(self.saturation_of(grade), 225, delta=4)
        # Its host is gone: the application follows, and nothing stays behind.
        self.wait_gone(application)
        self.assertEqual(self.left_behind(), [])

    def test_a_drag_and_ok_give_the_graded_clip(self):
        self.grade_and_ok()

    def test_a_frame_in_pieces_is_graded_alike(self):
        self.grade_and_ok("--chunk-rows", "50")

    def test_cancel_leaves_the_grade(self):
        clip = self.make_clip()
        start = self.make_grade(40)
        host = self.start_host("--grade", start, "--always-render", clip)
        self.wait_for_window(host)
        self.desktop.drag_slider(SLIDER, 90)
        self.desktop.click("Cancel")
        self.assertEqual(self.wait_ended(host), 0)
        self.assertEqual(self.pixels(self.path("out", "clip_graded.mov")), self.render_only(clip, start, "start.mov"))
        if os.path.exists(self.path("out", "clip.ocgrade")):
            self.assertEqual(self.read_grade(self.path("out", "clip.ocgrade")), self.read_grade(start))

    def test_ok_without_an_edit_changes_nothing(self):
        clip = self.make_clip()
        start = self.make_grade(40)
        host = self.start_host("--grade", start, "--always-render", clip)
        self.wait_for_window(host)
        self.desktop.click("OK")
        self.assertEqual(self.wait_ended(host), 0)
        self.assertEqual(self.pixels(self.path("out", "clip_graded.mov")), self.render_only(clip, start, "start.mov"))

    def test_typing_wheel_reset_and_undo(self):
        clip = self.make_clip()
        host = self.start_host(clip)
        self.wait_for_window(host)
        hand = self.desktop
        # Typed beyond the track, within what may be typed: the field keeps it.
        hand.click(SLIDER + ".value")
        time.sleep(0.2)
        hand.type("450.5")
        hand.key("Return")
        # The wheel acts on what is under the pointer, a 1,200th of the track a notch.
        hand.drag_slider("hsl_master_brightness", 80)
        hand.click("hsl_master_brightness.value", modifier="ctrl")
        hand.scroll("hsl_master_brightness.track", 6)
        # A whole drag is one step back.
        hand.drag_slider(SLIDER, 10)
        hand.key("ctrl+z")
        time.sleep(0.3)
        hand.screenshot(self.path("edited.png"))
        hand.click("OK")
        self.assertEqual(self.wait_ended(host), 0)
        grade = self.read_grade(self.path("out", "clip.ocgrade"))
        self.assertAlmostEqual(self.saturation_of(grade), 450.5, places=3)
        # The field holds percent; its track reaches from -100 to 100.
        brightness = struct.unpack_from("<f", grade, harness.HSL_MASTER_ON + 16)[0]
        self.assertAlmostEqual(brightness, 6 * 200 / 1200, delta=0.001)

    def test_the_last_frame_is_fetched_from_the_host(self):
        clip = self.make_clip(frames=24)
        host = self.start_host(clip)
        self.wait_for_window(host)
        picture = self.desktop.wait_for("picture")
        first = self.screen_pixels(picture, "first.png")
        self.desktop.key("End")
        last = harness.wait_until(lambda: self.block_word(harness.FRAME_TIME) != 0 and
                                  self.block_word(harness.STATUS) == harness.RUNNING, 10, "the last frame") and \
            self.screen_pixels(picture, "last.png")
        self.assertNotEqual(first, last)
        self.desktop.key("Home")
        harness.wait_until(lambda: self.block_word(harness.FRAME_TIME) == 0 and
                           self.block_word(harness.STATUS) == harness.RUNNING, 10, "the first frame")
        time.sleep(0.3)
        self.assertEqual(first, self.screen_pixels(picture, "first-again.png"))
        self.desktop.click("Cancel")
        self.assertEqual(self.wait_ended(host), 0)

    def test_the_second_session_finds_the_resident_application(self):
        clip = self.make_clip()
        host = self.start_host("--sessions", "2", clip)
        self.wait_for_window(host)
        first = self.application()
        self.desktop.drag_slider(SLIDER, 75)
        self.desktop.click("OK")
        # Hidden while the host renders, then up again with the grade of the first session.
        self.wait_hidden(host)
        self.wait_for_window(host, session=2)
        self.assertEqual(self.application(), first)
        self.desktop.drag_slider("hsl_master_brightness", 70)
        self.desktop.click("OK")
        self.assertEqual(self.wait_ended(host), 0)
        grade = self.check_result(clip, self.pixels(clip))
        self.assertAlmostEqual(self.saturation_of(grade), 225, delta=4)
        # Its host is gone: the application follows.
        self.wait_gone(first)
        self.assertEqual(self.left_behind(), [])

    def test_the_keys_work_in_the_second_session_too(self):
        # The host comes back while the application is still in its wait after OK.
        clip = self.make_clip(frames=24)
        host = self.start_host("--sessions", "2", "--no-render", clip)
        self.wait_for_window(host)
        self.desktop.drag_slider(SLIDER, 75)
        self.desktop.click("OK")
        self.wait_for_window(host, session=2)
        self.desktop.key("End")
        harness.wait_until(lambda: self.block_word(harness.FRAME_TIME) != 0 and
                           self.block_word(harness.STATUS) == harness.RUNNING, 10, "the last frame")
        self.desktop.drag_slider(SLIDER, 25)
        self.desktop.key("ctrl+z")
        time.sleep(0.3)
        self.desktop.click("OK")
        self.assertEqual(self.wait_ended(host), 0)
        grade = self.read_grade(self.path("out", "clip.ocgrade"))
        self.assertAlmostEqual(self.saturation_of(grade), 225, delta=4)


if __name__ == "__main__":
    unittest.main()

"""The panes as a colourist uses them: every view and display, zoom, pan, picks, splits, and the displays in a window of
their own, on a small screen, a usual one, and one with doubled pixels.

The clip is colour bars, so that what is on the screen can be compared with its own pixels. The pictures stay in the
test's folder, or are copied to OC_PICTURES_DIR, for people to look at.
"""
import os
import shutil
import struct
import time
import unittest

import harness

VIEWS = ("result", "source", "reference", "split_source", "split_ref", "luma_ranges")
DISPLAYS = ("combo", "reference", "luma", "yc", "rgb", "gbr", "yrgb", "ycbcr", "overlay", "vectorscope", "histograms",
            "tone_curve", "gallery")
WIDTH, HEIGHT = 480, 270
SAMPLE_1 = 29868 + 52   # of secondary A: three floats, behind the word that switches it on
SLIDER = "hsl_master_saturation"
BARS = ((60, 100), (120, 100), (170, 100), (240, 100), (300, 100), (350, 100), (420, 100))   # a place in each


class Views(harness.Session):
    scale = 1

    def start(self, *options):
        self.desktop.env["QT_SCALE_FACTOR"] = str(self.scale)
        self.clip = self.path("bars.mov")
        self.ffmpeg("-f", "lavfi", "-i", f"smptehdbars=size={WIDTH}x{HEIGHT}:rate=24", "-frames:v", "6", "-vf",
                    "format=rgb24", "-c:v", "png", self.clip)
        self.frame = self.ffmpeg("-i", self.clip, "-frames:v", "1", "-f", "rawvideo", "-pix_fmt", "rgb24", "-")
        self.host = self.start_host("--no-render", *options, self.clip)
        self.wait_for_window(self.host)
        self.image = self.desktop.wait_for("picture.image")

    def finish(self):
        self.desktop.click("Cancel")
        self.assertEqual(self.wait_ended(self.host), 0)

    def clip_pixel(self, x, y):
        return tuple(self.frame[3 * (y * WIDTH + x):3 * (y * WIDTH + x) + 3])

    def shoot(self, name):
        """A screenshot, kept; returns a function that tells a pixel of it."""
        time.sleep(0.3)
        path = self.path(name + ".png")
        self.desktop.screenshot(path)
        if os.environ.get("OC_PICTURES_DIR"):
            os.makedirs(os.environ["OC_PICTURES_DIR"], exist_ok=True)
            shutil.copy(path, os.path.join(os.environ["OC_PICTURES_DIR"],
                                           f"{self.size[0]}x{self.size[1]}@{self.scale}-{name}.png"))
        bytes_ = self.ffmpeg("-i", path, "-f", "rawvideo", "-pix_fmt", "rgb24", "-")
        return lambda x, y: tuple(bytes_[3 * (y * self.size[0] + x):3 * (y * self.size[0] + x) + 3])

    def box_pixels(self, shot, box):
        """Every fourth pixel of a box."""
        return [shot(x, y) for y in range(box.y, box.y + box.height, 4) for x in range(box.x, box.x + box.width, 4)]

    def place(self, x, y):
        """Where a pixel of the clip is on the screen at the fit size."""
        box = self.image
        return box.x + round((x + 0.5) * box.width / WIDTH), box.y + round((y + 0.5) * box.height / HEIGHT)

    def assert_near(self, seen, wanted, what, delta=2):
        for a, b in zip(seen, wanted):
            self.assertAlmostEqual(a, b, delta=delta, msg=f"{what}: {seen} instead of {wanted}")

    def assert_is_clip(self, shot, places, what):
        for x, y in places:
            self.assert_near(shot(*self.place(x, y)), self.clip_pixel(x, y), f"{what} at {x}, {y}")

    def assert_is_grey(self, shot, places, what):
        for x, y in places:
            seen = shot(*self.place(x, y))
            self.assertLessEqual(max(seen) - min(seen), 2, f"{what} at {x}, {y}: {seen}")

    # What a user does.

    def walk_the_views_and_displays(self):
        self.start()
        hand = self.desktop
        self.assert_is_clip(self.shoot("view-neutral"), BARS, "the neutral grade")
        hand.drag_slider(SLIDER, 0)   # grey from now on
        shots = {}
        for view in VIEWS:
            hand.click("view_" + view)
            shots[view] = self.shoot("view-" + view)
        self.assert_is_grey(shots["result"], BARS, "result")
        self.assert_is_clip(shots["source"], BARS, "source")
        left, right = BARS[:3], BARS[4:]
        for view in ("split_source", "split_ref"):
            self.assert_is_grey(shots[view], right, view)
        self.assert_is_clip(shots["split_source"], left, "split")
        self.assert_near(shots["split_ref"](*self.place(*left[0])), (0x28, 0x28, 0x28), "a missing reference")
        for pixel in (shots["luma_ranges"](*self.place(x, y)) for x, y in BARS):
            self.assertIn(pixel[0], (0, 125, 235))
            self.assertEqual(len(set(pixel)), 1)
        hand.click("view_source")
        seen = {}
        for display in DISPLAYS:
            hand.click("scope_" + display)
            hand.move((5, 5))
            shot = self.shoot("display-" + display)
            scopes = self.desktop.layout()["scopes"] if display not in ("reference", "gallery") else None
            if scopes:
                seen[display] = self.box_pixels(shot, scopes)
                lit = sum(max(pixel) > 60 for pixel in seen[display])
                self.assertGreater(lit, len(seen[display]) / 300, f"{display} is dark")
        names = sorted(seen)
        for i, a in enumerate(names):
            for b in names[i + 1:]:
                self.assertNotEqual(seen[a], seen[b], f"{a} and {b} look the same")
        self.finish()

    def split_with_the_mouse(self):
        self.start()
        hand = self.desktop
        hand.drag_slider(SLIDER, 0)
        hand.click("view_split_source")
        box = self.image
        top, bottom = (box.x + box.width // 2, box.y), (box.x + box.width // 2, box.y + box.height - 1)
        # The upper end past the corner: it stays on the border, and the line is a diagonal.
        hand.drag(top, (box.x - 60, box.y - 30))
        shot = self.shoot("split-diagonal")
        self.assert_is_grey(shot, [(300, 60), (240, 30), (420, 100)], "the result's side")
        self.assert_is_clip(shot, [(60, 150), (120, 152)], "the source's side")
        # The lower end to the right edge's middle: a polygon with three corners of the picture.
        hand.drag(bottom, (box.x + box.width + 40, box.y + box.height // 2))
        shot = self.shoot("split-polygon")
        self.assert_is_clip(shot, [(60, 100), (240, 150), (350, 152)], "the source below the line")
        self.assert_is_grey(shot, [(240, 40), (420, 40), (350, 70)], "the result above it")
        self.finish()

    def zoom_and_pan(self):
        self.start()
        hand = self.desktop
        fit = self.shoot("zoom-01")
        # On the border of two bars, so that a shift by one pixel shows.
        border = next(x for x in range(200, 300) if self.clip_pixel(x, 100) != self.clip_pixel(x - 1, 100))
        point = self.place(border, 100)
        inside = (point[0] - 40 * self.scale, point[1])
        colors = self.clip_pixel(border - 1, 100), self.clip_pixel(border, 100)
        for step in range(2, 10):
            hand.scroll(point, 1)
            shot = self.shoot(f"zoom-{step:02d}")
        # At 16x the pixel under the pointer is still there, and large.
        self.assertIn(shot(*point), colors)
        self.assertEqual(shot(*inside), colors[0])
        before = self.box_pixels(shot, self.desktop.layout()["picture"])
        hand.scroll(point, 1)   # the end of the table
        self.assertEqual(self.box_pixels(self.shoot("zoom-end"), self.desktop.layout()["picture"]), before)
        # The picture follows the hand.
        shift = 100 * self.scale
        x, y = point
        hand.hand("mousemove", x, y, "sleep", "0.1", "mousedown", "2", "sleep", "0.06", "mousemove", x + shift // 2, y,
                  "sleep", "0.06", "mousemove", x + shift, y, "sleep", "0.06", "mouseup", "2")
        panned = self.shoot("pan")
        self.assertEqual(panned(inside[0] + shift, y), colors[0])
        self.assertEqual(panned(inside[0] + shift // 2, y), colors[0])
        self.assertIn(panned(x + shift, y), colors)
        hand.scroll(point, -8)
        hand.move((5, 5))
        again = self.shoot("zoom-back")
        self.assertEqual(self.box_pixels(again, self.image), self.box_pixels(fit, self.image))
        # A click is a step as well, with Control the other way.
        hand.click(point)
        self.assertNotEqual(self.box_pixels(self.shoot("zoom-click"), self.image), self.box_pixels(fit, self.image))
        hand.click(point, modifier="ctrl")
        hand.click(point, modifier="ctrl")   # at 1x it does nothing
        hand.move((5, 5))
        self.assertEqual(self.box_pixels(self.shoot("zoom-clicked-back"), self.image), self.box_pixels(fit, self.image))
        self.finish()

    def pick_with_the_mouse(self):
        self.start()
        hand = self.desktop
        hand.click("view_source")
        box = hand.wait_for("pane_secondary")
        hand.click((box.x + box.width - 8, box.y + box.height // 2))
        time.sleep(0.3)
        picks = {}
        for number, (x, y) in enumerate(BARS[1:4]):
            hand.click(f"secondary_a_sample{number + 1}.eyedropper")
            hand.move(self.place(x, y))
            if number == 0:
                self.shoot("picking")
            # A press beside, a drag, a release on the bar: the release counts.
            hand.drag(self.place(*BARS[0]), self.place(x, y))
            picks[number] = self.clip_pixel(x, y)
        hand.click("secondary_a_sample4.eyedropper")
        outside = (self.image.x - 30, self.image.y + 10) if self.image.x - 30 > self.desktop.layout()["picture"].x \
            else (self.image.x + 10, self.image.y - 6)
        hand.drag(self.place(*BARS[0]), outside)   # outside it reads black
        self.shoot("picked")
        self.desktop.click("OK")
        self.assertEqual(self.wait_ended(self.host), 0)
        grade = self.read_grade(self.path("out", "bars.ocgrade"))
        for number, wanted in picks.items():
            seen = struct.unpack_from("<3f", grade, SAMPLE_1 + 16 * number)
            self.assert_near([255 * value for value in seen], wanted, f"sample {number + 1}", 0.51)
        self.assertEqual(struct.unpack_from("<3f", grade, SAMPLE_1 + 48), (0, 0, 0))

    def single_and_normal(self):
        self.start()
        hand = self.desktop
        normal = self.desktop.layout()["picture"]
        hand.key("ctrl+1")
        harness.wait_until(lambda: self.desktop.layout()["picture"].width > normal.width + 200, 10, "the single view")
        self.assertNotIn("scopes", self.desktop.layout())
        self.image = self.desktop.wait_for("picture.image")
        self.assert_is_clip(self.shoot("view-single"), BARS, "the single view")
        hand.key("ctrl+2")
        harness.wait_until(lambda: self.desktop.layout()["picture"] == normal, 10, "the normal view")
        hand.wait_for("scopes")
        self.finish()

    def displays_in_a_window(self):
        self.start()
        hand = self.desktop
        hand.click("scope_options")
        time.sleep(0.3)
        self.shoot("options-menu")
        hand.key("Up", "Return")   # the last item
        hand.wait_for("window_scopes")
        time.sleep(0.3)
        hand.click("window_luma")
        hand.move((5, 5))
        before = self.shoot("window-luma")
        # The window is above the sliders on one screen: a key moves the grade.
        box = hand.wait_for("window_scopes")
        lit = self.box_pixels(before, box)
        self.assertGreater(sum(max(pixel) > 60 for pixel in lit), len(lit) / 300)
        hand.click("window_combo")
        hand.click((box.x + 3 * box.width // 4, box.y + box.height // 4), button=3)
        time.sleep(0.3)
        self.shoot("window-menu")
        hand.key("Escape")
        combo = self.shoot("window-combo")
        self.assertNotEqual(self.box_pixels(combo, box), lit)
        # Its own letters, and those of the main window.
        hand.key("shift+v")
        self.shoot("window-vectorscope")
        hand.key("shift+s")
        source = self.shoot("window-source")
        self.assert_is_clip(source, [(x, y) for x, y in BARS if not self.covers(box, self.place(x, y))], "source")
        hand.key("Escape")
        harness.wait_until(lambda: not self.desktop.windows("^Ochrine Displays$"), 10, "the end of the window")
        hand.click("scope_options")
        time.sleep(0.3)
        hand.key("Up", "Return")
        harness.wait_until(lambda: self.desktop.windows("^Ochrine Displays$"), 10, "the window again")
        self.desktop.click("Cancel")   # it ends with the session
        self.assertEqual(self.wait_ended(self.host), 0)

    @staticmethod
    def covers(box, point):
        return box.x - 10 <= point[0] < box.x + box.width + 10 and box.y - 60 <= point[1] < box.y + box.height + 10


class Small(Views):
    size = (1024, 768)

    def test_views_and_displays_on_a_small_screen(self):
        self.walk_the_views_and_displays()

    def test_a_split_by_the_mouse_on_a_small_screen(self):
        self.split_with_the_mouse()

    def test_zoom_and_pan_on_a_small_screen(self):
        self.zoom_and_pan()

    def test_picks_by_the_mouse_on_a_small_screen(self):
        self.pick_with_the_mouse()

    def test_single_and_normal_on_a_small_screen(self):
        self.single_and_normal()

    def test_displays_in_a_window_on_a_small_screen(self):
        self.displays_in_a_window()


class Usual(Views):
    size = (1920, 1080)

    def test_views_and_displays_on_a_usual_screen(self):
        self.walk_the_views_and_displays()

    def test_a_split_by_the_mouse_on_a_usual_screen(self):
        self.split_with_the_mouse()

    def test_zoom_and_pan_on_a_usual_screen(self):
        self.zoom_and_pan()

    def test_displays_in_a_window_on_a_usual_screen(self):
        self.displays_in_a_window()


class Doubled(Views):
    size = (2048, 1536)
    scale = 2

    def test_views_and_displays_with_doubled_pixels(self):
        self.walk_the_views_and_displays()

    def test_a_split_by_the_mouse_with_doubled_pixels(self):
        self.split_with_the_mouse()

    def test_zoom_and_pan_with_doubled_pixels(self):
        self.zoom_and_pan()

    def test_picks_by_the_mouse_with_doubled_pixels(self):
        self.pick_with_the_mouse()

    def test_displays_in_a_window_with_doubled_pixels(self):
        self.displays_in_a_window()


if __name__ == "__main__":
    unittest.main()

"""Grading with the keyboard alone: letters lead to the tools, Tab to their controls, keys turn, drag and type. The mouse
lies beside it. What the host gets back is compared with what each key is worth, and the picture on the screen and the
rendered clip with the engine's own result."""
import math
import struct
import time
import unittest

import harness

# Offsets in a grade.
PRIMARY_ON, HUE_OFFSET_ON, CURVES_ON, RGB_CURVES_ON, LEVELS_ON = 4, 808, 1028, 1032, 864
LEVELS_MASTER_ON, LUMA_RANGE_ON = 872, 29832
HUE_ANGLE, HUE_STRENGTH = 820, 824          # of the master wheel
CURVE_MASTER, CURVE_STRIDE = 1036, 4108     # three words, a count, 16 x, 16 y, ...
LEVELS_IN = 876                             # black, gray, white; then those of the output
LUMA_SHADOW_X = 29844


def f32(value):
    return struct.unpack("<f", struct.pack("<f", value))[0]


class Keyboard(harness.Session):
    def word(self, grade, offset):
        return struct.unpack_from("<i", grade, offset)[0]

    def numbers(self, grade, offset, count=1):
        return struct.unpack_from(f"<{count}f", grade, offset)

    def start(self):
        self.clip = self.make_clip()
        self.host = self.start_host(self.clip)
        self.wait_for_window(self.host)
        self.desktop.move((self.size[0] // 2, self.size[1] - 2))   # where it hovers over nothing

    def focus_on(self, name, back=False):
        """Tab until the control has the focus; the circle of all controls is finite."""
        for _ in range(400):
            if self.desktop.focus() == name:
                return
            before = self.desktop.focus()
            self.desktop.key("shift+Tab" if back else "Tab")
            harness.wait_until(lambda: self.desktop.focus() != before, 5, f"the focus leaves {before!r}")
        self.fail(f"Tab does not lead to {name}")

    def page(self, letter, control):
        """A letter leads to a page; it and the control are on the screen then."""
        self.desktop.key(letter)
        self.desktop.wait_for(control)

    def repeat(self, key, times):
        self.desktop.hand("key", "--delay", "15", *[key] * times)

    def finish(self):
        """Ctrl+Q and Cancel lose the grade, so OK is reached by Tab and pressed by Space."""
        self.focus_on("OK", back=True)
        self.desktop.key("space")
        self.assertEqual(self.wait_ended(self.host), 0)
        path = self.path("out", "clip.ocgrade")
        again = self.path("again.mov")
        self.run_host("--render-only", "--grade", path, "--output", again, self.clip)
        self.assertEqual(self.pixels(self.path("out", "clip_graded.mov")), self.pixels(again))
        return self.read_grade(path)

    def test_wheel_arrows_shift_delete_and_sliders_below(self):
        self.start()
        hand = self.desktop
        self.page("w", "hueoffset_master.wheel")
        self.focus_on("hueoffset_master")
        self.repeat("Right", 10)
        self.repeat("shift+Right", 5)
        self.repeat("Up", 10)
        hand.key("Tab")   # the hue slider
        self.assertEqual(hand.focus(), "hueoffset_master_tintangle")
        hand.key("Tab")
        self.assertEqual(hand.focus(), "hueoffset_master_strength")
        self.focus_on("hueoffset_shadow")
        self.repeat("Left", 4)
        hand.key("Delete")
        self.focus_on("hueoffset_highlight_strength")
        hand.key("Return")   # typed, as with any slider
        hand.type("0.25")
        hand.key("Return")
        time.sleep(0.2)
        hand.screenshot(self.path("wheels.png"))
        grade = self.finish()
        x, y = 0.21, -0.2   # in parts of the radius
        angle, strength = self.numbers(grade, HUE_ANGLE, 2)
        self.assertAlmostEqual(strength, math.hypot(x, y), delta=1e-4)
        self.assertAlmostEqual(angle, math.degrees(math.atan2(y, x)) + 103, delta=0.02)
        self.assertEqual((self.word(grade, PRIMARY_ON), self.word(grade, HUE_OFFSET_ON)), (1, 1))
        shadows = self.triple(grade, "shadows")
        self.assertEqual(shadows, (0, 0))
        self.assertEqual(self.triple(grade, "highlights")[1], 0.25)

    def triple(self, grade, wheel):
        """Angle and strength; master, shadows, midtones and highlights follow each other."""
        index = ("master", "shadows", "midtones", "highlights").index(wheel)
        return self.numbers(grade, HUE_ANGLE + 12 * index, 2)

    def test_curve_insert_arrows_page_keys_and_backspace(self):
        self.start()
        hand = self.desktop
        self.page("c", "curves_rgb_master.plot")
        self.focus_on("curves_rgb_master")
        hand.key("Insert")             # a point halfway, selected
        self.repeat("Up", 32)
        self.repeat("Left", 16)
        hand.key("Page_Down", "Insert")   # behind the last point there is no next: halfway back
        hand.key("BackSpace")
        hand.key("Page_Up", "Page_Up")
        self.focus_on("curves_rgb_red")
        hand.key("Page_Down")          # the first point
        self.repeat("Right", 8)
        time.sleep(0.2)
        hand.screenshot(self.path("curves.png"))
        grade = self.finish()
        master = self.curve(grade, 0)
        self.assertEqual(master, [(0, 0), (0.5 - 16 / 256, 0.5 + 32 / 256), (1, 1)])
        self.assertEqual(self.curve(grade, 1), [(8 / 256, 0), (1, 1)])
        self.assertEqual(self.curve(grade, 2), [(0, 0), (1, 1)])
        for offset in (CURVES_ON, RGB_CURVES_ON):
            self.assertEqual(self.word(grade, offset), 1, offset)

    def curve(self, grade, index):
        at = CURVE_MASTER + index * CURVE_STRIDE
        count = self.word(grade, at + 12)
        return list(zip(self.numbers(grade, at + 16, count), self.numbers(grade, at + 80, count)))

    def test_levels_arrows_home_end_and_typing(self):
        self.start()
        hand = self.desktop
        self.page("v", "levels_master_levels.inblack")
        self.focus_on("levels_master_levels.inblack")
        self.repeat("Right", 32)
        self.repeat("shift+Right", 2)
        self.focus_on("levels_master_levels.inwhite")
        self.repeat("Left", 16)
        self.focus_on("levels_master_levels.outblack")
        hand.key("Return")
        hand.type("0.125")
        hand.key("Return")
        self.focus_on("levels_master_levels.outgray")
        hand.key("End")
        self.focus_on("levels_master_levels.outwhite")
        hand.key("Home", "End")
        time.sleep(0.2)
        hand.screenshot(self.path("levels.png"))
        grade = self.finish()
        black, gray, white, out_black, out_gray, out_white = self.numbers(grade, LEVELS_IN, 6)
        self.assertAlmostEqual(black, 32 / 256 + 2 / 1024, delta=1e-6)
        self.assertAlmostEqual(white, 1 - 16 / 256, delta=1e-6)
        self.assertAlmostEqual((gray - black) / (white - black), 0.5, delta=1e-5)
        self.assertEqual(out_black, 0.125)
        self.assertEqual(out_white, 1)
        self.assertTrue(out_black <= out_gray <= out_white, out_gray)
        self.assertEqual((self.word(grade, LEVELS_ON), self.word(grade, LEVELS_MASTER_ON)), (1, 1))

    def test_luma_ranges_arrows_and_typing(self):
        self.start()
        hand = self.desktop
        self.page("n", "lumarange_editor.shadows")
        self.focus_on("lumarange_editor.shadows")
        self.repeat("Left", 26)
        self.repeat("Up", 8)
        self.focus_on("lumarange_editor.highlights")
        self.repeat("shift+Right", 4)
        hand.key("Return")
        hand.type("0.8")
        hand.key("Return")
        time.sleep(0.2)
        hand.screenshot(self.path("lumaranges.png"))
        grade = self.finish()
        shadow_x, shadow_y, highlight_x, highlight_y = self.numbers(grade, LUMA_SHADOW_X, 4)
        self.assertAlmostEqual(shadow_x, 0.3 - 26 / 256, delta=1e-5)
        self.assertAlmostEqual(shadow_y, 0.3831 + 8 / 256, delta=1e-5)
        self.assertAlmostEqual(highlight_x, 0.8, delta=1 / 65536)
        self.assertEqual(highlight_y, f32(0.3831))
        self.assertEqual(self.word(grade, LUMA_RANGE_ON), 1)

    def test_every_tool_acts_on_the_picture_as_the_engine_says(self):
        """A step with each tool; after each the picture on the screen is another one, and undo brings the former back."""
        self.start()
        hand = self.desktop
        picture = hand.wait_for("picture")
        shots = 0

        def look():
            nonlocal shots
            shots += 1
            return self.screen_pixels(picture, f"picture{shots}.png")

        def settled(different_from):
            return harness.wait_until(lambda: (now := look()) != different_from and now, 10, "another picture")

        before = look()
        seen = [before]
        for letter, control, focus, keys in (
                ("w", "hueoffset_master.wheel", "hueoffset_master", ["Right"] * 20),
                ("c", "curves_rgb_master.plot", "curves_rgb_master", ["Insert"] + ["Up"] * 30),
                ("v", "levels_master_levels.inblack", "levels_master_levels.inblack", ["Right"] * 40)):
            self.page(letter, control)
            self.focus_on(focus)
            hand.hand("key", "--delay", "15", *keys)
            time.sleep(0.3)
            seen.append(settled(seen[-1]))
        self.page("p", "rgb_master_r_gain.track")
        self.focus_on("rgb_master_r_gain")
        hand.key("Page_Up", "Page_Up", "Page_Up")
        time.sleep(0.3)
        seen.append(settled(seen[-1]))
        hand.key("ctrl+z")
        harness.wait_until(lambda: look() == seen[-2], 10, "the picture before")
        hand.key("ctrl+shift+z")
        harness.wait_until(lambda: look() == seen[-1], 10, "the picture after")
        self.finish()


if __name__ == "__main__":
    unittest.main()

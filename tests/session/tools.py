"""Grading with every tool: a script turns, drags, clicks and types; the record that the host gets back is compared, and
the clip that the host renders with the engine's own result."""
import struct
import time
import unittest

import harness

# Offsets in a grade: switches, then the fields that the script changes.
HSL_SATURATION = 20
HUE_ANGLE, HUE_STRENGTH = 820, 824
RGB_RED_GAIN = 192
CMY_MAGENTA_GAMMA = 632
YCBCR_CB_PEDESTAL = 424
CURVE_COUNT, CURVE_X, CURVE_Y = 1048, 1052, 1116
LEVELS_IN_BLACK = 876
LUMA_SHADOW_X = 29844
SECONDARY_A = 29868
SECONDARY_SATURATION, SECONDARY_SAMPLE = SECONDARY_A + 32, SECONDARY_A + 48
LIMITER_CHROMA_MAX, LIMITER_SOFT_CLIP = 33384, 33396
SWITCHES = {"HSL": (4, 8, 12), "Hue Offsets": (808,), "RGB": (172, 176), "CMY": (596, 600), "YCbCr": (384, 388),
            "Curves": (1028, 1032), "Levels": (864, 872), "Luma Range": (29832,), "Secondary": (29860, SECONDARY_A),
            "Limiting": (33376,)}
PANES = ("hsl", "rgb", "cmy", "ycbcr", "curves", "levels", "lumarange", "secondary", "limiting")


class Tools(harness.Session):
    def word(self, grade, offset):
        return struct.unpack_from("<i", grade, offset)[0]

    def number(self, grade, offset):
        return struct.unpack_from("<f", grade, offset)[0]

    def start(self):
        self.clip = self.make_clip()
        self.host = self.start_host(self.clip)
        self.wait_for_window(self.host)

    def show(self, *tabs):
        """Clicks a tab, the one inside it, and so on."""
        for tab in tabs:
            box = self.desktop.wait_for(tab)
            # Beside the checkbox at its left.
            self.desktop.click((box.x + box.width - 8, box.y + box.height // 2))
            time.sleep(0.2)

    def finish(self):
        """OK; the grade, after the rendered clip was found to be what the engine makes of it."""
        self.desktop.screenshot(self.path("graded.png"))
        self.desktop.click("OK")
        self.assertEqual(self.wait_ended(self.host), 0)
        path = self.path("out", "clip.ocgrade")
        again = self.path("again.mov")
        self.run_host("--render-only", "--grade", path, "--output", again, self.clip)
        self.assertEqual(self.pixels(self.path("out", "clip_graded.mov")), self.pixels(again))
        return self.read_grade(path)

    def check_switches(self, grade):
        for tool, offsets in SWITCHES.items():
            for offset in offsets:
                self.assertEqual(self.word(grade, offset), 1, f"{tool}: switch at {offset}")

    def test_every_tool_by_mouse(self):
        self.start()
        hand = self.desktop
        hand.drag_slider("hsl_master_saturation", 75)
        self.show("hueoffset")
        wheel = hand.wait_for("hueoffset_master.wheel")
        middle = (wheel.x + wheel.width // 2, wheel.y + wheel.height // 2)
        hand.drag(middle, (middle[0] + wheel.width // 4, middle[1]))
        self.show("pane_rgb")
        hand.drag_slider("rgb_master_r_gain", 80)
        self.show("pane_cmy")
        hand.drag_slider("cmy_master_m_gamma", 50)
        self.show("pane_ycbcr")
        hand.drag_slider("ycbcr_master_cb_ped", 75)
        self.show("pane_curves")
        plot = hand.wait_for("curves_rgb_master.plot")
        hand.drag((plot.x + plot.width // 2, plot.y + plot.height // 2),
                  (plot.x + plot.width // 2, plot.y + plot.height // 4))
        self.show("pane_levels")
        handle = hand.wait_for("levels_master_levels.inblack")
        start = (handle.x + handle.width // 2, handle.y + handle.height // 2)
        scale = hand.wait_for("levels_master_levels.inwhite").x - handle.x
        hand.drag(start, (start[0] + scale // 4, start[1]))
        self.show("pane_lumarange")
        handle = hand.wait_for("lumarange_editor.shadows")
        start = (handle.x + handle.width // 2, handle.y + handle.height // 2)
        hand.drag(start, (start[0] - 20, start[1]))
        self.show("pane_secondary")
        hand.click("secondary_a_sample1.eyedropper")
        time.sleep(0.2)
        hand.click("picture")
        time.sleep(0.3)
        hand.drag_slider("secondary_a_saturation", 60)
        self.show("pane_limiting")
        box = hand.wait_for("limiter_softclip_enable")
        hand.click((box.x + 8, box.y + box.height // 2))
        hand.drag_slider("limiter_chroma_max", 50)
        time.sleep(0.3)
        grade = self.finish()
        self.check_switches(grade)
        self.assertAlmostEqual(self.number(grade, HSL_SATURATION), 225, delta=4)
        self.assertAlmostEqual(self.number(grade, HUE_ANGLE), 103, delta=2)
        self.assertAlmostEqual(self.number(grade, HUE_STRENGTH), 0.55, delta=0.1)
        self.assertAlmostEqual(self.number(grade, RGB_RED_GAIN), 2.4, delta=0.05)
        self.assertAlmostEqual(self.number(grade, CMY_MAGENTA_GAMMA), 2.55, delta=0.1)
        self.assertAlmostEqual(self.number(grade, YCBCR_CB_PEDESTAL), 0.5, delta=0.04)
        self.assertEqual(self.word(grade, CURVE_COUNT), 3)
        self.assertAlmostEqual(self.number(grade, CURVE_X + 4), 0.5, delta=0.03)
        self.assertAlmostEqual(self.number(grade, CURVE_Y + 4), 0.75, delta=0.03)
        self.assertAlmostEqual(self.number(grade, LEVELS_IN_BLACK), 0.25, delta=0.02)
        self.assertLess(self.number(grade, LUMA_SHADOW_X), 0.3)
        self.assertEqual(self.word(grade, SECONDARY_SAMPLE) & 0xFF, 1)
        self.assertNotEqual(struct.unpack_from("<3f", grade, SECONDARY_SAMPLE + 4), (0, 0, 0))
        self.assertAlmostEqual(self.number(grade, SECONDARY_SATURATION), 180, delta=4)
        self.assertEqual(self.word(grade, LIMITER_SOFT_CLIP), 1)
        self.assertAlmostEqual(self.number(grade, LIMITER_CHROMA_MAX), 100, delta=1)

    def test_letters_lead_to_every_tool_and_values_are_typed(self):
        self.start()
        hand = self.desktop
        # A letter, the first slider of the page it leads to, what is typed there, and where the grade keeps it.
        for letter, slider, typed, offset in (
                ("u", "hsl_master_hue", "33.5", 16), ("p", "rgb_master_gamma", "1.25", 184),
                ("t", "cmy_master_gamma", "0.5", 608), ("y", "ycbcr_master_y_gamma", "2", 408),
                ("v", "inputControls_highlight_recovery", "0.75", 33540), ("d", "secondary_a_chromatol", "0.9",
                                                                          SECONDARY_A + 8),
                ("l", "limiter_softclip_knee", "66", 33400)):
            hand.key(letter)
            hand.click(slider + ".value")
            time.sleep(0.2)
            hand.type(typed)
            hand.key("Return")
            time.sleep(0.2)
        # Tab goes on to the next value of the page.
        hand.key("p")
        hand.click("rgb_master_gamma.value")
        time.sleep(0.2)
        hand.key("Tab")
        hand.type("-0.25")
        hand.key("Return")
        # Keys on the tabs: from the last to the first, and its section off and on again.
        hand.click("pane_limiting")
        time.sleep(0.2)
        grade = self.finish()
        # A step of a value is 1/65536.
        for offset, value in ((16, 33.5), (184, 1.25), (608, 0.5), (408, 2), (33540, 0.75), (SECONDARY_A + 8, 0.9),
                              (33400, 66), (188, -0.25)):
            self.assertAlmostEqual(self.number(grade, offset), value, delta=1 / 131000, msg=f"at {offset}")

    def test_reset_of_a_page_and_of_all(self):
        self.start()
        hand = self.desktop
        hand.drag_slider("hsl_master_saturation", 75)
        self.show("pane_rgb")
        hand.drag_slider("rgb_master_r_gain", 80)
        hand.click("rgb_master_reset")
        time.sleep(0.3)
        self.show("pane_cmy")
        hand.drag_slider("cmy_master_m_gain", 80)
        hand.key("ctrl+z")
        time.sleep(0.3)
        grade = self.finish()
        self.assertEqual(self.number(grade, RGB_RED_GAIN), 1)
        self.assertEqual(self.word(grade, 176), 0)
        self.assertEqual(self.number(grade, 628), 1)
        self.assertAlmostEqual(self.number(grade, HSL_SATURATION), 225, delta=4)

    def test_every_pane_is_shown_whole(self):
        self.start()
        window = self.desktop.wait_for("main")
        for pane in PANES:
            self.show("pane_" + pane)
            time.sleep(0.3)
            self.desktop.screenshot(self.path(pane + ".png"))
            sample = self.desktop.layout()["sample"]
            self.assertLessEqual(sample.x + sample.width, window.x + window.width, pane)
        self.desktop.click("Cancel")
        self.assertEqual(self.wait_ended(self.host), 0)


if __name__ == "__main__":
    unittest.main()

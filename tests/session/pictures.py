"""Pictures of splash, menus, boxes and dialogs, on a small screen, a usual one, and one with doubled pixels.

Each is taken where a user would see it, and everything must stand on the screen as a whole. The pictures stay in the
test's folder, or are copied to OC_PICTURES_DIR, for people to look at.
"""
import os
import shutil
import signal
import time
import unittest

import harness

SLIDER = "hsl_master_saturation"
FRAME = 24   # what the window manager puts around a window is counted twice in its place
MENUS = (("file", ("Down", "Right")), ("edit", ()), ("settings", ()), ("clip", ()), ("view", ("Down", "Down", "Right")),
         ("help", ()))


class Pictures(harness.Session):
    scale = 1

    def setUp(self):
        super().setUp()
        self.desktop.env["QT_SCALE_FACTOR"] = str(self.scale)
        self.clip = self.make_clip(size="480x270")

    def geometry(self, window):
        """Left, top, width and height, or None for a window that has gone."""
        try:
            words = dict(line.split("=", 1) for line in
                         self.desktop.hand("getwindowgeometry", "--shell", window).split() if "=" in line)
        except harness.Failure:
            return None
        return tuple(int(words[name]) for name in ("X", "Y", "WIDTH", "HEIGHT"))

    def boxes(self):
        """The application's visible windows and where they are, openbox' own left out."""
        found = {}
        for window in self.desktop.windows(".*"):
            box = self.geometry(window)
            if box and box[2] > 60 and box[3] > 15:   # the window manager has some that are lines and buttons
                found[window] = box
        return found

    def take(self, name, known=()):
        """A picture; windows that are not known yet must be on the screen, whole. Returns their boxes."""
        time.sleep(0.4)
        self.desktop.screenshot(self.path(name + ".png"))
        if os.environ.get("OC_PICTURES_DIR"):
            os.makedirs(os.environ["OC_PICTURES_DIR"], exist_ok=True)
            shutil.copy(self.path(name + ".png"), os.path.join(
                os.environ["OC_PICTURES_DIR"], f"{self.size[0]}x{self.size[1]}@{self.scale}-{name}.png"))
        new = {window: box for window, box in self.boxes().items() if window not in known}
        for left, top, width, height in new.values():
            self.assertTrue(left >= 0 and top >= 0 and left + width <= self.size[0] + FRAME and
                            top + height <= self.size[1] + FRAME,
                            f"{name}: {width}x{height} at {left}, {top} is not on the screen")
        return list(new.values())

    def wait_new(self, known, what):
        harness.wait_until(lambda: any(window not in known for window in self.boxes()), 15, what)

    def open(self, **more):
        if os.path.exists(self.desktop.layout_file):
            os.unlink(self.desktop.layout_file)
        self.stamps = {}
        host = self.start_host("--no-render", self.clip, **more)
        self.wait_for_window(host)
        return host

    def take_the_splash(self):
        host = self.start_host("--no-render", self.clip)
        wanted = (351 * self.scale, 303 * self.scale)
        harness.wait_until(lambda: any(box[2:] == wanted for box in self.boxes().values()), 30, "the splash")
        (application,) = self.applications()
        time.sleep(0.15)
        self.desktop.kill(application, signal.SIGSTOP)
        self.take("splash")
        self.desktop.kill(application, signal.SIGCONT)
        self.wait_for_window(host)
        self.take("window")
        self.desktop.click("Cancel")
        self.assertEqual(self.wait_ended(host), 0)

    def take_the_menus_and_the_boxes_of_the_window(self):
        host = self.open()
        bar = self.desktop.wait_for("menus")
        first = (bar.x + 24 * self.scale, bar.y + bar.height // 2)
        for number, (name, keys) in enumerate(MENUS):
            known = set(self.boxes())
            self.desktop.click(first)
            time.sleep(0.2)
            self.desktop.key(*("Right",) * number)
            self.assertTrue(self.take("menu-" + name, known))
            if keys:
                self.desktop.key(*keys)
                self.assertTrue(self.take(f"menu-{name}-open", known))
            self.desktop.key("Escape", "Escape", "Escape")
            harness.wait_until(lambda: set(self.boxes()) <= known, 10, "the end of the menu")
        for name, opens in (("about", lambda: (self.desktop.click(first), self.desktop.key(*("Right",) * 5, "Up", "Return"))),
                            ("preset", lambda: self.desktop.key("shift+ctrl+alt+p")),
                            ("load", lambda: self.desktop.click("Load...")),
                            ("save", lambda: self.desktop.click("Save...")),
                            ("guide", lambda: self.desktop.key("F1"))):
            known = set(self.boxes())
            opens()
            self.wait_new(known, name)
            self.assertTrue(self.take(name, known))
            self.desktop.key("Escape")
            harness.wait_until(lambda: set(self.boxes()) <= known, 10, "the end of " + name)
        self.desktop.click("Cancel")
        self.assertEqual(self.wait_ended(host), 0)

    def take_the_alerts(self):
        application = self.desktop.start([self.app_program], "alone")
        known = set(self.boxes())
        self.wait_new(known, "the box without a host")
        self.assertTrue(self.take("alert-no-host", known))
        self.desktop.key("Return")
        self.assertEqual(self.wait_ended(application, 20), 0)

        host = self.open()
        self.grade(SLIDER, 75, 225)
        (application,) = self.applications()
        known = set(self.boxes())
        os.unlink(self.path("runtime", "ochrine", "Ochrine3CommBlock"))
        self.wait_new(known, "the box of a lost block")
        self.assertTrue(self.take("alert-lost-block", known))
        self.desktop.key("Return")
        self.wait_gone(application)
        self.wait_ended(host)

        host = self.open(name="again")
        self.desktop.wait_for("recover_yes")
        self.take("question")
        self.desktop.click("recover_no")
        self.desktop.click("Cancel")
        self.assertEqual(self.wait_ended(host), 0)

        host = self.start_host("--misbehave", "wrong-sizes", self.clip, name="wrong")
        harness.wait_until(lambda: "BP Ochrine UI failed" in self.desktop.log("wrong"), 30, "the log line")
        harness.wait_until(lambda: self.desktop.windows("^Ochrine$"), 20, "the box")
        self.take("alert-failed")
        self.desktop.key("Return")
        self.wait_ended(host)


class Small(Pictures):
    size = (1024, 768)

    def test_the_splash_on_a_small_screen(self):
        self.take_the_splash()

    def test_the_menus_on_a_small_screen(self):
        self.take_the_menus_and_the_boxes_of_the_window()

    def test_the_alerts_on_a_small_screen(self):
        self.take_the_alerts()


class Usual(Pictures):
    size = (1920, 1080)

    def test_the_splash_on_a_usual_screen(self):
        self.take_the_splash()

    def test_the_menus_on_a_usual_screen(self):
        self.take_the_menus_and_the_boxes_of_the_window()

    def test_the_alerts_on_a_usual_screen(self):
        self.take_the_alerts()


class Doubled(Pictures):
    size = (2048, 1536)
    scale = 2

    def test_the_splash_with_doubled_pixels(self):
        self.take_the_splash()

    def test_the_menus_with_doubled_pixels(self):
        self.take_the_menus_and_the_boxes_of_the_window()

    def test_the_alerts_with_doubled_pixels(self):
        self.take_the_alerts()


if __name__ == "__main__":
    unittest.main()

"""Requests from outside that the application end, in every state: it ends in order, as by the command Exit."""
import contextlib
import os
import signal
import sqlite3
import time
import unittest

import harness

SLIDER = "hsl_master_saturation"
OFFERED = "A grade of an earlier session is offered"
SIGNALS = (signal.SIGTERM, signal.SIGHUP, signal.SIGINT)
LEFT_WITHOUT_CHANGE, INTERRUPTED = 0, 130   # exit codes of ochrine-host


class Ending(harness.Session):
    def begin(self, *options, name="host"):
        if not hasattr(self, "clip"):
            self.clip = self.make_clip(frames=24)
        if os.path.exists(self.desktop.layout_file):
            os.unlink(self.desktop.layout_file)
        self.stamps = {}
        host = self.start_host("--no-render", *options, self.clip, name=name)
        self.wait_for_window(host)
        return host

    def stored(self, name):
        """A value of the preferences store, or None."""
        path = self.path("config", "ochrine", "Settings.db")
        with contextlib.closing(sqlite3.connect(path)) as store:
            row = store.execute("SELECT content FROM value WHERE name = ?", (name,)).fetchone()
            return row[0] if row else None

    def check_ended(self, host, application, code=LEFT_WITHOUT_CHANGE, seconds=8):
        self.wait_gone(application, seconds)
        if host:
            self.assertEqual(self.wait_ended(host), code)
            self.assertEqual(self.left_behind(), [])

    def check_is_offered(self, saturation):
        self.assertAlmostEqual(self.saturation_of(self.journaled()), saturation, delta=5)
        host = self.begin(name="after")
        self.desktop.wait_for("recover_yes")
        self.desktop.click("recover_yes")
        harness.wait_until(lambda: "recover_yes" not in self.desktop.layout(), 10, "the end of the question")
        self.desktop.click("OK")
        self.assertEqual(self.wait_ended(host), 0)
        grade = self.read_grade(self.path("out", "clip.ocgrade"))
        self.assertAlmostEqual(self.saturation_of(grade), saturation, delta=5)
        harness.wait_until(lambda: not self.applications(), 10, "the application's end")
        self.assertEqual(self.journals(), [])
        os.unlink(self.path("out", "clip.ocgrade"))

    def test_each_signal_ends_a_session_as_exit_does(self):
        for number in SIGNALS:
            with self.subTest(number.name):
                host = self.begin(name="with" + number.name)
                application = self.application()
                self.desktop.drag_slider(SLIDER, 75)
                self.desktop.key("shift+F3")   # a slot is stored with the preferences
                time.sleep(0.3)
                self.desktop.kill(application, number)
                self.check_ended(host, application)
                self.assertIn("cancelled", self.desktop.log("with" + number.name))
                self.assertIn("The end of the process was asked for", self.desktop.log("with" + number.name))
                self.assertEqual(len(self.stored("Saved Settings 3")), harness.GRADE_BYTES)
                self.check_is_offered(225)
                os.unlink(self.path("config", "ochrine", "Settings.db"))

    def test_the_last_change_of_a_drag_is_kept(self):
        host = self.begin()
        application = self.application()
        track = self.desktop.wait_for(SLIDER + ".track")
        y = track.y + track.height // 2
        self.desktop.hand("mousemove", track.x + track.width // 2, y, "mousedown", 1, "sleep", "0.2", "mousemove",
                          track.x + track.width * 3 // 4, y, "sleep", "0.2")
        self.desktop.kill(application, signal.SIGTERM)
        self.check_ended(host, application)
        self.desktop.hand("mouseup", 1)
        self.check_is_offered(225)

    def test_a_dialog_that_is_open_is_closed_first(self):
        for name, opens in (("load", lambda: self.desktop.click("Load...")),
                            ("preset", lambda: self.desktop.key("shift+ctrl+alt+p"))):
            with self.subTest(name):
                host = self.begin(name=name)
                application = self.application()
                self.grade(SLIDER, 75, 225)
                before = len(self.desktop.windows(".*"))
                opens()
                harness.wait_until(lambda: len(self.desktop.windows(".*")) > before, 10, "the dialog")
                time.sleep(0.5)
                self.desktop.screenshot(self.path(name + ".png"))
                self.desktop.kill(application, signal.SIGTERM)
                self.check_ended(host, application)
                self.check_is_offered(225)

    def test_a_menu_that_is_open_is_closed_first(self):
        host = self.begin()
        application = self.application()
        menus = self.desktop.wait_for("menus")
        self.desktop.click((menus.x + 66, menus.y + menus.height // 2))
        time.sleep(0.4)
        self.desktop.kill(application, signal.SIGTERM)
        self.check_ended(host, application)

    def test_an_open_question_is_put_again(self):
        host = self.begin()
        self.grade(SLIDER, 75, 225)
        self.desktop.kill(self.application(), signal.SIGTERM)
        self.wait_ended(host)
        host = self.begin(name="second")
        application = self.application()
        self.desktop.wait_for("recover_yes")
        self.desktop.kill(application, signal.SIGHUP)
        self.check_ended(host, application)
        self.check_is_offered(225)

    def test_an_application_that_is_resident_ends_at_once(self):
        host = self.start_host("--sessions", "2", self.make_clip(frames=200, size="640x360"))
        self.wait_for_window(host)
        application = self.application()
        self.desktop.drag_slider(SLIDER, 75)
        self.desktop.click("OK")
        self.wait_hidden(host)
        self.desktop.kill(application, signal.SIGTERM)
        self.wait_gone(application, 5)
        self.wait_for_window(host, session=2)   # its second session has an application of its own
        self.assertNotEqual(self.application(), application)
        self.desktop.click("Cancel")
        self.assertEqual(self.wait_ended(host), 0)

    def test_a_request_that_is_not_answered_does_not_hold_it(self):
        host = self.begin()
        application = self.application()
        self.grade(SLIDER, 75, 225)
        self.desktop.kill(host.pid, signal.SIGSTOP)
        self.desktop.key("End")
        harness.wait_until(lambda: self.block_word(harness.STATUS) == harness.REQUEST_FRAME, 10, "the request")
        self.desktop.kill(application, signal.SIGTERM)
        self.wait_gone(application, 5)
        self.desktop.kill(host.pid, signal.SIGCONT)
        self.check_ended(host, application)
        self.check_is_offered(225)

    def test_pieces_that_do_not_come_do_not_hold_it(self):
        host = self.start_host("--chunk-rows", "1", self.make_clip(size="320x400"))
        harness.wait_until(lambda: 0 < (self.block_word(harness.BYTES_REMAINING) or 0) and
                           self.block_word(harness.STATUS) in (harness.CHUNK_CONSUMED, harness.CHUNK_READY) and
                           self.applications(), 30, "the first piece")
        application = self.application()
        self.desktop.kill(host.pid, signal.SIGSTOP)
        self.desktop.kill(application, signal.SIGTERM)
        self.wait_gone(application, 5)
        self.desktop.kill(host.pid, signal.SIGCONT)
        self.assertEqual(self.wait_ended(host), LEFT_WITHOUT_CHANGE)

    def test_one_that_is_just_starting_ends_when_it_is_up(self):
        for delay in (0, 0.1, 0.3, 0.5, 0.7):
            with self.subTest(delay):
                name = f"after{int(delay * 1000)}"
                host = self.start_host("--no-render", self.make_clip(), name=name)
                (application,) = harness.wait_until(self.applications, 20, "the process")
                harness.wait_until(lambda: "main 1" in self.desktop.log(name), 20, "its first line")
                time.sleep(delay)
                self.desktop.kill(application, signal.SIGTERM)
                self.check_ended(host, application)

    def test_the_box_without_a_host_is_closed(self):
        application = self.desktop.start([self.app_program], "application")
        harness.wait_until(lambda: self.desktop.windows("Ochrine"), 20, "the alert")
        time.sleep(0.3)
        application.terminate()
        self.assertEqual(self.wait_ended(application, 5), 0)

    # A host that goes in the moment after OK.

    def without_time_out(self):
        """One session, after which the store says that nobody stays resident."""
        host = self.begin(name="first")
        self.desktop.key("ctrl+q")
        self.wait_ended(host)
        harness.wait_until(lambda: not self.applications(), 10, "the application's end")
        with contextlib.closing(sqlite3.connect(self.path("config", "ochrine", "Settings.db"))) as store:
            store.execute("UPDATE value SET content = 0 WHERE name = 'UI Timeout Enable'")
            store.commit()

    def test_a_host_killed_just_after_ok_in_the_quit_path_loses_no_grade(self):
        self.without_time_out()
        for delay in (0, 0.02, 0.3):
            with self.subTest(delay):
                host = self.begin(name=f"after{int(delay * 1000)}")
                application = self.application()
                self.grade(SLIDER, 75, 225)
                self.desktop.kill(host.pid, signal.SIGSTOP)   # it will not look at the block any more
                self.desktop.click("OK")
                harness.wait_until(lambda: self.block_word(harness.STATUS) == 4, 10, "the last word")
                time.sleep(delay)
                self.desktop.kill(host.pid)
                self.wait_ended(host)
                self.wait_gone(application, 5)
                self.check_is_offered(225)

    def test_a_host_that_takes_its_time_after_ok_in_the_quit_path_gets_the_grade(self):
        self.without_time_out()
        host = self.begin()
        application = self.application()
        self.grade(SLIDER, 75, 225)
        self.desktop.kill(host.pid, signal.SIGSTOP)
        self.desktop.click("OK")
        harness.wait_until(lambda: self.block_word(harness.STATUS) == 4, 10, "the last word")
        time.sleep(0.2)
        self.assertTrue(harness.is_running(application))
        self.assertEqual(self.desktop.windows("^Ochrine$"), [])   # nobody looks at a window that does not answer
        self.wait_gone(application, 5)                             # and it does not wait forever
        self.desktop.kill(host.pid, signal.SIGCONT)
        self.assertEqual(self.wait_ended(host), 0)
        self.assertAlmostEqual(self.saturation_of(self.read_grade(self.path("out", "clip.ocgrade"))), 225, delta=5)
        self.assertEqual(self.journals(), [])


if __name__ == "__main__":
    unittest.main()

"""Nothing is lost: what a session left that ended badly is offered to the next one on the same clip."""
import os
import time
import unittest

import harness

SLIDER = "hsl_master_saturation"
OFFERED = "A grade of an earlier session is offered"
TOOK_BACK = "The host took its block back"


class Recovery(harness.Session):
    def begin(self, *options, clip=None, name="host"):
        self.clip = clip or self.make_clip()
        host = self.start_host(*options, self.clip, name=name)
        self.wait_for_window(host)
        return host

    def begin_again(self, *options, name="host"):
        if os.path.exists(self.desktop.layout_file):
            os.unlink(self.desktop.layout_file)
        self.stamps = {}
        return self.begin(*options, clip=self.clip, name=name)

    def saturation_after_ok(self, host):
        self.desktop.click("OK")
        self.assertEqual(self.wait_ended(host), 0)
        return self.saturation_of(self.read_grade(self.path("out", "clip.ocgrade")))

    def answer(self, button):
        self.desktop.wait_for(button)
        self.desktop.screenshot(self.path(button + ".png"))
        self.desktop.click(button)
        harness.wait_until(lambda: button not in self.desktop.layout(), 10, "the end of the question")

    def lose_both(self, host):
        application = self.application()
        self.desktop.kill(application)
        self.desktop.kill(host.pid)
        self.wait_ended(host)
        self.wait_gone(application)

    def test_a_killed_application_loses_no_grade(self):
        host = self.begin()
        self.grade(SLIDER, 75, 225)
        self.desktop.kill(self.application())
        self.assertNotEqual(self.wait_ended(host), 0)
        host = self.begin_again(name="second")
        self.answer("recover_yes")
        self.assertAlmostEqual(self.saturation_after_ok(host), 225, delta=5)
        harness.wait_until(lambda: not self.journals(), 10, "the removal of the journal")

    def test_a_declined_grade_is_gone(self):
        host = self.begin()
        self.grade(SLIDER, 75, 225)
        self.lose_both(host)
        host = self.begin_again(name="second")
        self.answer("recover_no")
        self.assertEqual(self.journals(), [])
        self.desktop.click("OK")
        self.assertEqual(self.wait_ended(host), 0)
        self.assertFalse(os.path.exists(self.path("out", "clip.ocgrade")))

    def test_the_question_can_be_left_open_by_a_second_loss(self):
        host = self.begin()
        self.grade(SLIDER, 75, 225)
        self.lose_both(host)
        host = self.begin_again(name="second")
        self.desktop.wait_for("recover_yes")
        self.lose_both(host)
        host = self.begin_again(name="third")
        self.answer("recover_yes")
        self.assertAlmostEqual(self.saturation_after_ok(host), 225, delta=5)

    def test_ok_and_cancel_leave_no_journal(self):
        host = self.begin("--sessions", "2")
        self.grade(SLIDER, 75, 225)
        self.desktop.click("OK")
        self.wait_hidden(host)
        self.wait_for_window(host, session=2)
        harness.wait_until(lambda: not self.journals(), 10, "the removal of the journal")
        self.grade(SLIDER, 25, 75)
        self.desktop.click("Cancel")
        self.assertEqual(self.wait_ended(host), 0)
        harness.wait_until(lambda: not self.journals(), 10, "the removal of the journal")
        self.assertNotIn(OFFERED, self.desktop.log("host"))

    def test_closing_the_window_keeps_the_grade(self):
        host = self.begin()
        self.grade(SLIDER, 75, 225)
        self.desktop.key("ctrl+q")
        self.assertEqual(self.wait_ended(host), 0)
        host = self.begin_again(name="second")
        self.answer("recover_yes")
        self.assertAlmostEqual(self.saturation_after_ok(host), 225, delta=5)

    def test_a_grade_given_to_a_dead_host_is_kept(self):
        host = self.begin()
        application = self.application()
        self.grade(SLIDER, 75, 225)
        self.desktop.kill(host.pid)
        self.wait_ended(host)
        self.desktop.click("OK")
        self.wait_gone(application)
        host = self.begin_again(name="second")
        self.answer("recover_yes")
        self.assertAlmostEqual(self.saturation_after_ok(host), 225, delta=5)

    def take_back(self, spoil):
        host = self.begin()
        application = self.application()
        self.grade(SLIDER, 75, 225)
        spoil(self.path("runtime", "ochrine", "Ochrine3CommBlock"))
        harness.wait_until(lambda: TOOK_BACK in self.desktop.log("host"), 10, "the line of the log")
        time.sleep(0.7)
        self.desktop.screenshot(self.path("alert.png"))
        self.assertTrue(harness.is_running(application))   # it waits for its user
        self.desktop.key("Return")
        self.wait_gone(application)
        self.wait_ended(host)
        host = self.begin_again(name="second")
        self.answer("recover_yes")
        self.assertAlmostEqual(self.saturation_after_ok(host), 225, delta=5)

    def test_an_unlinked_block_ends_the_session_with_a_message(self):
        self.take_back(os.unlink)

    def test_a_block_cut_to_nothing_ends_the_session_with_a_message(self):
        self.take_back(lambda path: os.truncate(path, 0))

    def test_a_block_cut_in_the_middle_ends_the_session_with_a_message(self):
        self.take_back(lambda path: os.truncate(path, 60000))

    def test_an_interrupted_host_ends_the_session_with_a_message(self):
        host = self.begin()
        application = self.application()
        self.grade(SLIDER, 75, 225)
        host.terminate()   # it removes its block
        self.assertEqual(self.wait_ended(host), 130)
        harness.wait_until(lambda: TOOK_BACK in self.desktop.log("host"), 10, "the line of the log")
        time.sleep(0.7)
        self.desktop.key("Return")
        self.wait_gone(application)
        self.assertEqual(self.left_behind(), [])
        self.assertIsNotNone(self.journaled())

    # The place of the journal.

    def test_a_home_that_cannot_be_written_costs_the_journal_only(self):
        self.desktop.env |= {"XDG_STATE_HOME": "/proc/ochrine", "XDG_CONFIG_HOME": "/proc/ochrine", "HOME": "/proc/ochrine"}
        host = self.begin()
        self.desktop.drag_slider(SLIDER, 75)
        harness.wait_until(lambda: "No journal is kept of this session, error " in self.desktop.log("host"), 10,
                           "the line of the log")
        self.desktop.drag_slider(SLIDER, 25)
        self.assertAlmostEqual(self.saturation_after_ok(host), 75, delta=5)
        self.assertEqual(self.desktop.log("host").count("No journal is kept"), 1)

    def test_a_full_disk_costs_the_journal_and_the_preferences_only(self):
        # A limit on the size of files stands for the disk; the application runs under it, the host does not.
        wrapper = self.path("full-disk")
        with open(wrapper, "w", encoding="utf-8") as file:
            file.write("#!/bin/bash\ntrap '' XFSZ\nulimit -f 24\nexec " + self.app_program + " 2>/dev/null\n")
        os.chmod(wrapper, 0o755)
        host = self.begin("--app", wrapper)
        application = self.application()
        self.desktop.drag_slider(SLIDER, 75)
        time.sleep(0.5)
        self.assertEqual(self.journals(), [])
        self.assertAlmostEqual(self.saturation_after_ok(host), 225, delta=5)
        self.wait_gone(application)
        self.assertEqual(self.left_behind(), [])


if __name__ == "__main__":
    unittest.main()

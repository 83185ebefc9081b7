"""One side is lost without a word, in every state of a session: the other side neither hangs nor crashes."""
import os
import signal
import time
import unittest

import harness

HOST_LOST_THE_APPLICATION = 5   # exit code of ochrine-host


class Losses(harness.Session):
    def begin(self, *options):
        host = self.start_host(*options, self.make_clip())
        self.wait_for_window(host)
        return host, self.application()

    def begin_in_pieces(self):
        """A session that is still handing over its first frame, a row at a time."""
        host = self.start_host("--chunk-rows", "1", self.make_clip(size="320x400"))
        harness.wait_until(lambda: 0 < (self.block_word(harness.BYTES_REMAINING) or 0) and
                           self.block_word(harness.STATUS) in (harness.CHUNK_CONSUMED, harness.CHUNK_READY) and
                           self.applications(), 30, "the first piece")
        return host, self.application()

    def begin_pending(self):
        """A session with a request that its host does not see."""
        host, application = self.begin()
        self.desktop.kill(host.pid, signal.SIGSTOP)
        self.desktop.key("End")
        harness.wait_until(lambda: self.block_word(harness.STATUS) == harness.REQUEST_FRAME, 10, "the request")
        return host, application

    def lose(self, host):
        self.desktop.kill(host.pid)
        self.wait_ended(host)

    def check_application_lives_on(self, application, button="Cancel"):
        """Without its host the application stays as usable as before, until its user leaves."""
        picture = self.desktop.wait_for("picture")
        before = self.screen_pixels(picture, "before.png")
        self.desktop.drag_slider("hsl_master_saturation", 5)
        time.sleep(0.5)
        self.assertNotEqual(before, self.screen_pixels(picture, "after.png"), "the application does not answer")
        self.assertEqual(self.application(), application)
        self.desktop.click(button)
        self.wait_hidden(None, button)

    def check_host_notices(self, host, application):
        self.desktop.kill(application)
        self.assertEqual(self.wait_ended(host, 20), HOST_LOST_THE_APPLICATION)
        self.assertNotIn("Ochrine3CommBlock", self.left_behind())
        self.assertFalse(os.path.exists(self.path("out", "clip_graded.mov")))

    # The host is lost.

    def test_host_lost_while_idle(self):
        host, application = self.begin()
        self.lose(host)
        self.check_application_lives_on(application)

    def test_application_follows_a_lost_host(self):
        host, application = self.begin()
        self.lose(host)
        self.desktop.click("Cancel")
        self.wait_gone(application)

    def test_host_lost_before_ok(self):
        host, application = self.begin()
        self.lose(host)
        self.check_application_lives_on(application, "OK")

    def test_host_lost_with_a_request_pending(self):
        host, application = self.begin_pending()
        self.lose(host)
        self.check_application_lives_on(application)

    def test_host_that_never_answers_and_ends(self):
        host, application = self.begin("--misbehave", "never-answer")
        self.desktop.key("End")
        self.wait_ended(host, 20)
        self.check_application_lives_on(application)

    def test_host_lost_between_pieces(self):
        host, application = self.begin_in_pieces()
        self.lose(host)
        # There is no picture to show: the application says so and ends.
        harness.wait_until(lambda: "failed, error" in self.desktop.log("host"), 20, "the log line")
        time.sleep(0.5)
        self.assertTrue(harness.is_running(application))
        self.desktop.screenshot(self.path("alert.png"))
        self.desktop.key("Return")
        self.wait_gone(application)

    def test_host_lost_while_the_application_is_resident(self):
        host = self.start_host("--sessions", "2", self.make_clip(frames=200, size="640x360"))
        self.wait_for_window(host)
        application = self.application()
        self.desktop.drag_slider("hsl_master_saturation", 75)
        self.desktop.click("OK")
        self.wait_hidden(host)
        harness.wait_until(lambda: self.block_word(harness.STATUS) is None, 10, "the end of the block")
        self.lose(host)
        self.wait_gone(application)

    # The application is lost.

    def test_application_lost_while_idle(self):
        self.check_host_notices(*self.begin())

    def test_application_lost_with_a_request_pending(self):
        host, application = self.begin_pending()
        self.desktop.kill(application)
        self.desktop.kill(host.pid, signal.SIGCONT)
        self.check_host_notices(host, application)

    def test_application_lost_between_pieces(self):
        self.check_host_notices(*self.begin_in_pieces())

    def test_application_lost_while_resident(self):
        host = self.start_host("--sessions", "2", self.make_clip(frames=100, size="640x360"))
        self.wait_for_window(host)
        first = self.application()
        self.desktop.drag_slider("hsl_master_saturation", 75)
        self.desktop.click("OK")
        self.wait_hidden(host)
        self.desktop.kill(first)
        # The host starts another one for its second session.
        self.wait_for_window(host, session=2)
        self.assertNotEqual(self.application(), first)
        self.desktop.click("OK")
        self.assertEqual(self.wait_ended(host), 0)

    # After a loss.

    def test_the_next_session_is_not_disturbed(self):
        host, application = self.begin()
        self.desktop.kill(application)
        self.desktop.kill(host.pid)
        self.wait_ended(host)
        os.unlink(self.desktop.layout_file)
        host, application = self.begin()
        self.desktop.click("Cancel")
        self.assertEqual(self.wait_ended(host), 0)
        self.wait_gone(application)
        # Of the killed ones nothing is left but the name of a socket, which nobody listens to.
        self.assertEqual([name for name in self.left_behind() if not name.startswith("Comm")], [])

    def test_the_application_without_a_host_says_so_and_ends(self):
        application = self.desktop.start([self.app_program], "application")
        harness.wait_until(lambda: self.desktop.windows("Ochrine"), 20, "the alert")
        time.sleep(0.5)
        self.desktop.screenshot(self.path("alert.png"))
        self.assertIsNone(application.poll())
        self.desktop.key("Return")
        self.assertEqual(self.wait_ended(application, 20), 0)
        self.assertIn("No data passed to UI.", self.desktop.log("application"))
        self.assertEqual(self.left_behind(), [])


if __name__ == "__main__":
    unittest.main()

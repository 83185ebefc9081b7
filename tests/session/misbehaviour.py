"""Hosts that break the protocol, and hosts that meet: the application says so, goes on, or ends in order."""
import os
import time
import unittest

import harness

SLIDER = "hsl_master_saturation"
HOST_DONE, HOST_DIED_WITHOUT_APPLICATION, HOST_BUSY, HOST_LOST = 0, 5, 8, 9


class Misbehaviour(harness.Session):
    allowed = ()   # what the logs may hold although it is an offence elsewhere

    def check_logs(self):
        if not self.allowed:
            super().check_logs()

    def begin(self, mode, *options):
        how = () if mode == "none" else ("--misbehave", mode)
        host = self.start_host(*how, "--no-render", *options, self.make_clip(frames=24))
        self.wait_for_window(host)
        return host

    def press_return_at(self, text):
        """Waits for a line in the log, and for the box that comes with it, and closes the box."""
        harness.wait_until(lambda: text in self.desktop.log("host"), 30, "the log line")
        harness.wait_until(lambda: self.desktop.windows("Ochrine"), 20, "the box")
        time.sleep(0.7)
        self.desktop.screenshot(self.path("alert.png"))
        self.desktop.key("Return")

    def finish(self, host, button="Cancel", code=HOST_DONE):
        self.desktop.click(button)
        self.assertEqual(self.wait_ended(host), code)

    # Blocks.

    def check_is_no_block(self, mode):
        host = self.start_host("--misbehave", mode, self.make_clip())
        self.press_return_at("main 6")
        self.assertEqual(self.wait_ended(host), HOST_DIED_WITHOUT_APPLICATION)
        self.assertIn("(exit code 0)", self.desktop.log("host"))
        self.assertIn("No data passed to UI.", self.desktop.log("host"))
        self.assertEqual(self.left_behind(), [])

    def test_another_version_is_no_block(self):
        self.check_is_no_block("version6")

    def test_another_signature_is_no_block(self):
        self.check_is_no_block("wrong-signature")

    def test_a_block_of_the_other_byte_order_is_no_block(self):
        self.check_is_no_block("swapped")

    def test_a_short_object_is_no_block(self):
        self.check_is_no_block("short-object")

    def test_a_header_after_two_hundred_milliseconds_is_too_late(self):
        self.check_is_no_block("too-late-header")

    def test_a_header_after_thirty_milliseconds_is_accepted(self):
        self.finish(self.begin("late-header"))

    def test_a_frame_beyond_the_block_fails_the_start(self):
        host = self.start_host("--misbehave", "wrong-sizes", self.make_clip())
        self.press_return_at("BP Ochrine UI failed, error -")
        self.assertEqual(self.wait_ended(host), HOST_DONE)   # it was told 4, with the grade as it was
        self.assertIn("cancelled", self.desktop.log("host"))

    def test_more_clips_than_records_do_no_harm(self):
        self.finish(self.begin("clips250"))

    def test_a_negative_count_of_clips_is_told_and_survived(self):
        self.allowed = ("Assert (",)
        host = self.start_host("--misbehave", "clips-negative", "--no-render", self.make_clip())
        self.press_return_at("Assert (clipCount >= 0) failed.")
        self.wait_for_window(host)
        self.finish(host)

    def test_a_host_without_a_process_gets_no_request_and_no_resident_application(self):
        host = self.begin("no-process")
        application = self.application()
        self.desktop.key("End")
        harness.wait_until(lambda: self.block_word(harness.FRAME_TIME) != 0, 10, "the new position")
        self.assertEqual(self.block_word(harness.STATUS), harness.RUNNING)
        self.finish(host)
        self.wait_gone(application)
        self.assertEqual(self.left_behind(), [])

    def test_a_block_without_a_grade_gives_a_fresh_one(self):
        host = self.begin("no-grade", "--grade", self.make_grade(40), "--always-render")
        self.finish(host, "OK")
        self.assertEqual(self.saturation_of(self.read_grade(self.path("out", "clip.ocgrade"))), 100)

    def test_the_block_of_a_dead_host_is_replaced(self):
        self.finish(self.begin("stale-block"))

    # Frames.

    def pictures_around_end(self, host, seconds=15):
        picture = self.desktop.wait_for("picture")
        before = self.screen_pixels(picture, "before.png")
        self.desktop.key("End")
        harness.wait_until(lambda: self.block_word(harness.FRAME_TIME) != 0 and
                           self.block_word(harness.STATUS) == harness.RUNNING, seconds, "the answer")
        time.sleep(0.4)
        after = self.screen_pixels(picture, "after.png")
        self.desktop.drag_slider(SLIDER, 75)   # it answers
        self.finish(host, "OK")
        self.assertAlmostEqual(self.saturation_of(self.read_grade(self.path("out", "clip.ocgrade"))), 225, delta=5)
        return before, after

    def check_keeps_its_picture(self, mode):
        before, after = self.pictures_around_end(self.begin(mode))
        self.assertEqual(before, after)

    def check_shows_the_last_frame(self, mode):
        before, after = self.pictures_around_end(self.begin(mode))
        self.assertNotEqual(before, after)
        # Of a flat black picture, as the false frames are, every pixel would be one colour.
        self.assertGreater(len(set(after[i:i + 3] for i in range(0, len(after), 3))), 50)

    def test_a_refused_request_keeps_the_picture(self):
        self.check_keeps_its_picture("status11")

    def test_a_frame_without_its_last_row_keeps_the_picture(self):
        self.check_keeps_its_picture("short-frame")

    def test_a_frame_with_a_row_too_many_is_taken(self):
        self.check_shows_the_last_frame("long-frame")

    def test_a_late_answer_is_awaited(self):
        self.check_shows_the_last_frame("late-answer")

    def test_a_message_with_another_word_is_passed_over(self):
        self.check_shows_the_last_frame("wrong-word")

    def test_the_second_of_two_frames_counts(self):
        self.check_shows_the_last_frame("two-frames")

    def test_values_of_status_without_a_meaning_leave_the_request_pending(self):
        self.check_shows_the_last_frame("strange-status")

    def test_a_host_that_dies_with_a_request_pending_counts_as_refused(self):
        host = self.begin("die-pending")
        self.desktop.key("End")
        self.assertEqual(self.wait_ended(host), HOST_LOST)
        self.desktop.drag_slider(SLIDER, 75)
        self.desktop.click("Cancel")
        self.wait_hidden(None, "Cancel")

    def test_a_host_that_dies_between_chunks_fails_the_start(self):
        host = self.start_host("--misbehave", "die-chunks", "--chunk-rows", "20", self.make_clip())
        self.assertEqual(self.wait_ended(host), HOST_LOST)
        self.press_return_at("BP Ochrine UI failed, error -")
        harness.wait_until(lambda: not self.applications(), 15, "the application's end")

    # The middle of a session.

    def test_a_host_that_ends_in_the_middle_leaves_the_application_usable(self):
        host = self.begin("die-idle")
        self.assertEqual(self.wait_ended(host), HOST_LOST)
        application = self.application()
        self.desktop.drag_slider(SLIDER, 75)
        self.desktop.click("Cancel")
        self.wait_gone(application)

    def check_takes_its_block_back(self, mode):
        host = self.begin(mode)
        application = self.application()
        self.press_return_at("The host took its block back")
        self.wait_gone(application)
        self.wait_ended(host)

    def test_a_host_that_removes_its_block_ends_the_session(self):
        self.check_takes_its_block_back("unlink")

    def test_a_host_that_cuts_its_block_ends_the_session(self):
        self.check_takes_its_block_back("truncate")

    # Two hosts.

    def test_a_second_host_is_refused_and_the_first_goes_on(self):
        first = self.begin("none")
        second = self.start_host("--no-render", self.make_clip("other.mov"), name="second")
        self.assertEqual(self.wait_ended(second), HOST_BUSY)
        self.desktop.drag_slider(SLIDER, 75)
        self.finish(first, "OK")
        self.assertAlmostEqual(self.saturation_of(self.read_grade(self.path("out", "clip.ocgrade"))), 225, delta=5)

    def test_of_two_hosts_that_start_together_one_gets_the_session(self):
        clip = self.make_clip()
        hosts = [self.start_host("--no-render", clip, name=name) for name in ("host", "second")]
        harness.wait_until(lambda: any(host.poll() is not None for host in hosts), 30, "the end of one")
        ended = [host for host in hosts if host.poll() is not None]
        self.assertEqual([host.returncode for host in ended], [HOST_BUSY])
        (winner,) = [host for host in hosts if host not in ended]
        self.wait_for_window(winner)
        self.application()   # one, no more
        self.finish(winner)

    def test_another_host_takes_over_from_one_that_died(self):
        first = self.begin("die-idle")
        old = self.application()
        self.assertEqual(self.wait_ended(first), HOST_LOST)
        # The application of the dead host sees its block go and says so; the new host gets one of its own.
        second = self.start_host("--no-render", self.make_clip("other.mov"), name="second")
        self.press_return_at("The host took its block back")
        self.wait_gone(old)
        os.unlink(self.desktop.layout_file)
        self.wait_for_window(second)
        self.finish(second)


if __name__ == "__main__":
    unittest.main()

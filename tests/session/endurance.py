"""Session after session with random kills of either side: no process, no object and no grade is lost.

OC_ENDURANCE_SESSIONS says how many sessions, OC_ENDURANCE_SEED which ones. A failure names its session and the seed:

    OC_ENDURANCE_SESSIONS=200 OCHRINE_HOST=… OCHRINE_APP=… python3 tests/session/endurance.py
"""
import collections
import os
import random
import signal
import time
import unittest

import harness

SLIDER = "hsl_master_saturation"
OFFERED = "A grade of an earlier session is offered"
LEFTOVER_SECONDS = 10   # after which an application sweeps the sockets of killed ones


class Endurance(harness.Session):
    def setUp(self):
        super().setUp()
        self.seed = int(os.environ.get("OC_ENDURANCE_SEED", "1"))
        self.dice = random.Random(self.seed)
        self.pending = None    # the saturation that nobody has been given yet: the next session must offer it
        self.ends = collections.Counter()
        self.clip = self.make_clip(frames=24)
        self.grade_file = self.path("out", "clip.ocgrade")

    # A session.

    def start(self, number, *options):
        if os.path.exists(self.desktop.layout_file):
            os.unlink(self.desktop.layout_file)
        self.stamps = {}
        self.name = f"host{number:03}"
        start = ("--grade", self.grade_file) if os.path.exists(self.grade_file) else ()
        return self.start_host("--no-render", *start, *options, self.clip, name=self.name)

    def in_log(self, text):
        return text in self.desktop.log(self.name)

    def take_the_offer(self):
        """The question is there when something is pending, and only then."""
        if self.pending is None:
            time.sleep(0.2)
            self.assertFalse(self.in_log(OFFERED), "a grade was offered that nobody had lost")
            return
        self.desktop.wait_for("recover_yes", 20)
        self.desktop.click("recover_yes")
        harness.wait_until(lambda: "recover_yes" not in self.desktop.layout(), 10, "the end of the question")
        self.assertAlmostEqual(self.saturation_of(self.journaled()), self.pending, delta=0.01)

    def edit(self):
        """Drags the slider; from the journal on the grade is pending."""
        before = self.journaled()
        # Not the middle, where the press on the track begins the drag: it may stand in the journal already.
        percent = self.dice.choice([p for p in range(10, 95, 5) if abs(p - 50) > 10 and
                                    (not self.pending or abs(3 * p - self.pending) > 12)])
        self.desktop.drag_slider(SLIDER, percent)
        harness.wait_until(lambda: self.journaled() not in (None, before) and
                           abs(self.saturation_of(self.journaled()) - 3 * percent) < 6, 15, "the journal")
        time.sleep(0.3)   # the last step of the drag, if that was the one before it
        self.pending = self.saturation_of(self.journaled())

    def file_saturation(self):
        return self.saturation_of(self.read_grade(self.grade_file)) if os.path.exists(self.grade_file) else None

    def settle(self):
        """After an end in which either side may have been killed: given to the host, or in the journal."""
        if self.pending is not None and self.file_saturation() == self.pending:
            self.pending = None
        if self.pending is not None:
            self.assertIsNotNone(self.journaled(), "the grade is nowhere")
            self.assertAlmostEqual(self.saturation_of(self.journaled()), self.pending, delta=0.01)

    def kill_some(self, host, sides):
        application = self.applications()
        victims = {"host": [host.pid], "application": application,
                   "both": self.dice.sample([host.pid] + application, 1 + len(application))}[sides]
        for pid in victims:
            self.desktop.kill(pid)
            time.sleep(self.dice.choice((0, 0, 0.02, 0.1)))
        if host.pid in victims:
            self.wait_ended(host)   # from now on poll() knows it

    # Ends of a session. Each leaves no process behind once its user has left.

    def end_ok(self, host):
        self.desktop.click("OK")
        self.assertEqual(self.wait_ended(host), 0)
        self.assertAlmostEqual(self.file_saturation(), self.pending, delta=0.01)
        self.pending = None

    def end_cancel(self, host):
        self.desktop.click("Cancel")
        self.assertEqual(self.wait_ended(host), 0)
        self.pending = None

    def end_quit(self, host):
        self.desktop.key("ctrl+q")
        self.assertEqual(self.wait_ended(host), 0)

    def end_kill_application(self, host):
        self.kill_some(host, "application")
        self.assertEqual(self.wait_ended(host, 20), 5)

    def end_kill_both(self, host):
        self.kill_some(host, "both")

    def end_kill_host_then_ok(self, host):
        self.kill_some(host, "host")
        self.desktop.click("OK")

    def end_kill_host_then_cancel(self, host):
        self.kill_some(host, "host")
        self.desktop.click("Cancel")
        harness.wait_until(lambda: not self.applications(), 20, "the application's end")
        self.pending = None

    def end_kill_around_ok(self, host):
        self.desktop.click("OK")
        time.sleep(self.dice.uniform(0, 0.3))
        self.kill_some(host, self.dice.choice(("host", "application", "both")))

    def end_kill_in_a_drag(self, host):
        track = self.desktop.wait_for(SLIDER + ".track")
        y = track.y + track.height // 2
        self.desktop.hand("mousemove", track.x + 5, y, "mousedown", 1, "sleep", "0.2", "mousemove", track.x + 40, y,
                          "sleep", "0.3")
        self.kill_some(host, self.dice.choice(("application", "both")))
        self.desktop.hand("mouseup", 1)
        harness.wait_until(lambda: not self.applications(), 20, "the application's end")
        self.pending = self.saturation_of(self.journaled())   # as far as the drag has come

    def end_kill_with_a_request_pending(self, host):
        self.desktop.kill(host.pid, signal.SIGSTOP)
        self.desktop.key("End")
        harness.wait_until(lambda: self.block_word(harness.STATUS) == harness.REQUEST_FRAME, 10, "the request")
        self.kill_some(host, "both")

    def end_block_taken_back(self, host):
        block = self.path("runtime", "ochrine", "Ochrine3CommBlock")
        if self.dice.random() < 0.5:
            os.unlink(block)
        else:
            os.truncate(block, self.dice.randrange(86628))
        harness.wait_until(lambda: self.in_log("The host took its block back"), 10, "the line of the log")
        time.sleep(0.7)
        self.desktop.key("Return")
        self.wait_ended(host)

    def end_terminate_host(self, host):
        host.terminate()
        self.assertEqual(self.wait_ended(host), 130)
        harness.wait_until(lambda: self.in_log("The host took its block back"), 10, "the line of the log")
        time.sleep(0.7)
        self.desktop.key("Return")

    # Whole sessions.

    def kill_while_starting(self, number):
        host = self.start(number)
        time.sleep(self.dice.uniform(0, 2.0))
        sides = self.dice.choice(("host", "application", "both"))
        self.kill_some(host, sides if self.applications() else "both")
        if host.poll() is not None:
            for application in self.applications():
                self.desktop.kill(application)   # its user would close the box that it shows
        return host

    def two_visits(self, number):
        """A host of two sessions: the resident application keeps a journal of the second, too."""
        host = self.start(number, "--sessions", "2")
        self.wait_for_window(host)
        self.take_the_offer()
        self.edit()
        self.desktop.click("OK")
        self.wait_for_window(host, session=2)
        self.assertAlmostEqual(self.file_saturation(), self.pending, delta=0.01)
        self.pending = None
        harness.wait_until(lambda: not self.journals(), 10, "the removal of the journal")
        self.edit()
        return host

    def one_visit(self, number):
        host = self.start(number)
        self.wait_for_window(host)
        self.take_the_offer()
        self.edit()
        return host

    def one_session(self, number):
        kind = self.dice.choices(("one", "two", "start"), (80, 8, 12))[0]
        if kind == "start":
            self.ends["killed while starting"] += 1
            host = self.kill_while_starting(number)
        else:
            host = self.two_visits(number) if kind == "two" else self.one_visit(number)
            end = self.dice.choice([name for name in dir(self) if name.startswith("end_")])
            self.ends[end.removeprefix("end_").replace("_", " ")] += 1
            getattr(self, end)(host)
        if host.poll() is None:
            self.wait_ended(host, 40)
        harness.wait_until(lambda: not self.applications(), 40, "the application's end")
        self.settle()
        for name in self.left_behind():
            self.assertTrue(name in ("Ochrine3CommBlock", "Ochrine2UIBlock") or name.startswith("Comm"), name)
        self.check_logs()

    def test_random_kills_leave_no_process_no_object_and_no_lost_grade(self):
        count = int(os.environ.get("OC_ENDURANCE_SESSIONS", "12"))
        for number in range(1, count + 1):
            try:
                self.one_session(number)
            except BaseException:
                print(f"session {number} of {count}, seed {self.seed}, {dict(self.ends)}", flush=True)
                raise
        # One orderly session more: it takes what is pending, and sweeps away what the killed ones had to leave.
        time.sleep(LEFTOVER_SECONDS + 1)
        host = self.start(count + 1)
        self.wait_for_window(host)
        self.take_the_offer()
        self.edit()
        self.end_ok(host)
        harness.wait_until(lambda: not self.applications(), 40, "the application's end")
        harness.wait_until(lambda: not self.left_behind(), 10, f"an empty folder, not {self.left_behind()}")
        self.assertEqual(self.journals(), [])
        print(f"{count} sessions, seed {self.seed}: " + ", ".join(f"{n} {end}" for end, n in sorted(self.ends.items())))


if __name__ == "__main__":
    unittest.main()

"""A host that keeps its clip open over many sessions."""
import os
import subprocess
import unittest

import harness

SLIDER = "hsl_master_saturation"


class Serving(harness.Session):
    def serve(self, *options):
        host = self.start_serving("--serve", "--no-render", *options, self.make_clip())
        self.wait_for_window(host)
        return host

    def start_serving(self, *words):
        os.makedirs(self.path("out"), exist_ok=True)
        command = [self.host_program, "--app", self.app_program, "--out-dir", self.path("out"), *words]
        return self.desktop.start(command, "host", stdin=subprocess.PIPE)

    def say(self, host, line):
        host.stdin.write((line + "\n").encode())
        host.stdin.flush()

    def wait_waiting(self, sessions):
        harness.wait_until(lambda: self.desktop.log("host").count("waiting: ") >= sessions, 30, "the host's patience")

    def test_many_sessions_find_one_application_and_the_last_grade(self):
        host = self.serve()
        application = self.application()
        for session, percent in ((1, 75), (2, 50), (3, 25)):
            self.desktop.drag_slider(SLIDER, percent)
            self.desktop.click("OK")
            self.wait_waiting(session)
            saturation = self.saturation_of(self.read_grade(self.path("out", "clip.ocgrade")))
            self.assertAlmostEqual(saturation, percent * 3, delta=5)
            self.say(host, "" if session == 1 else "open")
            self.wait_for_window(host, session=session + 1)
            self.assertEqual(self.application(), application)
        self.desktop.click("Cancel")
        self.wait_waiting(4)
        self.say(host, "quit")
        self.assertEqual(self.wait_ended(host), 0)
        self.wait_gone(application)
        self.assertEqual(self.left_behind(), [])

    def test_a_lost_application_ends_its_session_and_not_the_host(self):
        host = self.serve()
        first = self.application()
        self.grade(SLIDER, 75, 225)
        self.desktop.kill(first)
        self.wait_waiting(1)
        self.assertIsNone(host.poll())
        self.say(host, "open")
        self.wait_for_window(host, session=2)
        self.assertNotEqual(self.application(), first)
        self.desktop.wait_for("recover_yes")
        self.desktop.click("recover_yes")
        harness.wait_until(lambda: "recover_yes" not in self.desktop.layout(), 10, "the end of the question")
        self.desktop.click("OK")
        self.wait_waiting(2)
        self.assertAlmostEqual(self.saturation_of(self.read_grade(self.path("out", "clip.ocgrade"))), 225, delta=5)
        host.stdin.close()   # the end of the input is enough
        self.assertEqual(self.wait_ended(host), 0)

    def test_the_application_may_outlive_its_time_between_sessions(self):
        host = self.serve()
        first = self.application()
        self.desktop.click("OK")
        self.wait_waiting(1)
        self.desktop.kill(first)
        self.say(host, "nonsense")
        harness.wait_until(lambda: "is no command" in self.desktop.log("host"), 10, "the complaint")
        self.say(host, "open")
        self.wait_for_window(host, session=2)
        self.assertNotEqual(self.application(), first)
        self.desktop.click("Cancel")
        self.wait_waiting(2)
        host.terminate()
        self.assertEqual(self.wait_ended(host), 130)


if __name__ == "__main__":
    unittest.main()

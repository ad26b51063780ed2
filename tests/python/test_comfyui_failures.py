"""What goes wrong between the helper and a ComfyUI server, and what happens when the user stops a render."""

import subprocess
import sys
import time
from unittest import mock

from comfy_case import ComfyCase
from scratch_render import HELPER


class Failures(ComfyCase):
    def test_servers_of_every_kind_are_understood(self):
        self.environment["QUILLMERE_COMFYUI_TOKEN"] = "sesame"
        for what, attributes in (
            ("an old one that invents IDs and tells no version", {"invents_ids": True, "version": ""}),
            ("one without WebSocket", {"has_sockets": False}),
            ("one that takes the job but hangs up", {"hangs_up_on_submit": 1}),
            ("an old one that hangs up", {"hangs_up_on_submit": 1, "invents_ids": True}),
            ("one with a login", {"login": "Bearer sesame"}),
        ):
            with self.subTest(what), mock.patch.multiple(self.server, **attributes):
                count = len(self.server.submitted)
                self.assert_rendered()
                self.assertEqual(len(self.server.submitted), count + 1)

    def test_a_foreign_job_in_front_is_waited_for(self):
        self.server.add_foreign()
        self.server.add_foreign()
        process = self.start()
        self.wait_for(lambda: "2 jobs ahead" in self.message(), "the place in the queue")
        self.finish(process)

    def test_downloads_are_begun_again_until_they_are_whole(self):
        def cut_off(handler, content):
            handler.reply(content[:50], length=len(content))
            handler.hang_up()

        self.server.view_answers = [cut_off, lambda handler, content: handler.reply(content[:-9])]
        self.assert_rendered()
        self.assertEqual(len(self.server.submitted), 1)

    def test_a_picture_that_is_gone_is_made_again(self):
        self.server.view_answers = [lambda handler, content: handler.reply(b"", 404)]
        self.assert_rendered()
        self.assertEqual(len(self.server.submitted), 2)

    def test_what_is_no_picture_is_never_written(self):
        self.server.view_answers = [lambda handler, content: handler.reply(b"<html>", kind="image/png")] * 4
        status, response = self.render()
        self.assertEqual((status, response["ok"], list(self.outputs.iterdir())), (1, False, []))
        self.assertIn("no whole PNG", response["error"])

    def connections(self):
        return sum(1 for _, path, _, _ in self.server.log if path == "/ws")

    def hold(self):
        """Starts a render and returns when its sampler runs and waits for `go_on`."""
        self.server.go_on.clear()
        process = self.start()
        self.wait_for(lambda: "Paint" in self.message(), "the sampler")
        return process

    def finish(self, process):
        self.server.go_on.set()
        self.server.foreign_done.set()
        self.watch(process)
        self.assertEqual(process.returncode, 0, (self.response(), process.stderr.read()))

    def test_a_dropped_connection_changes_nothing(self):
        for silent in (False, True):
            with self.subTest("the new one is silent" if silent else "the new one speaks"):
                self.server.log.clear()
                process = self.hold()
                self.server.forgets_new_sockets = silent
                self.server.drop_sockets()
                count, connections = len(self.server.submitted), 3 if silent else 2
                self.wait_for(lambda wanted=connections: self.connections() >= wanted, "a connection that speaks", 40)
                self.finish(process)
                self.assertEqual(len(self.server.submitted), count)

    def test_a_restarted_server_gets_the_job_again(self):
        for away in (0.0, 2.0):
            with self.subTest(away=away):
                process = self.hold()
                count = len(self.server.submitted)
                self.server.stop()
                time.sleep(away)
                self.server.go_on.set()
                self.server.start()
                self.finish(process)
                self.assertEqual(len(self.server.submitted), count + 1)

    def test_a_server_that_stays_away_is_given_up(self):
        self.environment["QUILLMERE_SERVER_PATIENCE"] = "1"
        process = self.hold()
        self.server.stop()
        self.watch(process)
        self.assertEqual(process.returncode, 1)
        self.assertIn("does not answer", self.response()["error"])
        self.assertTrue(any("Waiting for" in message for message in self.messages()))


class Cancelling(ComfyCase):
    def setUp(self):
        super().setUp()
        self.server.go_on.clear()

    def assert_only_ours_stopped(self, process, foreign):
        self.assert_cancelled(process)
        self.assertIn("cancelled", self.response()["error"])
        self.assertNotIn(foreign, self.server.deleted + self.server.interrupted)
        self.wait_for(lambda: not self.jobs_of_ours(), "our job to leave the server")

    def jobs_of_ours(self):
        jobs = [*self.server.pending, *([self.server.running] if self.server.running else [])]
        return [job[1] for job in jobs if job[1] in self.server.submitted]

    def test_a_waiting_job_is_taken_out_of_the_queue(self):
        for self.server.version in ("0.3.64", "0.3.0"):
            with self.subTest(self.server.version):
                foreign = self.server.add_foreign()
                process = self.start()
                self.wait_for(lambda: "ahead" in self.message(), "the queue")
                self.assert_only_ours_stopped(process, foreign)
                self.assertEqual(self.server.interrupted, [])
                self.server.foreign_done.set()
                self.wait_for(lambda: foreign in self.server.history, "the end of the foreign job")
                self.server.foreign_done.clear()

    def test_a_running_job_is_interrupted(self):
        self.server.foreign_done.set()
        for self.server.version in ("0.3.64", "0.3.0"):
            with self.subTest(self.server.version):
                process = self.start()
                self.wait_for(lambda: "Paint" in self.message(), "the sampler")
                foreign = self.server.add_foreign(behind=True)
                self.assert_only_ours_stopped(process, foreign)
                self.assertEqual(self.server.interrupted[-1], self.server.submitted[-1])
                self.assertIn("was stopped", self.response()["error"])

    def test_a_job_that_is_just_being_submitted_is_found(self):
        self.server.submit_delay = 0.3
        foreign = self.server.add_foreign()
        process = self.start()
        self.wait_for(lambda: any(path == "/prompt" for _, path, _, _ in self.server.log), "the submission")
        self.assert_only_ours_stopped(process, foreign)
        self.assertEqual(self.server.deleted, self.server.submitted)

    def test_a_render_stops_while_its_picture_is_on_its_way(self):
        self.server.go_on.set()
        self.server.view_delay = 5
        process = self.start()
        self.wait_for(lambda: "Fetching" in self.message(), "the download")
        self.assert_only_ours_stopped(process, "")
        self.assertEqual((list(self.outputs.iterdir()), self.server.interrupted), ([], []))

    def test_a_server_that_does_not_answer_delays_no_end(self):
        process = self.start()
        self.wait_for(lambda: "Paint" in self.message(), "the sampler")
        with self.server._lock:  # which the queue's answer needs
            self.assert_cancelled(process)

    def test_nobody_waiting_any_more_counts_as_a_cancellation(self):
        request = self.write("request_3.json", self.members)
        line = f"'{sys.executable}' '{HELPER}' '{request}' '{self.response_file}' & read line"
        pipes = {"stdin": subprocess.PIPE, "stderr": subprocess.DEVNULL}
        shell = subprocess.Popen(["/bin/sh", "-c", line], env=self.environment, **pipes)
        self.wait_for(lambda: "Paint" in self.message(), "the sampler")
        shell.communicate(b"\n")  # now the shell ends, and nobody waits for the helper any more
        self.wait_for(lambda: self.server.interrupted == self.server.submitted, "the interrupt")
        self.wait_for(lambda: "cancelled" in self.response()["error"], "the answer")

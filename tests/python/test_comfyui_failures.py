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

    def test_downloads_that_fail_are_begun_again_and_what_is_no_picture_is_never_written(self):
        def cut_off(handler, content):
            handler.reply(content[:50], length=len(content))
            handler.hang_up()

        def html(handler, _):
            handler.reply(b"<html>", kind="image/png")

        for answers, jobs, error in (
            ([cut_off, lambda handler, content: handler.reply(content[:-9])], 1, ""),
            ([lambda handler, _: handler.reply(b"", 404)], 2, ""),  # it is gone, and made again
            ([html] * 4, 1, "no whole PNG"),
        ):
            self.server.view_answers, self.server.submitted = answers, []
            status, response = self.run_helper()
            self.assertEqual((status, len(self.server.submitted)), (1 if error else 0, jobs), response)
            self.assertIn(error, response.get("error", ""))
        self.assertEqual(len(list(self.outputs.glob("*.png"))), 2)

    def connections(self):
        return sum(1 for _, path, _, _ in self.server.log if path == "/ws")

    def hold(self):
        """Starts a render and returns when its sampler runs and waits for `go_on`."""
        self.server.go_on.clear()
        self.server.cache.clear()
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
        self.assertIn("had ended before, and its pictures stay there", self.response()["error"])
        self.assertEqual((list(self.outputs.iterdir()), self.server.interrupted), ([], []))

    def test_a_job_that_goes_on_for_a_while_is_not_said_to_be_stopped(self):
        self.server.node_time = 3.0  # which nothing interrupts
        process = self.start()
        self.wait_for(lambda: "CheckpointLoaderSimple" in self.message(), "the first node")
        self.assert_cancelled(process)
        self.assertIn("was told to stop and does so after its present step", self.response()["error"])

    def test_a_job_is_left_alone_where_the_server_does_not_tell_whose_it_is(self):
        process = self.start()
        self.wait_for(lambda: "Paint" in self.message(), "the sampler")
        self.server.hides_jobs = True
        self.server.drop_sockets()
        time.sleep(2.5)  # which makes for two questions; nothing is submitted again
        self.assert_cancelled(process)
        self.assertIn("does not tell which of its jobs", self.response()["error"])
        self.assertEqual((self.server.deleted, self.server.interrupted, len(self.server.submitted)), ([], [], 1))

    def test_a_server_that_does_not_answer_delays_no_end(self):
        process = self.start()
        self.wait_for(lambda: "Paint" in self.message(), "the sampler")
        with self.server._lock:  # which the queue's answer needs
            self.assert_cancelled(process)
        self.assertRegex(self.response()["error"], "may still run there|stopped before")

    def test_nobody_waiting_any_more_counts_as_a_cancellation(self):
        request = self.write("request_3.json", self.members)
        line = f"'{sys.executable}' '{HELPER}' '{request}' '{self.response_file}' & read line"
        pipes = {"stdin": subprocess.PIPE, "stderr": subprocess.DEVNULL}
        shell = subprocess.Popen(["/bin/sh", "-c", line], env=self.environment, **pipes)
        self.wait_for(lambda: "Paint" in self.message(), "the sampler")
        shell.communicate(b"\n")  # now the shell ends, and nobody waits for the helper any more
        self.wait_for(lambda: self.server.interrupted == self.server.submitted, "the interrupt")
        self.wait_for(lambda: "cancelled" in self.response()["error"], "the answer")

"""A small server that speaks the API of A1111's web UI over real sockets on loopback, with the faults of such servers."""

import base64
import json
import threading
import time

from loopback_server import Answering, LoopbackServer
from scratch_render import png


def in_base64(*colour):
    return base64.b64encode(png(16, 9, colour)).decode()


class A1111Server:
    """Runs one call after the other, each when it gets the lock. Tests change the attributes below."""

    def __init__(self):
        self.models = ["control_canny [a1]", "control_depth [b2]"]  # None: no ControlNet
        self.go_on = threading.Event()  # calls wait for it in the middle
        self.go_on.set()
        self.tells_task = True  # False: servers of before 1.7
        self.answer = None  # (status, content) in place of pictures
        self.hangs_up = 0  # so many calls lose their connection while they run
        self.extra_before, self.extra_after = 0, 0  # pictures beside those that were asked for
        self.login = None
        self.has_api = True
        self.calls, self.interrupted, self.log = [], [], []
        self.overlaps = 0  # calls that came while another one ran
        self.task, self.progress, self._interrupt = None, 0.0, False
        self._lock = threading.Lock()
        self._http = LoopbackServer(self, _Handler)
        self.url = f"http://127.0.0.1:{self._http.server_address[1]}"

    def stop(self):
        self.go_on.set()
        self._http.shutdown()
        self._http.server_close()

    def run_foreign(self):
        """Somebody else's call, which takes the server until the event that is returned, or for 10 seconds."""
        started, done = threading.Event(), threading.Event()

        def run():
            with self._lock:
                self.task = "task(foreign)"
                started.set()
                done.wait(10)
                self.task = None

        threading.Thread(target=run, daemon=True).start()
        started.wait()
        return done

    def make(self, body):
        with self._lock:
            self.task, self._interrupt = body.get("force_task_id"), False
            for step in range(1, 5):
                self.progress = step / 4
                time.sleep(0.1)
            while not (self.go_on.wait(0.01) or self._interrupt):
                pass
            self.task, self.progress = None, 0.0
        extra, numbers = in_base64(0, 0, 0), range(body["n_iter"])
        images = [extra] * self.extra_before + [in_base64(number + 1, 0, 0) for number in numbers]
        seeds = [body["seed"] + number for number in numbers]
        info = {"all_seeds": seeds, "index_of_first_image": self.extra_before}
        return {"images": images + [extra] * self.extra_after, "info": json.dumps(info)}


class _Handler(Answering):
    def do_GET(self):
        if not self.admitted():
            return
        path, server = self.path.split("?")[0], self.server.owner
        state = {"job_count": int(server.task is not None), "interrupted": server._interrupt}
        answers = {
            "/sdapi/v1/options": {"sd_model_checkpoint": "base.safetensors [9f]"},
            "/sdapi/v1/progress": {"progress": server.progress, "state": state},
        }
        if server.tells_task:
            answers["/sdapi/v1/progress"]["current_task"] = server.task
        if server.models is not None:
            answers["/controlnet/model_list"] = {"model_list": server.models}
        self.reply(answers.get(path, {"detail": "Not Found"}), 200 if path in answers and server.has_api else 404)

    def do_POST(self):
        body = self.rfile.read(int(self.headers["Content-Length"]))
        if not self.admitted(body):
            return
        server, content = self.server.owner, json.loads(body)
        if self.path == "/sdapi/v1/interrupt":
            server.interrupted.append(server.task)
            server._interrupt = True
            self.reply({})
            return
        server.calls.append(content)
        server.overlaps += server.task is not None
        if server.hangs_up:
            server.hangs_up -= 1
            threading.Thread(target=server.make, args=(content,), daemon=True).start()
            while server.task is None:
                time.sleep(0.005)
            self.hang_up()
            return
        status, answer = server.answer or (200, server.make(content))
        self.reply(answer, status)

"""The page's server as a program meets it: what it answers, and whom it refuses."""

import http.client
import json
import os
import select
import signal
import socket
import time
import unittest

from studio_case import StudioCase, until

from quillmere_helper import exchange  # of which studio_case tells where it is


class Access(StudioCase):
    def test_who_is_answered(self) -> None:
        self.studio()
        own = f"127.0.0.1:{self.port}"
        for what, status, path, headers in [
            ("a program with the token", 200, "/api/state", {}),
            ("another name of this machine", 200, "/api/state", {"Host": f"localhost:{self.port}"}),
            ("the page itself", 200, "/api/state", {"Origin": f"http://{own}", "Sec_Fetch_Site": "same-origin"}),
            ("without the token", 401, "/api/state", {"X_Quillmere_Token": ""}),
            ("with another one", 401, "/api/state", {"X_Quillmere_Token": "0" * 32}),
            ("the page's files without it", 401, "/studio.js", {"X_Quillmere_Token": ""}),
            ("a wrong entry", 401, "/?token=" + "0" * 32, {"X_Quillmere_Token": ""}),
            ("a name that leads here from elsewhere", 403, "/api/state", {"Host": f"evil.example:{self.port}"}),
            ("another port's name", 403, "/api/state", {"Host": "127.0.0.1:1"}),
            ("the entry under such a name", 403, f"/?token={self.token}", {"Host": "evil.example"}),
            ("another page", 403, "/api/state", {"Origin": "http://evil.example"}),
            ("a page of a file", 403, "/api/state", {"Origin": "null"}),
            ("another server's page here", 403, "/api/state", {"Origin": "http://127.0.0.1:1"}),
            ("another site without saying so", 403, "/api/state", {"Sec_Fetch_Site": "cross-site"}),
            ("a path out of the page", 404, "/../studio.css", {}),
            ("what isn't there", 404, "/api/nothing", {}),
        ]:
            with self.subTest(what):
                headers = {"X_Quillmere_Token": self.token, **headers}
                response = self.ask(path, **{"X_Quillmere_Token": headers.pop("X_Quillmere_Token"), **headers})
                self.assertEqual(response.status, status, response.read())

    def test_what_is_told_by_its_head_alone_is_refused_and_ends_the_connection(self) -> None:
        self.studio()
        own, post = f"Host: 127.0.0.1:{self.port}", "POST /api/mark HTTP/1.1"
        token, json_type = f"X-Quillmere-Token: {self.token}", "Content-Type: application/json"
        state = "GET /api/state HTTP/1.1"
        for what, status, lines in [
            ("two names, one of them foreign", b"403", [state, own, "Host: evil.example", token]),
            ("two origins", b"403", [state, own, token, f"Origin: http://127.0.0.1:{self.port}", "Origin: http://evil.example"]),
            ("an empty name", b"403", [state, "Host:", token]),
            ("no token, in a connection that is to be kept", b"401", [state, own]),
            ("no request", b"400", ["once upon a time"]),
            ("a method that nothing has", b"405", ["PUT /api/mark HTTP/1.1", own, token, "Transfer-Encoding: chunked"]),
            ("something sent with a question", b"400", [state, own, token, "Content-Length: 9"]),
            ("more than may be sent", b"413", [post, own, token, json_type, f"Content-Length: {(4 << 20) + 1}"]),
            ("a length that isn't told", b"411", [post, own, token, json_type, "Transfer-Encoding: chunked"]),
            ("a length that is none", b"400", [post, own, token, json_type, "Content-Length: -1"]),
            ("what grows when it is unpacked", b"415", [post, own, token, json_type, "Content-Length: 9", "Content-Encoding: gzip"]),
        ]:
            with self.subTest(what):
                answer = self.spoken("\r\n".join([*lines, "", ""]).encode())
                self.assertEqual(answer[9:12], status, answer)
                self.assertIn(b"X-Content-Type-Options: nosniff", answer)
        for head in (b"GET /", b"GET / HTTP/1.1\r\n" + b"X: " + b"x" * 6000 + b"\r\n"):
            self.spoken(head * (3_000_000 // len(head)))  # has no end, and is dropped

    def test_the_other_address_of_this_machine(self) -> None:
        self.studio()
        for name, status in (("[::1]", 200), ("localhost", 200), ("::1", 403)):
            response = self.ask("/api/state", host="::1", Host=f"{name}:{self.port}", Origin=f"http://{name}:{self.port}")
            self.assertEqual(response.status, status)
        with socket.create_server(("::1", 0), family=socket.AF_INET6) as taken:
            port = str(taken.getsockname()[1])
            self.assertIn(f"port {port}", self.run_command("studio", "--write-dir", "write", "--port", port).stderr)

    def test_the_entry_leaves_the_token_in_a_cookie_alone(self) -> None:
        self.studio()
        response = self.ask(f"/?token={self.token}", X_Quillmere_Token="")
        cookie = response.getheader("Set-Cookie")
        self.assertEqual((response.status, response.getheader("Location")), (303, "/"))
        self.assertIn("HttpOnly", cookie)
        self.assertIn("SameSite=Strict", cookie)
        page = self.ask("/", X_Quillmere_Token="", Cookie=f"a=b; {cookie.split('=')[0]}=planted; {cookie.split(';')[0]}")
        self.assertEqual(page.status, 200)
        self.assertIn("default-src 'self'", page.getheader("Content-Security-Policy"))
        self.assertNotIn(self.token, page.read().decode())

    def test_what_is_sent_is_checked(self) -> None:
        self.studio()
        for what, status, path, body, headers in [
            ("a form", 415, "/api/mark", "picture=1", {"Content_Type": "application/x-www-form-urlencoded"}),
            ("no JSON", 400, "/api/mark", "{", {}),
            ("no object", 400, "/api/mark", "[]", {}),
            ("nested deeply", 400, "/api/mark", "[" * 100 + "]" * 100, {}),
            ("nothing to mark", 400, "/api/mark", {"star": True}, {}),
            ("a picture that nobody knows", 404, "/api/mark", {"picture": "0" * 16, "star": True}, {}),
            ("a path for an identifier", 404, "/api/view", {"selected": "/etc/passwd"}, {}),
            ("a number that is none", 400, "/api/history?from=-1", None, {}),
            ("no frame", 404, "/api/log/x", None, {}),
        ]:
            with self.subTest(what):
                response = self.ask(path, body, **headers)
                self.assertEqual(response.status, status, response.read())

    def test_who_is_slow_is_dropped(self) -> None:
        self.studio()
        begun = time.monotonic()
        drips = [b"GET / HTTP/1.1\r\nHost: " + b"x" * 60,
                 f"POST /api/mark HTTP/1.1\r\nHost: 127.0.0.1:{self.port}\r\nX-Quillmere-Token: {self.token}\r\n"
                 "Content-Type: application/json\r\nContent-Length: 1000\r\n\r\n".encode() + b" " * 60]
        slow = [self.connect() for _ in drips]
        for connection, text in zip(slow, drips):
            connection.sendall(text[:-60])
        for tick in range(40):  # a byte now and then, well within what may pass between two
            for connection in [*slow]:
                try:
                    connection.sendall(b" ")
                    if select.select([connection], [], [], 0)[0]:
                        slow.remove(connection)
                except OSError:
                    slow.remove(connection)
            if not slow:
                break
            time.sleep(1)
        self.assertEqual(slow, [])
        self.assertTrue(12 < time.monotonic() - begun < 25, time.monotonic() - begun)

    def test_many_connections(self) -> None:
        self.studio()
        page = self.connect()
        page.sendall(self.with_token("/api/state"))
        self.assertIn(b"200 OK", page.recv(9000))
        for _ in range(60):  # which hold nobody up who has the token
            self.connect().sendall(b"G")
        page.sendall(self.with_token("/api/state"))
        self.assertIn(b"200 OK", page.recv(9000))
        self.assertEqual(self.ask("/api/state").status, 200)
        refused = []
        for _ in range(45):
            connection = self.connect()
            connection.sendall(self.with_token("/api/state"))
            answer = connection.recv(200)
            if answer.startswith(b"HTTP/1.1 503"):
                refused.append(b"nosniff" in answer)
        self.assertEqual(refused, [True] * 6)  # the page has one

    def test_who_takes_nothing_of_what_is_told_makes_room(self) -> None:
        for number in range(1500):
            (self.exchange / "runtime" / f"request_{number}.json").write_text("{}")
            (self.exchange / "runtime" / f"response_{number}.json").write_text(json.dumps({"ok": False, "error": "x" * 2000}))
        self.studio()
        for _ in range(12):
            deaf = socket.socket()
            self.addCleanup(deaf.close)
            deaf.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
            deaf.connect(("127.0.0.1", self.port))
            deaf.sendall(self.with_token("/api/events"))
        until(lambda: self.ask("/api/events").status == 503)
        until(lambda: self.ask("/api/events").status == 200, 30)

    def connect(self) -> socket.socket:
        connection = socket.create_connection(("127.0.0.1", self.port), timeout=20)
        self.addCleanup(connection.close)
        return connection

    def with_token(self, path: str) -> bytes:
        return f"GET {path} HTTP/1.1\r\nHost: 127.0.0.1:{self.port}\r\nX-Quillmere-Token: {self.token}\r\n\r\n".encode()

    def spoken(self, what: bytes) -> bytes:
        """What is answered until the server ends the connection, well before it has waited for anything."""
        connection, answer = self.connect(), b""
        connection.settimeout(4)
        try:
            connection.sendall(what)
            while more := connection.recv(65536):
                answer += more
        except (BrokenPipeError, ConnectionResetError):
            pass
        return answer

    def test_a_port_in_use_and_the_end(self) -> None:
        self.studio()
        second = self.run_command("studio", "--write-dir", "write", "--port", str(self.port))
        self.assertEqual(second.returncode, 1)
        self.assertIn(f"port {self.port}", second.stderr)
        events = self.ask("/api/events")
        self.process.send_signal(signal.SIGINT)
        self.assertEqual(self.process.wait(10), 0)
        self.assertIn(b"event: end", events.read())


class Content(StudioCase):
    def test_frames_as_their_files_tell_them(self) -> None:
        picture = self.picture("a.png")
        self.frame(1, status={"phase": "done", "message": ""}, response={"ok": True, "first_output": str(picture)})
        self.frame(-2, status={"phase": "x", "message": ""}, response={"ok": False, "error": "no server"})
        self.frame(3, response={"ok": False, "error": "stopped"}, status={"phase": "generate", "message": "Sampling", "progress": 0.4, "step": "x"})
        self.frame(4, status={"phase": "prepare", "message": ""}, response={"ok": False, "error": exchange.STOPPED})
        self.frame(5, status=[1, 2])
        self.frame(6, status={"phase": "prepare"}, response={"ok": False, "error": "at once"})
        (self.exchange / "runtime" / "request_x.json").write_text("{}")
        self.studio("--pictures", "renders")
        frames = {frame["frame"]: frame for frame in self.told("/api/state")["frames"]}
        self.assertEqual({number: frame["state"] for number, frame in frames.items()},
                         {1: "done", -2: "failed", 3: "running", 4: "running", 5: "running", 6: "failed"})
        self.assertEqual(frames[-2]["error"], "no server")
        self.assertEqual((frames[3]["progress"], frames[3].get("step")), (0.4, None))
        shown = self.ask(f"/api/picture/{frames[1]['picture']['id']}")
        self.assertEqual((shown.getheader("Content-Type"), shown.read()), ("image/png", picture.read_bytes()))

    def test_pictures_stay_where_they_may_be_shown(self) -> None:
        secret = self.folder / "elsewhere"
        secret.mkdir()
        (secret / "secret.png").write_bytes(self.picture("own.png").read_bytes())
        (self.folder / "renders" / "link.png").symlink_to(secret / "secret.png")
        (self.folder / "renders" / "text.png").write_text("no picture")
        os.mkfifo(self.folder / "renders" / "pipe.png")
        for number, file in enumerate(["renders/own.png", "elsewhere/secret.png", "renders/link.png", "renders/text.png", "renders/pipe.png"]):
            self.entry("scene.glb", number, self.folder / file)
        self.entry("scene.glb", 5, self.picture("recorded.png", prompt="x").rename(secret / "recorded.png"))
        (self.folder / "renders" / "recorded.png.json").rename(secret / "recorded.png.json")
        self.studio("--pictures", "renders")
        ids = {entry["name"]: entry["id"] for entry in self.told("/api/history")["entries"]}
        status = {name: self.ask(f"/api/picture/{id}").status for name, id in ids.items()}
        self.assertEqual(status, {"own.png": 200, "secret.png": 404, "link.png": 404, "text.png": 422, "pipe.png": 404, "recorded.png": 200})
        self.assertEqual(self.ask(f"/api/thumbnail/{ids['secret.png']}").status, 404)
        (self.folder / "renders" / "own.png").unlink()
        (self.folder / "renders" / "own.png").symlink_to(secret / "secret.png")  # since it was listed
        self.assertEqual(self.ask(f"/api/picture/{ids['own.png']}").status, 404)

    def test_a_log_is_read_where_it_lies(self) -> None:
        (self.folder / "secret").write_text("secret")
        for number in (1, 2):
            self.frame(number)
        (self.exchange / "runtime" / "response_1.log").write_text("inked")
        (self.exchange / "runtime" / "response_2.log").symlink_to(self.folder / "secret")
        self.studio()
        self.assertEqual([self.told(f"/api/log/{number}")["text"] for number in (1, 2)], ["inked", ""])

    def test_the_history_is_searched(self) -> None:
        rain = self.picture("rain.png", prompt="A Rainy harbour", seed=77, camera="Pier")
        sun = self.picture("sun.png", prompt="sunny", workflow_path="/w/flux.json")
        self.entry("harbour.glb", 7, rain, seconds=0)
        self.entry("city.glb", 8, sun, seconds=60)
        (self.exchange / "history" / "city.glb" / "bad.json").write_text("{")
        self.studio()
        until(lambda: self.told("/api/history")["unread"] == 0)
        marked = next(entry["id"] for entry in self.told("/api/history")["entries"] if entry["name"] == "rain.png")
        self.told("/api/mark", {"picture": marked, "star": True, "note": "for the client"})
        for question, names in [
            ("", ["sun.png", "rain.png"]),
            ("words=harbour+rainy", ["rain.png"]),
            ("words=RAINY+pier+77", ["rain.png"]),
            ("words=rainy+flux", []),
            ("words=flux", ["sun.png"]),
            ("words=client", ["rain.png"]),
            ("words=2027-01-15", ["sun.png", "rain.png"]),
            ("words=camera:PIER+prompt:%22a+rainy%22", ["rain.png"]),
            ("words=camera:rainy", []),
            ("words=seed:7", []),
            ("words=seed:77+frame:7+scene:harbour+date:2027-01+status:noted", ["rain.png"]),
            ("words=workflow:flux+status:complete", ["sun.png"]),
            ("words=status:gone", []),
            ("words=starred+rainy", ["rain.png"]),
            ("words=unknown:flux", []),
            ("document=city.glb", ["sun.png"]),
            ("starred=true", ["rain.png"]),
            ("from=1&count=5", ["rain.png"]),
            ("count=1", ["sun.png"]),
        ]:
            with self.subTest(question):
                self.assertEqual([entry["name"] for entry in self.told("/api/history?" + question)["entries"]], names)
        self.process.send_signal(signal.SIGTERM)
        self.process.wait(10)
        self.studio()
        kept = {entry["name"]: (entry["star"], entry["note"]) for entry in self.told("/api/history")["entries"]}
        self.assertEqual(kept["rain.png"], (True, "for the client"))

    def test_an_entry_that_is_written_again_in_place_is_seen(self) -> None:
        self.entry("scene.glb", 1, self.picture("first.png"))
        self.studio()
        entry = self.exchange / "history" / "scene.glb" / "shot_f1.json"
        entry.write_text(entry.read_text().replace("first.png", "again.png"))
        (self.exchange / "runtime" / "render_view_state.json").write_text('{"status_text": "Render complete"}')
        until(lambda: self.told("/api/history")["entries"][0]["name"] == "again.png")

    def test_a_choice_is_written_as_the_effect_reads_it(self) -> None:
        style = self.picture('a "quoted" häuschen.png', prompt="x")
        self.entry("scene.glb", 1, style)
        self.studio()
        id = self.told("/api/history")["entries"][0]["id"]
        self.told("/api/view", {"locked_style": id})
        state = self.exchange / "runtime" / "render_view_state.json"
        self.assertIn(f'  "locked_style_image": "{style.parent}/a \\"quoted\\" häuschen.png",\n', state.read_text())
        self.assertEqual(self.told("/api/state")["view"]["locked_style"]["id"], id)
        self.assertEqual(self.render("--output", "out.png").returncode, 0)  # the next render follows it
        self.assertEqual(self.request()["locked_style_image"], str(style))
        self.told("/api/view", {"locked_style": ""})
        view = json.loads(state.read_text())
        self.assertEqual((view["locked_style_image"], bool(view["last_image"])), ("", True))

    def test_a_render_is_followed(self) -> None:
        self.studio()
        events = http.client.HTTPConnection("127.0.0.1", self.port, timeout=30)
        self.addCleanup(events.close)
        events.request("GET", "/api/events", headers={"X-Quillmere-Token": self.token})
        stream = events.getresponse()
        self.assertEqual(stream.readline(), b"event: state\n")
        self.assertEqual(json.loads(stream.readline()[6:]), self.told("/api/state"))
        self.helper('say "Inking"\nsleep 0.3\nanswer')
        self.start("--frames", "4-5", "--jobs", "2", "--output", "out_#.png")  # each in a folder of its own
        seen: list[str] = []
        while "done" not in seen:
            line = stream.readline().decode()
            if line.startswith("data: ") and "state" in (event := json.loads(line[6:])):
                seen.append(event["state"])
                if event.get("message") == "Inking":
                    seen.append("Inking")
        self.assertIn("Inking", seen[:seen.index("done")])


if __name__ == "__main__":
    unittest.main()

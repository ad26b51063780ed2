"""The workflow list and the doctor, from a program and on the page."""

import concurrent.futures
import json
import threading
import unittest

from selenium.webdriver.common.keys import Keys

from studio_case import StudioCase, until
from test_page import PageCase

# Of the helper that answers questions about workflows: the one called "lost" lacks its model.
LOOKS = """case $1 in --servers) echo '{"servers": []}'; exit;; esac
touch "running.$$"; ls running.* | wc -l >> most; sleep 0.3; rm "running.$$"
case $1$2$3 in
  *bad*) echo '{"workflow": "bad", "ok": false, "problem": "no graph", "remedy": "export one"}'; exit 1;;
  *lost*) echo '{"workflow": "lost", "ok": false, "backend": "comfyui", "problem": "a model is missing", "remedy": "copy it",
    "missing": {"nodes": [], "files": [{"node": "4", "title": "Load", "input": "ckpt_name", "value": "sd.safetensors"}]}}'; exit 1;;
  *--controls*) echo '{"workflow": "w", "ok": true, "controls": [
    {"name": "Strength", "type": "number", "default": 0.6, "least": 0, "most": 1, "node": "3", "title": "Net"}]}';;
  *) echo '{"workflow": "w", "ok": true, "backend": "comfyui", "places": [
    {"part": "prompt", "node": "6", "title": "<i>Positive", "kind": "Encode", "input": "text", "how": "shape", "marker": "Quillmere Prompt"}]}';;
esac"""


class Asked(StudioCase):
    def setUp(self) -> None:
        super().setUp()
        self.helper("answer", LOOKS)
        self.catalog(("soft", "Depth, soft"), ("lost", "Lost"), ("-x", "--json"))

    def names(self, told: dict) -> list[str]:
        return [workflow["name"] for workflow in told["workflows"]]

    def test_the_list_is_looked_at_and_changed(self) -> None:
        self.studio("--plugin", "plugin")
        self.assertEqual(self.names(self.told("/api/workflows")), ["Depth, soft", "Lost", "--json"])
        self.assertEqual(self.told("/api/workflow-check?id=soft")["places"][0]["part"], "prompt")
        self.assertEqual(self.told("/api/workflow-check?id=lost")["missing"]["files"][0]["value"], "sd.safetensors")
        self.assertEqual(self.told("/api/workflow-check?id=-x")["ok"], True)
        with concurrent.futures.ThreadPoolExecutor() as pool:
            list(pool.map(lambda _: self.told("/api/workflow-check?id=soft"), range(4)))
        self.assertLessEqual(max(map(int, (self.folder / "most").read_text().split())), 2)
        self.assertEqual(self.told("/api/workflow-controls?id=soft")["controls"][0]["default"], 0.6)
        for change, body, names in [
            ("rename", {"id": "-x", "name": "--help"}, ["Depth, soft", "Lost", "--help"]),
            ("move", {"id": "-x", "place": "1"}, ["--help", "Depth, soft", "Lost"]),
            ("remove", {"id": "soft"}, ["--help", "Lost"]),
            ("add", {"path": str(self.folder / "write" / "own.json"), "name": "-Own"}, ["--help", "Lost", "-Own"]),
            ("add", {"file": "C:\\wörk\\sent one.json", "content": "{}"}, ["--help", "Lost", "-Own", "sent one"]),
        ]:
            (self.folder / "write" / "own.json").write_text("{}")
            with self.subTest(change):
                self.assertEqual(self.names(self.told(f"/api/workflow-{change}", body)), names)
        self.assertEqual(list((self.exchange / "studio").glob("sent-*")), [])

    def test_what_is_refused_says_why(self) -> None:
        self.studio("--plugin", "plugin")
        for what, status, path, body, text in [
            ("a path for an identifier", 404, "/api/workflow-check?id=/etc/passwd", None, "no workflow '/etc/passwd'"),
            ("one that isn't there", 422, "/api/workflow-remove", {"id": "gone"}, "gone"),
            ("no name", 400, "/api/workflow-rename", {"id": "soft"}, "'name' is missing"),
            ("a place that is none", 422, "/api/workflow-move", {"id": "soft", "place": "--help"}, "--help"),
            ("a path from nowhere", 400, "/api/workflow-add", {"path": "soft.json"}, "no full path"),
            ("no file there", 422, "/api/workflow-add", {"path": "/nowhere/x.json"}, "/nowhere/x.json"),
            ("what is no workflow", 422, "/api/workflow-add", {"file": "bad.json", "content": "[]"}, "no graph"),
            ("a name that leads out", 400, "/api/workflow-add", {"file": "../..", "content": "{}"}, "rename the file"),
            ("a name of a hidden file", 400, "/api/workflow-add", {"file": ".profile", "content": "{}"}, "rename the file"),
            ("a name of control characters", 400, "/api/workflow-add", {"file": "a\nb.json", "content": "{}"}, "rename the file"),
            ("neither file nor path", 400, "/api/workflow-add", {"name": "x"}, "'file' is missing"),
        ]:
            with self.subTest(what):
                response = self.ask(path, body)
                told = json.loads(response.read())
                self.assertEqual(response.status, status, told)
                self.assertIn(text, told["error"])
        self.assertEqual(list((self.exchange / "studio").glob("sent-*")), [])
        self.assertEqual(len(self.told("/api/workflows")["workflows"]), 3)

    def test_the_end_of_the_program_waits_for_no_check(self) -> None:
        self.helper("answer", "touch asked; sleep 60")
        self.studio("--plugin", "plugin")
        answer: list[int] = []
        asking = threading.Thread(target=lambda: answer.append(self.ask("/api/workflow-check?id=soft").status))
        asking.start()
        until((self.folder / "asked").exists)
        self.process.terminate()
        self.assertEqual(self.process.wait(10), 0)
        asking.join()
        self.assertEqual(answer, [503])
        self.assert_nothing_left()

    def test_the_doctor_tells_what_is_broken(self) -> None:
        self.studio("--plugin", "plugin")
        findings = {finding["check"]: finding for finding in self.told("/api/doctor")["findings"]}
        self.assertEqual(findings["workflow Lost"]["state"], "broken")
        self.assertEqual(findings["workflow Lost"]["remedy"], "copy it")


class Shown(PageCase):
    def button(self, text: str, within: str = "#view-workflows"):
        return next(one for one in self.all(f"{within} button") if one.text == text)

    def titles(self) -> list[str]:
        return self.js("[...document.querySelectorAll('workflow-list .title')].map(one => one.textContent)")

    def test_workflows_are_checked_changed_and_added(self) -> None:
        self.helper("answer", LOOKS)
        self.catalog(*((f"w{number}", f"Number {number}") for number in range(5)), ("lost", "<b>Lost"))
        self.open("--plugin", "plugin")
        self.js("arguments[0].focus()", self.find("#view-tab-pictures"))
        self.press(Keys.ARROW_RIGHT)
        until(lambda: len(self.titles()) == 6)
        until(lambda: len(self.all("workflow-list .row.ok")) == 5 and len(self.all("workflow-list .row.broken")) == 1, 40)
        until(lambda: "Positive #6" in self.find(".detail").text and "Strength" in self.find(".detail").text)
        self.assertIn('by the graph; the title "Quillmere Prompt" would decide', self.find(".detail").text)
        self.js("arguments[0].focus()", self.find("workflow-list [aria-current=true]"))
        self.press(*[Keys.ARROW_DOWN] * 5)
        until(lambda: "sd.safetensors, for ckpt_name of Load #4" in self.find(".detail").text)
        self.assertIn("copy it", self.find(".detail .remedy").text)
        row, up = self.find("workflow-list [aria-current=true]"), self.button("Move up")
        up.click()
        until(lambda: self.titles()[4:] == ["5  <b>Lost", "6  Number 4"])
        self.button("Check again", ".detail").click()
        until(lambda: "sd.safetensors" in self.find(".detail").text)
        self.assertEqual([self.js("arguments[0].isConnected", one) for one in (row, up)], [True, True])
        name = self.find(".rename input")
        name.clear()
        name.send_keys("Found", Keys.ENTER)
        until(lambda: self.titles()[4] == "5  Found")
        self.button("Remove").click()
        until(lambda: self.all("dialog[open] button[value=remove]"))[0].click()
        until(lambda: len(self.titles()) == 5)
        (self.folder / "write" / "own.json").write_text("{}")
        self.find("#workflow-file").send_keys(str(self.folder / "write" / "own.json"))
        self.button("Add").click()
        until(lambda: self.titles()[-1] == "6  own")
        until(lambda: self.find(".detail h2").text == "own")
        self.find("#workflow-path").send_keys("/nowhere.json")
        self.button("Add").click()
        until(lambda: "/nowhere.json" in self.find("workflow-list .said").text)
        self.browser.get_log("browser")  # has the refusal

    def test_the_doctor_says_what_to_do(self) -> None:
        self.helper("answer", LOOKS)
        self.catalog(("lost", "Lost"))
        self.open("--plugin", "plugin")
        self.find("#view-tab-doctor").click()
        until(lambda: "copy it" in self.find("doctor-report").text)
        self.assertIn("1 broken", self.find("doctor-report .said").text)


if __name__ == "__main__":
    unittest.main()

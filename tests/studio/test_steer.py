"""Rendering from the page as a person does it, in a browser without a screen."""

import json
import subprocess
import unittest

from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.support.ui import Select

from studio_case import until
from test_page import PageCase
from app_case import PLUGIN, QUILLMERE


class SteerCase(PageCase):
    refusals = ("409", "422", "503")  # 503: asked while the program ended

    def open_scene(self, *arguments: str, plugin: str = "plugin", size: str = "64x36") -> None:
        given = ["--plugin", plugin] if plugin else []
        self.studio("scene.glb", *given, "--pictures", "renders", "--output", "o_####.png", "--size", size, *arguments)
        self.browser.get(self.address)
        until(lambda: self.all("#steer-panel .field") and self.guide_name())

    def guide_name(self) -> str:
        return self.find(".name.left").text

    def field(self, label: str):
        """The input with this label."""
        return until(lambda: self.js("[...document.querySelectorAll('#panel-render .field label')].find(one => one.textContent === arguments[0])?.control", label))

    def value(self, label: str) -> str:
        return self.js("[...document.querySelectorAll('#panel-render .field label')].find(one => one.textContent === arguments[0])?.control.value", label)

    def fill(self, label: str, text: str) -> None:
        field = self.field(label)
        self.js("arguments[0].scrollIntoView({block: 'center'})", field)
        field.clear()
        field.send_keys(text, Keys.TAB)

    def error_of(self, label: str) -> str:
        field = self.field(label)
        if field.get_attribute("aria-invalid") != "true":
            return ""
        return self.browser.find_element(By.ID, field.get_attribute("aria-describedby")).text

    def open_all(self) -> None:
        self.js("document.querySelectorAll('#panel-render details').forEach(one => one.open = true)")

    def job(self) -> dict:
        return self.told("/api/desk")["job"]

    def state(self) -> str:
        return self.find("#steer-state").text


class Panel(SteerCase):
    def test_the_panel_is_the_effects_own_and_refusals_stand_beside_their_field(self) -> None:
        self.catalog(("ink", "Ink"), ("flux", "FLUX.2 Dev"))
        self.open_scene()
        rows = json.loads(self.run_command("panel", "scene.glb", "--plugin", "plugin", "--write-dir", "write", "--json").stdout)
        shown = [one.get_property("textContent") for one in self.all("#steer-panel fieldset:not(.shot) > .field > label")]
        self.assertEqual(shown, [row["label"] for row in rows])
        self.assertFalse(self.field("System Prompt").is_enabled())
        self.assertEqual([one.text for one in Select(self.field("Workflow")).options], ["None", "Ink", "FLUX.2 Dev"])
        self.fill("History Limit", "0")
        until(lambda: "from 1 to 5000" in self.error_of("History Limit"))
        self.find("#render-frame").click()
        until(lambda: "refused" in self.state())
        self.assertEqual(self.js("document.activeElement.id"), self.field("History Limit").get_attribute("id"))
        self.fill("History Limit", "50")
        until(lambda: not self.error_of("History Limit"))
        self.field("Unlock System Prompt").click()
        until(lambda: self.field("System Prompt").is_enabled())
        Select(self.field("Workflow")).select_by_visible_text("Ink")
        until(lambda: self.job()["options"].get("workflow") == "ink")
        self.fill("Size", "0x0")
        until(lambda: "--size" in self.error_of("Size"))
        self.assertEqual(self.job()["set"], {"QUILLMERE_HISTORY_LIMIT": "50", "QUILLMERE_UNLOCK_SYSTEM_PROMPT": "true"})

    def test_a_workflow_can_be_a_file_and_its_controls_are_judged(self) -> None:
        (self.folder / "bin" / "python3").unlink()  # the program's own helper tells what they take
        self.catalog(("ink", "Ink"))
        self.open_scene(plugin="")
        self.fill("Workflow File", "/nowhere.json")
        until(lambda: "/nowhere.json" in self.error_of("Workflow File"))
        wash = PLUGIN / "python" / "workflows" / "ink_wash.json"
        self.fill("Workflow File", str(wash))
        until(lambda: self.job()["options"].get("workflow") == str(wash) and not self.error_of("Workflow File"))
        self.assertEqual(Select(self.field("Workflow")).first_selected_option.text, "None")
        self.field("line")
        self.open_all()
        self.fill("line", "99")
        until(lambda: "a number of 0 to 3" in self.error_of("line"))
        self.assertEqual(self.job()["control"], {})
        self.fill("line", "2")
        until(lambda: self.job()["control"] == {"line": "2"} and not self.error_of("line"))
        Select(self.field("Workflow")).select_by_visible_text("Ink")
        until(lambda: self.job()["options"].get("workflow") == "ink" and not self.value("Workflow File"))

    def test_the_guide_follows_the_panel(self) -> None:
        self.open_scene()
        chart, pier = until(lambda: len(self.all(".camera img[src]")) == 2) and (self.find(f".camera[data-camera={name}]") for name in ("Chart", "Pier"))
        source = self.find("picture-viewer img").get_attribute("src")
        self.open_all()
        self.fill("fps", "12")
        ActionChains(self.browser).click_and_hold(chart).perform()
        until(lambda: "12" in self.find("#steer-scene").text)  # and the cameras with it
        ActionChains(self.browser).release(chart).perform()
        until(lambda: "Chart" in self.guide_name() and self.find("picture-viewer img").get_attribute("src") != source)
        self.assertEqual(Select(self.field("Camera")).first_selected_option.text, "Chart")
        self.assertEqual(chart.get_attribute("aria-pressed"), "true")
        ActionChains(self.browser).key_down(Keys.SHIFT).click(pier).key_up(Keys.SHIFT).perform()
        until(lambda: self.job()["options"]["camera"] == ["Chart", "Pier"])
        self.fill("Frame", "20")
        until(lambda: "frame 20" in self.guide_name())
        source = self.find("picture-viewer img").get_attribute("src")
        Select(self.field("Guide Mode")).select_by_visible_text("Final Render")
        until(lambda: self.find("picture-viewer img").get_attribute("src") != source)
        until(lambda: "Walk: 1 s" in self.find("#steer-scene").text)


class Render(SteerCase):
    def test_a_frame_is_drawn_from_start_to_picture(self) -> None:
        (self.folder / "bin" / "python3").unlink()  # the program's own helper draws
        self.open_scene(size="320x180", plugin="")
        self.fill("Prompt", "a misty harbour")
        ActionChains(self.browser).key_down(Keys.CONTROL).send_keys(Keys.ENTER).key_up(Keys.CONTROL).perform()
        until(lambda: self.all(".in-flight p"))
        self.assertFalse(self.find("#render-frame").is_enabled())
        until(lambda: "Done" in self.state(), 60)
        until(lambda: self.find(".name.right").text == "result 0")
        record = json.loads(self.run_command("show", "o_0000.png", "--json").stdout)
        self.assertEqual(record["prompt"], "a misty harbour")
        self.find("#tab-history").click()
        until(lambda: self.all("history-list .entry"))
        self.click("history-list .entry")
        until(lambda: "a misty harbour" in self.find("#details").text)
        self.click_text("#details button", "Lock as style")
        until(lambda: self.told("/api/state")["view"]["locked_style"])
        self.find("#tab-render").click()
        self.fill("Prompt", "at night")
        self.fill("Frame", "3")
        self.find("#render-frame").click()
        until(lambda: self.find(".name.right").text == "result 3", 60)
        self.assertTrue(self.request(3)["locked_style_image"])
        self.find("#tab-history").click()
        until(lambda: len(self.all("history-list .entry")) == 2)
        self.click("history-list .entry", 1)
        until(lambda: "a misty harbour" in self.js("document.querySelector('#details table')?.textContent || ''"))
        self.click_text("#details button", "Use these settings")
        until(lambda: self.find("#panel-render").is_displayed() and self.value("Prompt") == "a misty harbour")
        self.assertEqual(self.value("Frame"), "0")
        self.open_all()
        self.assertEqual(Select(self.field("style picture")).first_selected_option.text, "None")  # as the picture was made
        Select(self.field("style picture")).select_by_visible_text("The locked picture")
        until(lambda: "style" not in self.job()["options"])

    def test_a_sequence_is_followed_and_broken_off(self) -> None:
        self.helper('tell \'"phase": "generate", "message": "Inking", "progress": 0.4\'\nsleep 0.3\nanswer')
        self.open_scene("--jobs", "1")
        self.fill("Frames", "1-3")
        self.find("#render-sequence").click()
        until(lambda: "of 3" in self.state())
        self.assertTrue(self.all("frame-timeline .missing"))
        until(lambda: "Done: 3" in self.state(), 60)
        self.assertEqual((len(self.all("frame-timeline button.fresh")), self.all("frame-timeline .missing")), (3, []))
        self.helper('tell \'"phase": "generate", "message": "Inking", "progress": 0.4\'\nsleep 30\nanswer')
        self.fill("Frames", "4-6")
        self.find("#render-sequence").click()
        until(lambda: "Inking" in self.find(".in-flight").text)
        self.find("#render-break").click()
        until(lambda: "Stopped" in self.state() and "4-6" in self.state())
        self.assertTrue(self.find("#render-frame").is_enabled())

    def test_why_a_render_cannot_begin_and_that_the_program_has_ended(self) -> None:
        self.open_scene()
        (self.folder / "scene.glb").write_text("no scene any more")
        self.find("#render-frame").click()
        until(lambda: "scene.glb" in self.state() and self.find("#steer-state.bad"))
        self.process.terminate()
        until(lambda: "has ended" in self.find("#status").text and not self.find("#render-frame").is_enabled())


class Keep(SteerCase):
    def test_settings_are_saved_loaded_and_copied(self) -> None:
        self.browser.execute_cdp_cmd("Browser.grantPermissions", {"permissions": ["clipboardReadWrite", "clipboardSanitizedWrite"]})
        self.open_scene()
        self.fill("Prompt", "it's fog")
        self.open_all()
        self.find("#steer-file").send_keys("kept.json")
        self.find("#save-settings").click()
        until(lambda: (self.folder / "kept.json").exists() and "Saved" in self.state())
        self.fill("Prompt", "sun")
        until(lambda: self.job()["set"]["QUILLMERE_PROMPT"] == "sun")
        self.find("#load-file").click()
        until(lambda: self.value("Prompt") == "it's fog" and self.state() == "Loaded")
        self.fill("Prompt", "sun")
        until(lambda: self.job()["set"]["QUILLMERE_PROMPT"] == "sun")
        self.find("#load-content").send_keys(str(self.folder / "kept.json"))
        until(lambda: self.value("Prompt") == "it's fog" and self.state() == "Loaded")
        self.find("#copy-command").click()
        until(lambda: self.state() == "Copied")
        line = self.browser.execute_async_script("navigator.clipboard.readText().then(arguments[0])")
        self.assertTrue(line.startswith("quillmere render "), line)
        done = subprocess.run(["sh", "-c", line.replace("quillmere", QUILLMERE, 1)], env=self.env, capture_output=True, cwd="/", timeout=60)
        self.assertEqual((done.returncode, (self.folder / "o_0000.png").exists()), (0, True), done.stderr)


if __name__ == "__main__":
    unittest.main()

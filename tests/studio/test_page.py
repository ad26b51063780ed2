"""The page as a person meets it, in a browser without a screen."""

import json
import os
import pathlib
import unittest

from selenium import webdriver
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.common.action_chains import ActionChains

from studio_case import StudioCase, until

# Where pictures of the page are kept to be looked at; none are when it isn't set.
SHOTS = os.environ.get("QUILLMERE_STUDIO_SHOTS")


class PageCase(StudioCase):
    browser: webdriver.Chrome
    refusals: tuple[str, ...] = ()  # statuses that the browser may have met

    @classmethod
    def setUpClass(cls) -> None:
        options = webdriver.ChromeOptions()
        for argument in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--disable-gpu", "--window-size=1440,900",
                         "--force-color-profile=srgb"):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        service = webdriver.chrome.service.Service("/usr/bin/chromedriver")
        cls.browser = webdriver.Chrome(service=service, options=options)
        cls.addClassCleanup(cls.browser.quit)

    def tearDown(self) -> None:
        self.save(self.id().split(".")[-1])
        self.browser.get("about:blank")
        wrong = [entry for entry in self.browser.get_log("browser") if entry["level"] == "SEVERE"]
        met = ("/api/events - ", *(f"a status of {status} " for status in self.refusals))
        self.assertEqual([entry for entry in wrong if not any(one in entry["message"] for one in met)], [])
        super().tearDown()

    def open(self, *arguments: str) -> None:
        self.studio("--pictures", "renders", *arguments)
        self.browser.get(self.address)
        until(lambda: self.find("#found").text)

    def save(self, name: str) -> None:
        if SHOTS:
            pathlib.Path(SHOTS).mkdir(parents=True, exist_ok=True)
            self.browser.save_screenshot(str(pathlib.Path(SHOTS) / f"{name.replace(' ', '_')}.png"))

    def scheme(self, name: str = "") -> None:
        features = [{"name": "prefers-color-scheme", "value": name}] if name else []
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": features})

    def find(self, selector: str):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def all(self, selector: str) -> list:
        return self.browser.find_elements(By.CSS_SELECTOR, selector)

    def click(self, selector: str, place: int = 0) -> None:
        """One that may be drawn again meanwhile."""
        until(lambda: self.all(selector)[place:] and (self.all(selector)[place].click(), True))

    def click_text(self, selector: str, text: str) -> None:
        until(lambda: (next(one for one in self.all(selector) if one.text == text).click(), True))

    def js(self, script: str, *arguments):
        return self.browser.execute_script("return " + script, *arguments)

    def press(self, *keys: str) -> None:
        for key in keys:
            ActionChains(self.browser).send_keys(key).perform()

    def done_frame(self, number: int, colour=(200, 80, 40)) -> None:
        picture = self.picture(f"f{number}.png", colour, prompt=f"prompt {number}", frame=number)
        self.frame(number, status={"phase": "generate", "message": ""}, response={"ok": True, "first_output": str(picture)})
        self.entry("scene.glb", number, picture, seconds=number)


class Look(PageCase):
    def test_an_empty_folder_says_what_to_do(self) -> None:
        self.open()
        self.assertTrue(self.find("#empty").is_displayed())
        self.assertEqual(self.find("#write-directory").text, str(self.folder / "write"))

    def test_guide_and_result_under_a_divider_by_keys_alone(self) -> None:
        for number in (1, 2, 3):
            self.done_frame(number)
        self.open()
        until(lambda: self.all("picture-viewer.both.split"))
        divider = self.find(".divider")
        self.js("arguments[0].focus()", divider)
        self.press(Keys.HOME)
        self.assertEqual(divider.get_attribute("aria-valuenow"), "0")
        self.press(Keys.ARROW_RIGHT, Keys.ARROW_RIGHT)
        self.assertEqual(divider.get_attribute("aria-valuenow"), "2")
        ActionChains(self.browser).double_click(divider).perform()
        self.assertEqual(divider.get_attribute("aria-valuenow"), "50")
        fitted = float(self.find("#viewer").get_attribute("data-zoom"))
        self.press("+")
        self.assertAlmostEqual(float(self.find("#viewer").get_attribute("data-zoom")), fitted * 1.25, places=2)
        transforms = self.js("[...document.querySelectorAll('picture-viewer img')].map(one => one.style.transform)")
        self.assertEqual(transforms[0], transforms[1])
        self.press("0", "1")
        self.assertEqual(float(self.find("#viewer").get_attribute("data-zoom")), 1)
        self.press("m", "m", "m")
        self.assertTrue(self.all("picture-viewer.difference"))
        self.js("arguments[0].focus()", self.find("frame-timeline [aria-selected=true]"))
        self.press(Keys.HOME)
        self.assertEqual(self.find("frame-timeline [aria-selected=true]").text, "1")
        self.press(Keys.ARROW_RIGHT)
        until(lambda: self.find(".name.right").text == "result 2")

    def test_pictures_are_moved_in_step_by_mouse_and_fingers(self) -> None:
        self.done_frame(1)
        self.open()
        until(lambda: self.all("picture-viewer.both.split"))
        viewer, divider = self.find("#viewer"), self.find(".divider")
        ActionChains(self.browser).drag_and_drop_by_offset(divider, -200, 0).perform()
        self.assertLess(int(divider.get_attribute("aria-valuenow")), 40)
        zooms = [float(viewer.get_attribute("data-zoom"))]
        box = viewer.rect
        middle = {"x": box["x"] + box["width"] / 2, "y": box["y"] + box["height"] / 2}
        self.browser.execute_cdp_cmd("Input.dispatchMouseEvent", {"type": "mouseWheel", **middle, "deltaX": 0, "deltaY": -300})
        until(lambda: zooms.append(float(viewer.get_attribute("data-zoom"))) or zooms[-1] > zooms[0])
        for kind, apart in (("touchStart", 120), ("touchMove", 60), ("touchMove", 20)):
            points = [{"x": middle["x"] + side * apart, "y": middle["y"] + 100, "id": side} for side in (-1, 1)]
            self.browser.execute_cdp_cmd("Input.dispatchTouchEvent", {"type": kind, "touchPoints": points})
        self.browser.execute_cdp_cmd("Input.dispatchTouchEvent", {"type": "touchEnd", "touchPoints": []})
        until(lambda: float(viewer.get_attribute("data-zoom")) < zooms[-1] / 3)
        transforms = self.js("[...document.querySelectorAll('picture-viewer img')].map(one => one.style.transform)")
        self.assertEqual(transforms[0], transforms[1])

    def test_what_was_shown_last_is_shown_first_and_gaps_are_seen(self) -> None:
        for number in (1, 2, 3, 6):
            self.done_frame(number)
        self.frame(8, response={"ok": False, "error": "No server; start the server"})
        (self.exchange / "runtime" / "render_view_state.json").write_text(json.dumps({"last_image": str(self.folder / "renders" / "f2.png")}))
        self.open()
        until(lambda: self.find(".name.right").text == "result 2")
        self.assertEqual([one.text for one in self.all("frame-timeline .frames > *")], ["1", "2", "3", "4–5", "6", "7", "8"])
        self.assertEqual(len(self.all("frame-timeline .done.kept")), 4)
        self.assertEqual([one.text for one in self.all("frame-timeline .missing")], ["4–5", "7"])
        self.done_frame(3)  # again
        until(lambda: self.find("frame-timeline .fresh").text == "3" and self.find(".name.right").text == "result 3")
        self.js("arguments[0].focus()", self.find("frame-timeline [aria-selected=true]"))
        self.press(Keys.END)
        until(lambda: "start the server" in self.find(".failure").text)
        self.click(".failure button")
        until(lambda: self.find("#view-doctor").is_displayed())

    def test_all_modules_are_asked_for_at_once(self) -> None:
        self.open()
        loaded = self.js("performance.getEntriesByType('resource').map(one => new URL(one.name).pathname).filter(one => one.endsWith('.js'))")
        asked = [link.get_attribute("href").rpartition("/")[2] for link in self.all("link[rel=modulepreload]")]
        self.assertEqual(sorted(loaded), sorted({f"/{name}" for name in asked} | {"/studio.js"}))

    def test_a_pass_stands_on_the_left(self) -> None:
        runtime = self.exchange / "runtime"
        for number, passes in ((1, {"depth": {}, "lines": {}}), (2, {})):
            picture = self.picture(f"f{number}.png", prompt="x", passes=passes)
            self.frame(number, response={"ok": True, "first_output": str(picture)})
            for name in ("depth", "normal"):  # of an earlier render, as far as the record doesn't name them
                (runtime / f"{name}_{number}.png").write_bytes(picture.read_bytes())
        self.open()
        self.js("arguments[0].focus()", self.find("frame-timeline [aria-selected=true]"))
        self.press(Keys.HOME)
        until(lambda: self.js("[...document.querySelector('#left').options].map(one => one.value)") == ["guide", "depth"])
        self.find("#left").send_keys("depth")
        until(lambda: self.find(".name.left").text == "depth 1")
        self.js("arguments[0].focus()", self.find("frame-timeline [aria-selected=true]"))
        self.press(Keys.ARROW_RIGHT)
        until(lambda: self.find(".name.left").text == "guide 2")
        self.press(Keys.ARROW_LEFT)
        until(lambda: self.find(".name.left").text == "depth 1")

    def test_the_frames_are_played(self) -> None:
        for number in (1, 2, 3):
            self.done_frame(number)
        self.open()
        seen = set()
        self.press(" ")
        until(lambda: seen.add(self.find("frame-timeline [aria-selected=true]").text) or len(seen) == 3)
        self.press(" ")
        self.assertEqual(self.find(".play").get_attribute("aria-label"), "Play the frames")


class Follow(PageCase):
    def test_a_render_from_its_start_to_its_picture_and_one_that_fails(self) -> None:
        self.open()
        self.helper('tell \'"phase": "generate", "message": "Inking", "progress": 0.4, "step": 4, "steps": 10\'\nsleep 1.5\nanswer')
        first = self.start("--frame", "7", "--output", "out.png")
        until(lambda: self.all(".in-flight p"))
        until(lambda: "Inking · 4/10" in self.find(".in-flight").text)
        until(lambda: self.find(".name.right").text == "result 7")
        self.assertFalse(self.find("#empty").is_displayed())
        first.wait(30)
        self.helper('mkdir -p /dev/null/x 2>/dev/null; printf \'{"ok": false, "error": "no server; start one"}\' > "$response"; exit 1')
        self.start("--frame", "8", "--output", "out.png").wait(30)
        until(lambda: "no server; start one" in self.find(".in-flight").text)
        self.assertTrue(self.all("frame-timeline button.failed"))

    def test_the_end_of_the_program_is_told(self) -> None:
        self.open()
        self.process.terminate()
        until(lambda: "has ended" in self.find("#status").text)


class Find(PageCase):
    def test_what_is_there_is_not_drawn_anew_when_something_comes(self) -> None:
        self.done_frame(1)
        self.frame(2, status={"phase": "generate", "message": "Inking"})
        self.open()
        self.click("history-list .entry")
        until(lambda: self.all("#details button"))
        self.click("#tab-history")
        places = ("frame-timeline [data-frame='1']", "history-list .entry", "history-list [data-action=star]", "#details button", ".in-flight p")
        there = [self.find(place) for place in places]
        self.js("arguments[0].focus()", there[2])
        self.done_frame(0)
        self.frame(3, status={"phase": "generate", "message": "Inking"})
        (self.exchange / "runtime" / "render_view_state.json").write_text('{"status_text": "Rendering on"}')
        until(lambda: len(self.all("history-list .entry")) == 2 and len(self.all(".in-flight p")) >= 2 and self.find("#status").text == "Rendering on")
        self.assertEqual([self.js("arguments[0].isConnected", one) for one in there], [True] * len(there))
        self.assertEqual(self.js("document.activeElement"), there[2])

    def test_search_star_details_style_and_side_by_side(self) -> None:
        for number in range(1, 6):
            self.done_frame(number, (40 * number, 80, 90))
        self.open()
        until(lambda: "5 of 5" in self.find("#found").text and "reading" not in self.find("#found").text)
        self.press("/")
        self.press("prompt 3")
        until(lambda: "1 of 5" in self.find("#found").text)
        self.find("#words").clear()
        self.find("#filters summary").click()
        next(one for one in self.all("#filters button") if one.text == "frame:").click()
        self.press("3")
        until(lambda: "1 of 5" in self.find("#found").text)
        self.assertEqual(self.find("#words").get_attribute("value"), "frame:3")
        self.click("history-list .entry")
        until(lambda: "prompt 3" in self.find("#details").text)
        self.click_text("#details button", "Lock as style")
        until(lambda: any(one.text == "Unlock style" for one in self.all("#details button")))
        state = self.exchange / "runtime" / "render_view_state.json"
        until(lambda: state.exists() and json.loads(state.read_text())["locked_style_image"].endswith("f3.png"))
        self.find("#tab-history").click()
        self.find("#words").clear()
        self.find("#words").send_keys(" ")
        until(lambda: len(self.all("history-list .entry")) == 5)
        self.js("arguments[0].focus()", self.find("history-list"))
        self.press("s")
        until(lambda: self.all("history-list [data-action=star][aria-pressed=true]"))
        self.click("history-list [data-action=beside]")
        self.press(Keys.ARROW_DOWN, "x")  # the list has the keys still
        until(lambda: len(self.all("#side-by-side figure")) == 2)
        self.click("#side-by-side .close")
        self.js("arguments[0].focus()", self.find("history-list"))
        self.press(Keys.HOME, "l", Keys.ARROW_DOWN, Keys.ENTER)
        until(lambda: (self.find(".name.left").text, self.find(".name.right").text) == ("f5.png", "f4.png"))
        self.find("#tab-history").click()
        self.assertFalse(self.find("#side-by-side").is_displayed())
        self.find("#starred").click()
        until(lambda: "1 of 5" in self.find("#found").text)
        self.click("history-list .entry")
        until(lambda: self.all("#details tr.differs"))

    def test_of_ten_thousand_only_what_is_seen_is_in_the_page(self) -> None:
        picture = self.picture("one.png")
        for number in range(10_000):
            self.entry(f"scene_{number % 7}.glb", number, picture, seconds=number)
        self.open()
        until(lambda: "10000 of 10000" in self.find("#found").text, 60)
        self.js("arguments[0].focus()", self.find("history-list"))
        self.press(Keys.END)
        until(lambda: "frame 0" in self.find("history-list").text)
        self.assertLess(len(self.all("history-list .entry")), 40)
        self.find("#words").send_keys("frame:4321")
        until(lambda: "1 of 10000" in self.find("#found").text)
        self.assertEqual(len(self.all("history-list .entry")), 1)

    def test_what_others_wrote_is_shown_as_text(self) -> None:
        picture = self.picture("<img src=x onerror=alert(1)>.png", prompt="<script>document.title='no'</script>", seed=[1, {"a": None}])
        self.entry("<b>scene", 1, picture)
        self.open()
        until(lambda: "<script>" in self.find("history-list").text)
        self.click("history-list .entry")
        until(lambda: "onerror" in self.find("#details h2").text)
        self.assertEqual(self.browser.title, "Quillmere Studio")


if __name__ == "__main__":
    unittest.main()

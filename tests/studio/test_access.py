"""Whether everybody gets at everything: by keyboard alone, with fingers, in either theme, on small and large screens."""

import pathlib
import unittest
from typing import Iterator

from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support import expected_conditions

from studio_case import until
from test_steer import SteerCase
from test_views import LOOKS

AUDIT = (pathlib.Path(__file__).parent / "page_audit.js").read_text().partition("\n")[2]
# What has the focus: whether it shows that, all of it where it can be seen.
FOCUS = """(() => {
  const node = document.activeElement, box = node.getBoundingClientRect();
  const ringed = [node, node.parentElement].some((one) => parseFloat(getComputedStyle(one).outlineWidth) >= 2 && getComputedStyle(one).outlineStyle === "solid");
  const port = (node.parentElement.closest("[role=tabpanel], .detail, .rows") ?? document.body).getBoundingClientRect();
  return ringed && box.width > 0 && box.top >= port.top && (box.bottom <= port.bottom || box.height > port.height);
})()"""
# What Tab alone, or an arrow key where one of several has the focus for all, doesn't lead to.
UNREACHED = """[...document.querySelectorAll("button, input, select, textarea, summary, a[href], [tabindex='0']")].filter((node) =>
  node.checkVisibility({ checkVisibilityCSS: true }) && !node.disabled && !arguments[0].includes(node) &&
  !(node.tabIndex < 0 && node.closest("[role=tablist], [role=listbox], .rows"))).map((node) => node.outerHTML.slice(0, 120))"""


class EverybodyCase(SteerCase):
    refusals = (*SteerCase.refusals, "404")  # 404: asked of a workflow that was just removed

    def setUp(self) -> None:
        super().setUp()
        for number in (1, 2, 5):
            self.done_frame(number)
        self.frame(7, response={"ok": False, "error": "The server doesn't answer; start the server"})
        self.helper("answer", LOOKS)
        self.catalog(("soft", "Depth, soft"), ("lost", "Lost"))
        self.open_scene()
        until(lambda: self.find("#steer-scrub").is_displayed())  # the last that comes into the panel, and moves what is below

    def views(self) -> Iterator[str]:
        """Each thing that the page can show, shown."""
        self.open_all()
        yield "panel"
        self.find("#tab-history").click()
        self.find("#filters summary").click()
        self.js("document.querySelector('frame-timeline [data-frame=\"7\"]').click()")
        until(lambda: self.all("history-list .entry") and self.all(".failure button"))
        yield "history"
        self.click("history-list .entry")
        until(lambda: self.all("#details button") and self.all("picture-viewer.both"))
        yield "details"
        self.find("#tab-history").click()
        for row in (0, 1):
            self.click("history-list [data-action=beside]", row)
        until(lambda: self.find("#side-by-side").is_displayed())
        yield "side by side"
        self.find("#tab-console").click()
        self.find("#help-open").click()
        yield "keys"
        self.press(Keys.ESCAPE)
        self.find("#view-tab-workflows").click()
        until(lambda: "Positive" in self.find(".detail").text and self.all("workflow-list .row.broken"))
        yield "workflows"
        self.click_text(".detail button", "Remove")
        yield "a question"
        self.press(Keys.ESCAPE)
        self.find("#view-tab-doctor").click()
        until(lambda: "broken" in self.find("doctor-report .said").text)
        yield "doctor"


class Keyboard(EverybodyCase):
    def test_everything_is_reached_named_and_shown_to_have_the_focus(self) -> None:
        for view in self.views():
            if not self.all("dialog[open]"):
                self.js("(document.body.tabIndex = -1, document.body.focus(), document.body.removeAttribute('tabindex'))")
            reached, wrong = {}, []
            while True:
                self.press(Keys.TAB)
                node = self.browser.switch_to.active_element
                if node.tag_name == "body" or node in reached:
                    break
                reached[node] = node.get_attribute("outerHTML")[:120]
                if not node.accessible_name or not self.js(FOCUS):
                    wrong.append(reached[node])
            gone = [text for node, text in reached.items() if expected_conditions.staleness_of(node)(self.browser)]
            with self.subTest(view):
                self.assertEqual((wrong, gone), ([], []))
                if not self.all("dialog[open]"):  # which has the focus to itself
                    self.assertEqual(self.browser.execute_script("return " + UNREACHED, list(reached)), [])

    def test_escape_leads_back_to_where_it_was_opened(self) -> None:
        focused = lambda: self.js("document.activeElement.id || document.activeElement.textContent")  # noqa: E731
        self.find("#tab-history").click()
        until(lambda: len(self.all("history-list .entry")) == 3)
        self.js("arguments[0].focus()", self.find("history-list"))
        self.press(Keys.ENTER)
        until(lambda: self.all("#details button"))
        self.assertEqual(focused(), "panel-details")
        self.press("c")
        self.assertEqual((focused(), self.find("#console").is_displayed()), ("console", True))
        self.press(Keys.ESCAPE)
        self.assertEqual((focused(), self.find("#history").is_displayed()), ("history", True))
        self.press("x", Keys.ARROW_DOWN, "x")
        until(lambda: self.find("#side-by-side").is_displayed())
        self.press(Keys.ESCAPE)
        self.assertEqual((focused(), self.find("#side-by-side").is_displayed()), ("history", False))
        self.find("#view-tab-workflows").click()
        self.click_text(".detail button", "Remove")
        self.press(Keys.ENTER)  # keeps it, to begin with
        self.assertEqual(focused(), "Remove")
        self.press(Keys.ENTER)
        self.click("dialog [value=remove]")
        until(lambda: len(self.all("workflow-list .row")) == 1 and "Lost" in focused())


class Eyes(EverybodyCase):
    def test_nothing_is_faint_cut_off_or_too_small(self) -> None:
        (self.exchange / "runtime" / "render_view_state.json").write_text('{"status_text": "Rendering the sequence: 3 of 24 frames are done"}')
        self.frame(8, status={"phase": "generate", "message": "Sampling with the first model", "progress": 0.4, "step": 8, "steps": 20, "ahead": 2})
        self.frame(9)
        grounds = set()
        for view in self.views():
            for scheme, width, height, touch in (("dark", 1024, 768, True), ("light", 1440, 900, False), ("light", 1024, 700, True), ("dark", 3840, 2160, False)):
                motion = {"name": "prefers-reduced-motion", "value": "reduce"}
                self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [{"name": "prefers-color-scheme", "value": scheme}, motion]})
                screen = {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": False}
                self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", screen)
                self.browser.execute_cdp_cmd("Emulation.setTouchEmulationEnabled", {"enabled": touch})
                grounds.add(self.js("getComputedStyle(document.body).backgroundColor"))
                with self.subTest(view, scheme=scheme, width=width):
                    self.assertEqual(self.browser.execute_script("return " + AUDIT), [])
                self.save(f"{view}_{scheme}_{width}")
            self.browser.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})
            self.browser.execute_cdp_cmd("Emulation.setTouchEmulationEnabled", {"enabled": False})
        self.scheme()
        self.assertEqual(len(grounds), 2)


if __name__ == "__main__":
    unittest.main()

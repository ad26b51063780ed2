// What a render needs, and what to do about what is missing, as `quillmere doctor` tells it.
import { element, get } from "/api.js";

const ORDER = ["broken", "note", "ok"];
const HEADINGS = { broken: "Broken", note: "Notes", ok: "Fine" };
const MARKS = { broken: "!", note: "i", ok: "✓" };

class DoctorReport extends HTMLElement {
  #asked = false;
  #summary = element("p", { className: "said" });
  #findings = element("div", { className: "findings" });
  #again = element("button", { type: "button", textContent: "Check again" });

  connectedCallback() {
    this.#summary.setAttribute("role", "status");
    this.#again.addEventListener("click", () => this.#ask());
    this.append(element("div", { className: "page" },
      element("div", { className: "head" }, element("h2", { textContent: "Doctor" }), this.#again),
      this.#summary, this.#findings));
  }

  shown() {
    if (!this.#asked) this.#ask();
  }

  async #ask() {
    this.#asked = true;
    this.#again.disabled = true;
    this.#summary.textContent = "Looking at what a render needs, and asking the servers…";
    try {
      const { findings } = await get("/api/doctor");
      const counts = ORDER.map((state) => [findings.filter((one) => one.state === state).length, HEADINGS[state].toLowerCase()]);
      this.#summary.textContent = `${counts.filter(([count]) => count).map((one) => one.join(" ")).join(", ")} · ${new Date().toLocaleTimeString()}`;
      this.#findings.replaceChildren(...ORDER.flatMap((state) => groupOf(state, findings.filter((one) => one.state === state))));
    } catch (error) {
      this.#summary.textContent = error.message;
    }
    this.#again.disabled = false;
  }
}

function groupOf(state, findings) {
  if (!findings.length) return [];
  return [element("h3", { textContent: HEADINGS[state] }), element("ul", {}, ...findings.map((finding) =>
    element("li", { className: state },
      element("span", { className: "mark", textContent: MARKS[state] }),
      element("div", {},
        element("b", { textContent: finding.check }),
        element("p", { textContent: finding.detail }),
        finding.remedy ? element("p", { className: "remedy", textContent: finding.remedy }) : ""))))];
}

customElements.define("doctor-report", DoctorReport);

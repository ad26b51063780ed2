// What can be rendered now, how far the render of this program is, and how it has ended.
import { wordsOfEnd } from "/fields.js";

const at = (id) => document.getElementById(id);

export class RenderBar {
  #running = false;
  #owner = true; // this program may render here
  #total = 0; // pictures of the render that goes on
  #missing = null; // frames, of the last one

  // An event of the render.
  event(told) {
    if (told.event === "start") this.set({ running: true, start: told });
    if (told.event === "sequence") this.set({ running: true, sequence: told });
    if (told.event === "summary") this.#missing = told.missing;
    if (told.event === "end") this.set({ running: false, end: told });
  }

  // As the program tells it; the events are those that came last.
  set({ running, start, sequence, end }) {
    this.#running = running;
    this.#setButtons();
    if (start) {
      at("timeline").since = Date.parse(start.started);
      this.#total = start.count;
      this.#missing = null;
    }
    if (running) {
      const left = sequence?.seconds_left ? `, ${Math.ceil(sequence.seconds_left)} s left` : "";
      this.say(sequence ? `${sequence.done + sequence.kept} of ${sequence.count}${left}` : this.#total > 1 ? `0 of ${this.#total}` : "Rendering");
    } else if (end) {
      this.say(...wordsOfEnd(end, this.#missing));
    }
  }

  get running() {
    return this.#running;
  }

  setOwner(owner) {
    this.#owner = owner;
    this.#setButtons();
  }

  say(text, kind = "") {
    at("steer-state").textContent = at("steer-state").title = text;
    at("steer-state").className = kind;
  }

  #setButtons() {
    at("render-frame").disabled = at("render-sequence").disabled = this.#running || !this.#owner;
    at("render-break").disabled = !this.#running;
  }
}

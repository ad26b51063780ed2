// The frames that exist, in a row; one of them is shown.
import { element } from "/api.js";

const WORDS = { done: "done", failed: "failed", running: "running" };
const DEFAULT_RATE = 24; // frames per second

class FrameTimeline extends HTMLElement {
  #frames = new Map(); // by number
  #buttons = new Map();
  #current = null;
  #playing = 0;
  #row = element("div", { className: "frames" });
  #play = element("button", { type: "button", className: "play", textContent: "▶", title: "Play (Space)" });
  rate = DEFAULT_RATE;

  connectedCallback() {
    this.#play.setAttribute("aria-label", "Play the frames");
    this.#row.setAttribute("role", "listbox");
    this.#row.setAttribute("aria-label", "Frames");
    this.append(this.#play, this.#row);
    this.#play.addEventListener("click", () => this.toggle());
    this.#row.addEventListener("click", (event) => {
      const button = event.target.closest("button");
      if (button) this.choose(Number(button.dataset.frame));
    });
    this.#row.addEventListener("keydown", (event) => {
      const by = { ArrowLeft: -1, ArrowRight: 1, Home: -Infinity, End: Infinity }[event.key];
      if (by === undefined) return;
      event.preventDefault();
      event.stopPropagation(); // the page has the same keys
      this.step(by);
      this.#buttons.get(this.#current)?.focus();
    });
    this.#row.addEventListener("pointermove", (event) => {
      if (event.buttons !== 1) return;
      const under = document.elementFromPoint(event.clientX, event.clientY)?.closest?.("frame-timeline button");
      if (under?.dataset.frame) this.choose(Number(under.dataset.frame));
    });
  }

  replaceAll(frames) {
    this.#frames = new Map(frames.map((frame) => [frame.frame, frame]));
    this.#draw();
  }

  update(frame) {
    const known = this.#frames.has(frame.frame);
    this.#frames.set(frame.frame, frame);
    if (known) this.#mark(frame);
    else this.#draw();
  }

  frame(number) {
    return this.#frames.get(number);
  }
  get current() {
    return this.#current;
  }
  get numbers() {
    return [...this.#frames.keys()].sort((a, b) => a - b);
  }

  choose(number) {
    if (number === this.#current || !this.#frames.has(number)) return;
    this.#buttons.get(this.#current)?.setAttribute("aria-selected", "false");
    this.#current = number;
    const button = this.#buttons.get(number);
    button?.setAttribute("aria-selected", "true");
    for (const [one, other] of this.#buttons) other.tabIndex = one === number ? 0 : -1;
    button?.scrollIntoView({ block: "nearest", inline: "nearest" });
    this.dispatchEvent(new CustomEvent("choose", { detail: this.#frames.get(number) }));
  }

  step(by) {
    const numbers = this.numbers;
    if (!numbers.length) return;
    const at = numbers.indexOf(this.#current);
    this.choose(numbers[Math.min(Math.max(at + by, 0), numbers.length - 1)]);
  }

  toggle() {
    if (this.#playing) {
      cancelAnimationFrame(this.#playing);
      this.#playing = 0;
    } else if (this.#frames.size > 1) {
      this.#run(performance.now());
    }
    this.#play.textContent = this.#playing ? "❚❚" : "▶";
    this.#play.setAttribute("aria-label", this.#playing ? "Stop playing" : "Play the frames");
  }

  #run(last) {
    this.#playing = requestAnimationFrame((now) => {
      const due = now - last >= 1000 / this.rate;
      if (due) {
        const numbers = this.numbers.filter((number) => this.#frames.get(number).picture || this.#frames.get(number).guide);
        const at = numbers.indexOf(this.#current);
        this.choose(numbers[(at + 1) % numbers.length]);
      }
      if (this.#playing) this.#run(due ? now : last);
    });
  }

  #draw() {
    this.#buttons = new Map(this.numbers.map((number) => [number, this.#button(number)]));
    this.#row.replaceChildren(...this.#buttons.values());
    for (const frame of this.#frames.values()) this.#mark(frame);
    this.#play.disabled = this.#frames.size < 2;
  }

  #button(number) {
    const button = element("button", { type: "button", tabIndex: number === this.#current ? 0 : -1 },
      element("b", { textContent: String(number) }));
    button.dataset.frame = String(number);
    button.setAttribute("role", "option");
    button.setAttribute("aria-selected", String(number === this.#current));
    return button;
  }

  #mark(frame) {
    const button = this.#buttons.get(frame.frame);
    if (!button) return;
    button.className = frame.state;
    button.title = `Frame ${frame.frame}: ${frame.error || WORDS[frame.state] || frame.state}`;
    button.style.setProperty("--progress", String(frame.progress ?? 0));
  }
}

customElements.define("frame-timeline", FrameTimeline);

// The frames that exist, in a row with the gaps between them; one of them is shown.
import { element, keep } from "/api.js";
import { gapsIn } from "/gaps.js";

const WORDS = { fresh: "rendered just now", kept: "kept from before", failed: "failed", running: "being rendered" };
const DEFAULT_RATE = 24; // frames per second

class FrameTimeline extends HTMLElement {
  #frames = new Map(); // by number
  #buttons = new Map();
  #current = null;
  #playing = 0;
  #row = element("div", { className: "frames" });
  #wanted = []; // numbers of those that are to be rendered, where that is known
  #since = Date.now(); // ms since 1970; what was rendered later is fresh
  #play = element("button", { type: "button", className: "play", textContent: "▶", title: "Play (Space)" });
  #rate = DEFAULT_RATE;
  shown = () => Promise.resolve(); // when the frame that was chosen last is on the screen

  connectedCallback() {
    this.#play.setAttribute("aria-label", "Play the frames");
    this.#row.setAttribute("role", "listbox");
    this.#row.setAttribute("aria-label", "Frames");
    this.append(this.#play, this.#row);
    this.#play.addEventListener("click", () => this.toggle());
    this.#row.addEventListener("click", (event) => {
      const button = event.target.closest("button");
      if (button) this.choose(Number(button.dataset.frame), true);
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

  set wanted(numbers) {
    if (numbers.join() === this.#wanted.join()) return;
    this.#wanted = numbers;
    this.#draw();
  }
  // Frames per second, where they are known.
  set rate(rate) {
    this.#rate = rate ?? DEFAULT_RATE;
  }
  get rate() {
    return this.#rate;
  }
  set since(time) {
    this.#since = time;
    for (const frame of this.#frames.values()) this.#mark(frame);
  }

  get current() {
    return this.#current;
  }
  get numbers() {
    return [...this.#frames.keys()].sort((a, b) => a - b);
  }

  // `again`: also when it is the chosen one, which may no longer be what is shown.
  choose(number, again = false) {
    if ((number === this.#current && !again) || !this.#frames.has(number)) return;
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

  // At its rate: frames that can't be shown in time are passed over, and none is chosen while another is being loaded.
  #run(last, ready = { now: true }) {
    this.#playing = requestAnimationFrame((now) => {
      const due = ready.now ? Math.floor((now - last) * (this.rate / 1000)) : 0;
      if (due) {
        const numbers = this.numbers.filter((number) => this.#frames.get(number).picture || this.#frames.get(number).guide);
        const at = numbers.indexOf(this.#current);
        this.choose(numbers[(at + due) % numbers.length]);
        ready.now = false;
        this.shown().finally(() => { ready.now = true; });
      }
      if (this.#playing) this.#run(last + due * (1000 / this.rate), ready);
    });
  }

  #draw() {
    const focused = this.#row.contains(document.activeElement);
    const gaps = new Map(gapsIn(this.numbers, this.#wanted).map((gap) => [endsOf(gap), gap]));
    const first = (key) => gaps.get(key)?.[0] ?? key;
    const kept = keep(this.#row, [...this.numbers, ...gaps.keys()].sort((one, other) => first(one) - first(other)),
      ({ dataset }) => dataset.missing ?? Number(dataset.frame), (key) => (gaps.has(key) ? gapMark(key) : this.#button(key)));
    this.#buttons = new Map(this.numbers.map((number) => [number, kept.get(number)]));
    for (const frame of this.#frames.values()) this.#mark(frame);
    this.#play.disabled = this.#frames.size < 2;
    if (focused && !this.#row.contains(document.activeElement)) this.#buttons.get(this.#current)?.focus();
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
    const state = frame.state !== "done" ? frame.state : frame.heard >= this.#since ? "fresh" : "kept";
    button.className = frame.state === state ? state : `${frame.state} ${state}`;
    button.title = `Frame ${frame.frame}: ${frame.error || WORDS[state] || state}`;
    button.setAttribute("aria-label", `Frame ${frame.frame}: ${WORDS[state] || state}`);
    button.style.setProperty("--progress", String(frame.progress ?? 0));
  }
}

// Of several frames in a row there is one mark.
const endsOf = (gap) => (gap.length > 1 ? `${gap[0]}–${gap.at(-1)}` : String(gap[0]));

function gapMark(ends) {
  const mark = element("span", { className: "missing", textContent: ends, title: `Missing: ${ends}` });
  mark.dataset.missing = ends;
  mark.setAttribute("role", "option");
  mark.setAttribute("aria-disabled", "true");
  mark.setAttribute("aria-label", `Missing: ${ends}`);
  return mark;
}

customElements.define("frame-timeline", FrameTimeline);

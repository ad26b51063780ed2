// All pictures of the write directory's histories, newest first. Only the rows in view are in the page.
import { element, get, keep, thumbnailUrl } from "/api.js";

const ROW = 96; // CSS pixels, as in studio.css
const PAGE = 200; // entries asked for at a time
const AROUND = 6; // rows kept above and below those in view

class HistoryList extends HTMLElement {
  #question = { words: "", document: "", starred: "" };
  #entries = new Map(); // by place
  #asked = new Set(); // pages
  #found = 0;
  #generation = 0;
  #current = 0;
  #chosen = new Set(); // identifiers put side by side
  #filled = new WeakMap(); // the entry that a row shows
  #space = element("div", { className: "space" });

  connectedCallback() {
    this.setAttribute("role", "listbox");
    this.append(this.#space);
    this.addEventListener("scroll", () => this.#draw(), { passive: true });
    new ResizeObserver(() => this.#draw()).observe(this);
    this.addEventListener("click", (event) => this.#onClick(event));
    this.addEventListener("keydown", (event) => this.#onKey(event));
  }

  ask(question) {
    this.#question = question;
    this.#current = 0;
    this.scrollTop = 0;
    return this.reload();
  }

  // The same question again, what is seen staying until the answer is there.
  async reload() {
    const generation = ++this.#generation;
    this.#asked.clear();
    const first = Math.floor(this.scrollTop / ROW / PAGE);
    await this.#load(first, generation, true);
  }

  get chosen() {
    return this.#chosen;
  }
  clearChosen() {
    this.#chosen.clear();
    this.#draw();
    this.#tell("side-by-side");
  }
  entryOf(id) {
    return [...this.#entries.values()].find((entry) => entry.id === id);
  }
  replace(entry) {
    for (const [place, one] of this.#entries) if (one.id === entry.id) this.#entries.set(place, { ...one, ...entry });
    this.#draw();
  }

  async #load(page, generation = this.#generation, fresh = false) {
    if (this.#asked.has(page)) return;
    this.#asked.add(page);
    let answer;
    try {
      answer = await get("/api/history", { ...this.#question, from: page * PAGE, count: PAGE });
    } catch (error) {
      this.#asked.delete(page);
      this.#tell("trouble", error.message);
      return;
    }
    if (generation !== this.#generation) return;
    if (fresh) this.#entries.clear();
    answer.entries.forEach((entry, index) => this.#entries.set(page * PAGE + index, entry));
    this.#found = answer.found;
    this.#space.style.height = `${this.#found * ROW}px`;
    this.#tell("answer", answer);
    this.#draw();
  }

  #tell(name, detail) {
    this.dispatchEvent(new CustomEvent(name, { detail }));
  }

  // Rows stay the elements that they are as long as their entry is in view, so that a press on one isn't lost when
  // something comes or is read meanwhile.
  #draw() {
    const focused = this.contains(document.activeElement);
    const places = this.#placesInView();
    this.removeAttribute("aria-activedescendant");
    for (const [key, row] of keep(this.#space, [...places.keys()], (row) => row.dataset.key, makeRow)) {
      row.dataset.key = key;
      this.#place(row, places.get(key));
    }
    if (focused && !this.contains(document.activeElement)) this.focus({ preventScroll: true });
  }

  // By what tells entries apart; several may be of one picture.
  #placesInView() {
    const first = Math.max(0, Math.floor(this.scrollTop / ROW) - AROUND);
    const last = Math.min(this.#found, Math.ceil((this.scrollTop + this.clientHeight) / ROW) + AROUND);
    const places = new Map();
    for (let place = first; place < last; ++place) {
      const entry = this.#entries.get(place);
      if (!entry) {
        this.#load(Math.floor(place / PAGE));
        continue;
      }
      let key = `${entry.id} ${entry.document} ${entry.frame} ${entry.time}`;
      while (places.has(key)) key += "+";
      places.set(key, place);
    }
    return places;
  }

  #place(row, place) {
    const entry = this.#entries.get(place);
    const current = place === this.#current;
    row.dataset.place = String(place);
    row.style.top = `${place * ROW}px`;
    row.classList.toggle("current", current);
    row.setAttribute("aria-selected", String(current));
    if (current) this.setAttribute("aria-activedescendant", row.id);
    if (this.#filled.get(row) !== entry) fillRow(row, entry);
    this.#filled.set(row, entry);
    setButton(row.querySelector("[data-action=beside]"), "⊞", "Put beside others, up to four", this.#chosen.has(entry.id));
  }

  #onClick(event) {
    const row = event.target.closest(".entry");
    if (!row) return;
    const place = Number(row.dataset.place);
    const entry = this.#entries.get(place);
    const action = event.target.closest("button")?.dataset.action;
    if (action === "star") return this.#tell("star", entry);
    if (action === "beside") return this.#choose(entry);
    this.#setCurrent(place);
    this.#tell("show", entry);
  }

  #onKey(event) {
    const by = { ArrowDown: 1, ArrowUp: -1, PageDown: 5, PageUp: -5, Home: -Infinity, End: Infinity }[event.key];
    const entry = this.#entries.get(this.#current);
    if (by !== undefined) this.#setCurrent(Math.min(Math.max(this.#current + by, 0), this.#found - 1));
    else if (event.key === "Enter" && entry) this.#tell("show", entry);
    else if (event.key === "s" && entry) this.#tell("star", entry);
    else if (event.key === "x" && entry) this.#choose(entry);
    else if (event.key === "l" && entry) this.#tell("left", entry);
    else return;
    event.preventDefault();
    event.stopPropagation();
  }

  #choose(entry) {
    if (!this.#chosen.delete(entry.id) && this.#chosen.size < 4) this.#chosen.add(entry.id);
    this.#draw();
    this.#tell("side-by-side");
  }

  #setCurrent(place) {
    this.#current = Math.max(0, place);
    const top = this.#current * ROW;
    if (top < this.scrollTop) this.scrollTop = top;
    else if (top + ROW > this.scrollTop + this.clientHeight) this.scrollTop = top + ROW - this.clientHeight;
    this.#draw();
  }
}

let made = 0;
function makeRow() {
  const part = (name, className, ...children) => element(name, { className }, ...children);
  const row = part("div", "entry",
    part("div", "thumbnail", element("img", { alt: "", loading: "lazy", decoding: "async" }), element("span", { className: "gone", textContent: "gone" })),
    part("div", "words", part("p", "prompt"), part("p", "quiet of"), part("p", "quiet when")),
    part("div", "marks", button("star"), button("beside")));
  row.id = `history-${++made}`;
  row.setAttribute("role", "option");
  return row;
}

function button(action) {
  const one = element("button", { type: "button", tabIndex: -1 });
  one.dataset.action = action;
  return one;
}

// Only what differs is written: most of it stays.
function set(node, properties, attributes = {}) {
  for (const [name, value] of Object.entries(properties)) if (node[name] !== value) node[name] = value;
  for (const [name, value] of Object.entries(attributes)) if (node.getAttribute(name) !== value) node.setAttribute(name, value);
}

function fillRow(row, entry) {
  const at = (selector) => row.querySelector(selector);
  const { facts } = entry;
  const prompt = facts.prompt || facts.effective_prompt || entry.name;
  const workflow = (facts.workflow_path || "").split("/").pop().replace(/\.json$/, "");
  const when = new Date(entry.time).toLocaleString(undefined, { dateStyle: "short", timeStyle: "short" });
  set(at("img"), { hidden: !entry.picture }, entry.picture ? { src: thumbnailUrl(entry.picture) } : {});
  set(at(".gone"), { hidden: Boolean(entry.picture) });
  set(at(".prompt"), { textContent: prompt, title: prompt });
  set(at(".of"), { textContent: [`frame ${entry.frame}`, entry.document, workflow].filter(Boolean).join(" · ") });
  set(at(".when"), { textContent: entry.note ? `${when} · ${entry.note}` : when });
  setButton(at("[data-action=star]"), entry.star ? "★" : "☆", entry.star ? "Take the star away" : "Star", entry.star);
  set(row, {}, { "aria-label": `${prompt}, frame ${entry.frame}, ${when}` });
}

function setButton(button, text, label, pressed) {
  set(button, { textContent: text, title: label }, { "aria-label": label, "aria-pressed": String(pressed) });
}

customElements.define("history-list", HistoryList);

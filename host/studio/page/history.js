// All pictures of the write directory's histories, newest first. Only the rows in view are in the page.
import { element, get, thumbnailUrl } from "/api.js";

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
  #space = element("div", { className: "space" });
  #rows = new Map(); // by place

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
    this.#redraw();
    this.#tell("side-by-side");
  }
  entryOf(id) {
    return [...this.#entries.values()].find((entry) => entry.id === id);
  }
  replace(entry) {
    for (const [place, one] of this.#entries) if (one.id === entry.id) this.#entries.set(place, { ...one, ...entry });
    this.#redraw();
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
    this.#redraw();
  }

  #tell(name, detail) {
    this.dispatchEvent(new CustomEvent(name, { detail }));
  }

  #redraw() {
    const focused = this.contains(document.activeElement);
    for (const row of this.#rows.values()) row.remove();
    this.#rows.clear();
    this.#draw();
    if (focused) this.focus({ preventScroll: true });
  }

  #draw() {
    const first = Math.max(0, Math.floor(this.scrollTop / ROW) - AROUND);
    const last = Math.min(this.#found, Math.ceil((this.scrollTop + this.clientHeight) / ROW) + AROUND);
    for (const [place, row] of this.#rows) {
      if (place >= first && place < last) continue;
      row.remove();
      this.#rows.delete(place);
    }
    for (let place = first; place < last; ++place) {
      if (this.#rows.has(place)) continue;
      const entry = this.#entries.get(place);
      if (!entry) {
        this.#load(Math.floor(place / PAGE));
        continue;
      }
      const row = rowOf(entry, place, this.#chosen.has(entry.id));
      row.classList.toggle("current", place === this.#current);
      row.style.top = `${place * ROW}px`;
      this.#rows.set(place, row);
      this.#space.append(row);
    }
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
    this.#redraw();
    this.#tell("side-by-side");
  }

  #setCurrent(place) {
    this.#current = Math.max(0, place);
    const top = this.#current * ROW;
    if (top < this.scrollTop) this.scrollTop = top;
    else if (top + ROW > this.scrollTop + this.clientHeight) this.scrollTop = top + ROW - this.clientHeight;
    this.#redraw();
  }
}

function rowOf(entry, place, beside) {
  const image = entry.picture
    ? element("img", { src: thumbnailUrl(entry.picture), alt: "", loading: "lazy", decoding: "async" })
    : element("span", { className: "gone", textContent: "gone" });
  const { facts } = entry;
  const prompt = facts.prompt || facts.effective_prompt || entry.name;
  const workflow = (facts.workflow_path || "").split("/").pop().replace(/\.json$/, "");
  const when = new Date(entry.time).toLocaleString(undefined, { dateStyle: "short", timeStyle: "short" });
  const row = element("div", { className: "entry" },
    element("div", { className: "thumbnail" }, image),
    element("div", { className: "words" },
      element("p", { className: "prompt", textContent: prompt, title: prompt }),
      element("p", { className: "quiet", textContent: [`frame ${entry.frame}`, entry.document, workflow].filter(Boolean).join(" · ") }),
      element("p", { className: "quiet", textContent: entry.note ? `${when} · ${entry.note}` : when })),
    element("div", { className: "marks" },
      button("star", entry.star ? "★" : "☆", entry.star ? "Take the star away" : "Star", entry.star),
      button("beside", "⊞", "Put beside others, up to four", beside)));
  row.dataset.place = String(place);
  row.setAttribute("role", "option");
  row.setAttribute("aria-label", `${prompt}, frame ${entry.frame}, ${when}`);
  return row;
}

function button(action, text, label, pressed) {
  const made = element("button", { type: "button", textContent: text, title: label, tabIndex: -1 });
  made.dataset.action = action;
  made.setAttribute("aria-label", label);
  made.setAttribute("aria-pressed", String(pressed));
  return made;
}

customElements.define("history-list", HistoryList);

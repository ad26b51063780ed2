// What made a picture, what differs from another one, and what can be done with it.
import { element, get, post } from "/api.js";

// In the order in which they are shown; the rest of a record follows by name, but for what is too large to read.
const FIRST = ["prompt", "system_prompt", "effective_prompt", "workflow_path", "controls", "backend", "server", "seed",
  "scene", "camera", "view", "clip", "frame", "time", "width", "height", "guide_mode", "style"];
const UNSHOWN = new Set(["workflow", "api_graph", "graph", "workflow_content"]);
const LONGEST = 4000; // characters

const textOf = (value) => (typeof value === "string" ? value : JSON.stringify(value));

export function differences(record, other) {
  const keys = new Set([...Object.keys(record), ...Object.keys(other)]);
  return new Set([...keys].filter((key) => textOf(record[key]) !== textOf(other[key])));
}

export function commandFor(path) {
  return `quillmere render --like '${path.replaceAll("'", "'\\''")}'`;
}

export class Details {
  #place;
  #told; // (text) => void, for what was done or failed
  #former = null; // the record shown before this one
  #shown = null; // {entry, path, actions}: of the one that is shown
  #view = {}; // what the effect and viewers tell each other
  left = () => {}; // (entry): it is to stand on the left
  use = null; // (entry) => promise, where its settings can be used

  constructor(place, told) {
    this.#place = place;
    this.#told = told;
  }

  async show(entry, state) {
    this.#place.replaceChildren(element("p", { className: "quiet", textContent: "Reading…" }));
    let found = { path: "", record: null };
    try {
      found = await get(`/api/record/${entry.id}`);
    } catch (error) {
      this.#show(entry, null, state);
      this.#place.replaceChildren(this.#shown.actions, element("p", { className: "quiet", textContent: error.message }));
      return;
    }
    const other = this.#former?.id === entry.id ? null : this.#former;
    this.#show(entry, found.path, state);
    this.#place.replaceChildren(
      element("h2", { textContent: entry.name || found.path.split("/").pop() }),
      this.#shown.actions,
      this.#note(entry),
      element("p", { className: "quiet", textContent: other ? "Marked: what differs from the picture shown before." : "" }),
      tableOf(found.record, other ? differences(found.record, other.record) : new Set(), other?.record));
    this.#former = { id: entry.id, record: found.record };
  }

  #show(entry, path, state) {
    this.#shown = { entry, path, actions: this.#actions(entry, path) };
    this.update(state);
  }

  // After the view has changed.
  update({ view }) {
    this.#view = view;
    if (!this.#shown) return;
    const [lock, select] = this.#shown.actions.children;
    lock.textContent = this.#is("locked_style") ? "Unlock style" : "Lock as style";
    select.textContent = this.#is("selected") ? "Unselect" : "Select";
  }

  // Whether the view has the shown picture as its `name`.
  #is(name) {
    return this.#view[name]?.id === this.#shown.entry.id;
  }

  #actions(entry, path) {
    const actions = element("div", { className: "actions" });
    const add = (text, label, act) => {
      const made = element("button", { type: "button", textContent: text, title: label });
      made.addEventListener("click", () => act().catch((error) => this.#told(error.message)));
      actions.append(made);
    };
    add("Lock as style", "The next renders follow the style of this picture",
      () => post("/api/view", { locked_style: this.#is("locked_style") ? "" : entry.id }));
    add("Select", "What other viewers show as selected", () => post("/api/view", { selected: this.#is("selected") ? "" : entry.id }));
    if (path && this.use) add("Use these settings", "What made this picture is taken into the panel", () => this.use(entry));
    if (entry.picture) add("Put left", "Compare all that is shown from now on with it (L in the history)", async () => this.left(entry));
    if (path) {
      add("Copy command", "The command that renders one like it", () => navigator.clipboard.writeText(commandFor(path)).then(() => this.#told("Copied")));
      add("Open folder", path, () => post("/api/open-folder", { picture: entry.id }));
    }
    return actions;
  }

  #note(entry) {
    const field = element("textarea", { value: entry.note || "", placeholder: "A note", rows: 2, maxLength: 1000 });
    field.setAttribute("aria-label", "A note on this picture");
    field.addEventListener("change", () => {
      post("/api/mark", { picture: entry.id, note: field.value })
        .then(() => this.#told("Noted"))
        .catch((error) => this.#told(error.message));
    });
    return field;
  }
}

function tableOf(record, marked, other) {
  const rest = Object.keys(record).filter((key) => !FIRST.includes(key) && !UNSHOWN.has(key)).sort();
  const rows = [...FIRST.filter((key) => key in record), ...rest].map((key) => {
    const text = textOf(record[key]);
    const row = element("tr", {},
      element("th", { scope: "row", textContent: key.replaceAll("_", " ") }),
      element("td", { textContent: text.length > LONGEST ? `${text.slice(0, LONGEST)}…` : text }));
    if (marked.has(key)) {
      row.className = "differs";
      row.title = other && key in other ? `before: ${textOf(other[key]).slice(0, LONGEST)}` : "before: not there";
    }
    return row;
  });
  return element("table", {}, element("tbody", {}, ...rows));
}

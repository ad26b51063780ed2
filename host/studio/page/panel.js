// Fields with a label, a hint and, when a value is refused, the reason beside them.
import { element } from "/api.js";

const TYPING_PAUSE = 600; // ms after the last letter
let count = 0;

// `about` is {label, type, value, enabled, choices: [{value, text}], none, least, most, help, placeholder, rows}; types are
// "bool", "choice", "text", "long" (several lines), "note" (read only). `change(value)` may return a promise; what it
// throws is the reason of a refusal.
export class Field {
  #about;
  #change;
  #input;
  #error;
  #hint;
  #waiting = 0;
  #sent; // the value that was told last
  #pending = 0; // values that were told and not yet answered

  constructor(about, change) {
    this.#about = about;
    this.#change = change;
    const id = `field-${++count}`;
    this.#input = inputFor(about);
    this.#input.id = id;
    this.#error = element("p", { className: "error", id: `${id}-error`, hidden: true });
    this.#hint = element("span", { className: "hint", id: `${id}-hint` });
    const label = element("label", { htmlFor: id, textContent: about.label, title: about.help || "" });
    this.place = element("div", { className: `field ${about.type}` }, label, this.#input, this.#hint, this.#error);
    this.#attend();
    this.update(about);
  }

  get refused() {
    return !this.#error.hidden;
  }
  focus() {
    this.#input.focus();
  }

  update(about) {
    this.#about = { ...this.#about, ...about };
    const { value, enabled = true, least, most, note } = this.#about;
    if (this.#about.choices && this.#about.type === "choice") fillChoices(this.#input, this.#about);
    this.#input.disabled = !enabled;
    this.place.classList.toggle("greyed", !enabled);
    this.#hint.textContent = note || (least !== undefined && most !== undefined ? `${least} to ${most}` : "");
    this.#hint.hidden = !this.#hint.textContent;
    this.#settleShown(value);
  }

  // What is being typed, asked or refused stays.
  #settleShown(value) {
    const typing = document.activeElement === this.#input && this.#shown() !== this.#sent;
    if (!this.refused && !typing && !this.#pending) this.#show(value);
  }

  refuse(reason) {
    this.#error.textContent = reason;
    this.#error.hidden = !reason;
    this.#input.setAttribute("aria-invalid", String(Boolean(reason)));
    this.#input.setAttribute("aria-describedby", reason ? this.#error.id : this.#hint.id);
  }

  // What was typed and not yet told is told now.
  async settle() {
    clearTimeout(this.#waiting);
    const value = this.#shown();
    if (value === this.#sent) return;
    this.#sent = this.#about.value = value;
    ++this.#pending;
    try {
      await this.#change(value);
      if (value === this.#sent) this.refuse("");
    } catch (error) {
      if (value === this.#sent) this.refuse(error.message);
    }
    --this.#pending;
    this.#settleShown(this.#about.value);
  }

  #shown() {
    return this.#input.type === "checkbox" ? this.#input.checked : this.#input.value;
  }

  #show(value) {
    if (this.#input.type === "checkbox") this.#input.checked = value === true;
    else this.#input.value = value ?? "";
    this.#sent = this.#shown();
  }

  #attend() {
    this.#input.addEventListener("change", () => this.settle());
    if (this.#about.type !== "text" && this.#about.type !== "long") return;
    this.#input.addEventListener("input", () => {
      clearTimeout(this.#waiting);
      this.#waiting = setTimeout(() => this.settle(), TYPING_PAUSE);
    });
  }
}

function inputFor({ type, placeholder, rows, help, words }) {
  const about = { placeholder: placeholder || "", title: help || "" };
  if (type === "bool") return element("input", { type: "checkbox", title: about.title });
  if (type === "choice") return element("select", { title: about.title });
  if (type === "long") return element("textarea", { ...about, rows: rows || 4, spellcheck: true });
  const input = element("input", { ...about, type: "text", autocomplete: "off", readOnly: type === "note" });
  if (words?.length) input.placeholder = [about.placeholder, ...words].filter(Boolean).join(", ");
  return input;
}

function fillChoices(select, { choices, value, none = "–" }) {
  const wanted = JSON.stringify([choices, value === null]);
  if (select.dataset.choices === wanted) return;
  const empty = value === null || value === "" ? [{ value: "", text: none }] : [];
  select.replaceChildren(...[...empty, ...choices].map((choice) =>
    element("option", { value: String(choice.value), textContent: choice.text })));
  select.dataset.choices = wanted;
}

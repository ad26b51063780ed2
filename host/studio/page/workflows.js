// The workflow list: what each needs and sets, in their order. What is done here the commands `workflows` do.
import { element, get, keep, post } from "/api.js";
import { checkReport, controlTable } from "/workflow_report.js";

const CHECKS = 2; // at a time
const LARGEST = 3 * 1024 * 1024; // bytes of a file that is sent
const STATES = { waiting: "not checked yet", checking: "checking…", ok: "can be rendered", broken: "can't be rendered" };

class WorkflowList extends HTMLElement {
  #workflows = [];
  #checks = new Map(); // by identifier: {state, answer, controls}
  #waiting = []; // identifiers
  #running = 0;
  #current = "";
  #rows = element("ol", { className: "rows" });
  #detail = element("section", { className: "detail", tabIndex: -1 });
  #said = element("p", { className: "said" });
  #path = element("input", { type: "text", id: "workflow-path", placeholder: "/home/ada/depth.json", autocomplete: "off", spellcheck: false });
  #name = element("input", { type: "text", id: "workflow-name", placeholder: "that of the file", autocomplete: "off" });
  #file = element("input", { type: "file", id: "workflow-file", accept: ".json,application/json" });

  connectedCallback() {
    this.#said.setAttribute("role", "status");
    this.#detail.setAttribute("aria-label", "The chosen workflow");
    const again = element("button", { type: "button", textContent: "Check all again" });
    again.addEventListener("click", () => this.#load(true));
    this.append(
      element("div", { className: "side" },
        element("div", { className: "head" }, element("h2", { textContent: "Workflows" }), again),
        this.#said, this.#rows, this.#adding()),
      this.#detail);
    this.#rows.addEventListener("click", (event) => {
      const row = event.target.closest("[data-id]");
      if (row) this.#choose(row.dataset.id);
    });
    this.#rows.addEventListener("keydown", (event) => this.#onKey(event));
  }

  shown() {
    this.#load(false);
  }

  #adding() {
    const form = element("form", { className: "adding" },
      element("h3", { textContent: "Add a workflow" }),
      element("label", { textContent: "A file" }, this.#file),
      element("label", { textContent: "or its path on this machine, a picture's too" }, this.#path),
      element("label", { textContent: "Name" }, this.#name),
      element("button", { type: "submit", textContent: "Add" }));
    form.addEventListener("submit", (event) => {
      event.preventDefault();
      this.#add(form);
    });
    return form;
  }

  async #add(form) {
    const [file] = this.#file.files;
    if (!file && !this.#path.value.trim()) return this.#say("Choose a file, or write its path");
    if (file?.size > LARGEST) return this.#say(`'${file.name}' is larger than 3 MiB: write its path instead`);
    const what = file ? { file: file.name, content: await file.text() } : { path: this.#path.value.trim() };
    const before = new Set(this.#workflows.map((workflow) => workflow.id));
    if (!(await this.#change("add", { ...what, name: this.#name.value.trim() }))) return;
    form.reset();
    const added = this.#workflows.find((workflow) => !before.has(workflow.id));
    if (added) this.#choose(added.id);
  }

  #say(text, bad = true) {
    this.#said.textContent = text;
    this.#said.classList.toggle("bad", bad);
  }

  async #load(again) {
    if (!this.#workflows.length) this.#say("Reading the list…", false);
    try {
      const { workflows } = await get("/api/workflows");
      if (again) this.#checks.clear();
      this.#say("", false);
      this.#take(workflows);
    } catch (error) {
      this.#say(error.message);
    }
  }

  // What has left the list is forgotten, what is new is checked.
  #take(workflows) {
    this.#workflows = workflows;
    const known = new Set(workflows.map((workflow) => workflow.id));
    for (const id of this.#checks.keys()) if (!known.has(id)) this.#checks.delete(id);
    this.#waiting = workflows.map((workflow) => workflow.id).filter((id) => !this.#checks.has(id));
    if (!known.has(this.#current)) this.#current = workflows[0]?.id ?? "";
    if (!workflows.length) this.#say("The list is empty: renders use the embedded drawing. Add a workflow below.", false);
    this.#draw();
    while (this.#running < CHECKS && this.#waiting.length) this.#checkNext();
  }

  // The chosen one first.
  async #checkNext() {
    const at = Math.max(0, this.#waiting.indexOf(this.#current));
    const [id] = this.#waiting.splice(at, 1);
    const check = { state: "checking" };
    this.#checks.set(id, check);
    this.#draw();
    ++this.#running;
    try {
      check.answer = await get("/api/workflow-check", { id });
      check.state = check.answer.ok ? "ok" : "broken";
      check.controls = await get("/api/workflow-controls", { id });
    } catch (error) {
      check.answer ??= { problem: error.message };
      if (check.state === "checking") check.state = "broken";
    }
    --this.#running;
    this.#draw();
    if (this.#waiting.length) this.#checkNext();
  }

  async #change(what, values) {
    try {
      const { workflows } = await post(`/api/workflow-${what}`, values);
      this.#say("", false);
      this.#take(workflows);
      return true;
    } catch (error) {
      this.#say(error.message);
      return false;
    }
  }

  #choose(id) {
    this.#current = id;
    this.#draw();
  }

  #onKey(event) {
    const at = this.#workflows.findIndex((workflow) => workflow.id === this.#current);
    const by = { ArrowDown: 1, ArrowUp: -1 }[event.key];
    const next = by && this.#workflows[at + by];
    if (!by) return;
    event.preventDefault();
    if (next) this.#choose(next.id);
  }

  // Rows and the chosen one's buttons stay the elements that they are, so that a press isn't lost when a check ends.
  #draw() {
    const focused = this.#rows.contains(document.activeElement);
    const rows = keep(this.#rows, this.#workflows.map((workflow) => workflow.id), (item) => item.firstChild.dataset.id, makeRow);
    for (const workflow of this.#workflows) this.#fillRow(rows.get(workflow.id).firstChild, workflow);
    if (focused) this.#focusCurrent();
    this.#drawDetail();
  }

  #focusCurrent() {
    this.#rows.querySelector("[aria-current=true]")?.focus();
  }

  #fillRow(row, workflow) {
    const check = this.#checks.get(workflow.id);
    const state = check?.state ?? "waiting";
    const chosen = workflow.id === this.#current;
    const [mark, title, told] = row.children;
    row.className = `row ${state}`;
    row.tabIndex = chosen ? 0 : -1;
    row.setAttribute("aria-current", String(chosen));
    mark.textContent = { ok: "✓", broken: "!", checking: "…", waiting: "·" }[state];
    title.textContent = `${workflow.number}  ${workflow.name}`;
    told.textContent = [STATES[state], check?.answer?.backend, workflow.preferred && "default"].filter(Boolean).join(" · ");
  }

  #drawDetail() {
    const workflow = this.#workflows.find((one) => one.id === this.#current);
    if (this.#detail.dataset.id !== this.#current) this.#detail.replaceChildren(...(workflow ? this.#newDetail(workflow.id) : []));
    this.#detail.dataset.id = this.#current;
    if (!workflow) return;
    const [heading, facts, actions, report] = this.#detail.children;
    heading.textContent = workflow.name;
    facts.textContent = `${workflow.id} · ${workflow.path}${workflow.exists ? "" : " (missing)"}`;
    this.#fillActions(actions, workflow);
    const check = this.#checks.get(workflow.id);
    const told = JSON.stringify(check ?? null);
    if (report.dataset.told === told) return;
    report.dataset.told = told;
    report.replaceChildren(
      ...(check?.answer ? checkReport(check.answer) : [element("p", { className: "quiet", textContent: STATES[check?.state ?? "waiting"] })]),
      ...controlTable(check?.controls));
  }

  #newDetail(id) {
    const current = () => this.#workflows.find((one) => one.id === id);
    const moveBy = (by) => () => this.#change("move", { id, place: String(this.#workflows.indexOf(current()) + 1 + by) });
    const name = element("input", { type: "text" });
    name.setAttribute("aria-label", "Name in the menu");
    const rename = element("form", { className: "rename" }, name, element("button", { type: "submit", textContent: "Rename" }));
    rename.addEventListener("submit", (event) => {
      event.preventDefault();
      this.#change("rename", { id, name: name.value });
    });
    const button = (text, act) => {
      const made = element("button", { type: "button", textContent: text });
      made.addEventListener("click", act);
      return made;
    };
    const again = () => {
      this.#checks.delete(id);
      this.#take(this.#workflows);
    };
    return [element("h2"), element("p", { className: "quiet" }),
      element("div", { className: "actions" }, rename, button("Move up", moveBy(-1)), button("Move down", moveBy(1)),
        button("Check again", again), button("Remove", () => this.#remove(current()))),
      element("div", { className: "report" })];
  }

  // What is being typed stays. A button that can't be used any more leaves the focus to the other.
  #fillActions(actions, workflow) {
    const place = this.#workflows.indexOf(workflow);
    const [rename, up, down] = actions.children;
    const [name] = rename.children;
    if (name.dataset.given !== workflow.name) name.value = name.dataset.given = workflow.name;
    const focused = document.activeElement;
    up.disabled = place === 0;
    down.disabled = place + 1 === this.#workflows.length;
    if (focused === up && up.disabled) down.focus();
    if (focused === down && down.disabled) up.focus();
  }

  #remove(workflow) {
    const asked = element("dialog", {}, element("p", { textContent: `Take '${workflow.name}' from the list? Its file stays.` }),
      element("form", { method: "dialog" },
        element("button", { value: "remove", textContent: "Remove" }), " ", element("button", { textContent: "Keep", autofocus: true })));
    asked.addEventListener("close", () => {
      asked.remove();
      if (asked.returnValue === "remove") this.#change("remove", { id: workflow.id }).then(() => this.#focusCurrent());
    });
    document.body.append(asked);
    asked.showModal();
  }
}

function makeRow(id) {
  const row = element("button", { type: "button" },
    element("span", { className: "mark" }), element("span", { className: "title" }), element("span", { className: "quiet" }));
  row.dataset.id = id;
  return element("li", {}, row);
}

customElements.define("workflow-list", WorkflowList);

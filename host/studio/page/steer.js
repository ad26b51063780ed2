// What is to be rendered, and the rendering of it: the panel, the guide as it would be now, renders, settings.
import { element, get, post } from "/api.js";
import { CAMERA, WORKFLOW, aboutControl, aboutOption, aboutRow, aboutStyle, aboutWorkflowFile, groupOf, problemOf, rateOf, shownOption, styleOf } from "/fields.js";
import { LiveGuide } from "/live_guide.js";
import { Field } from "/panel.js";
import { RenderBar } from "/render_bar.js";
import { drawCameras, drawFacts, timesOf } from "/scene.js";

const at = (id) => document.getElementById(id);
const FRAME = /^-?\d{1,9}$/;

export class Steer {
  #shown; // {guide(card, name), tell(text), follow()}: what the page does with guides, words and renders that begin
  #job = null;
  #fields = new Map(); // by parameter, "--option" or "control NAME"
  #rows = [];
  #workflow = null; // whose controls are shown
  #info = null;
  #timed = ""; // what of the job #info depends on
  #turn = Promise.resolve(); // edits, one after the other
  #guide;
  bar = new RenderBar();
  #offered = []; // options beside the panel

  constructor(shown) {
    this.#shown = shown;
    this.#guide = new LiveGuide(shown, at("viewer"));
    this.#attend();
  }

  // False where the program was started without a scene.
  async begin() {
    const told = await get("/api/desk");
    if (!told.job) return false;
    this.#offered = told.options;
    this.bar.set(told.render);
    at("tab-render").hidden = at("steer-tools").hidden = false;
    at("tab-render").click();
    await this.#take(told.job);
    return true;
  }

  // After events may have been missed.
  async again() {
    if (this.#job) this.bar.set((await get("/api/desk")).render);
  }

  // What a picture of the history was made with.
  async use(picture) {
    await this.#take((await post("/api/desk/load", { job: this.#job, like: picture })).job);
    at("tab-render").click();
  }

  chooseWorkflow() {
    at("tab-render").click();
    this.#fields.get(WORKFLOW).focus();
  }

  renderFrame(number) {
    const act = async () => {
      await this.#setFrame(String(number));
      await this.#render("current");
    };
    act().catch((error) => this.bar.say(error.message, "bad"));
  }

  async #take(job) {
    this.#job = job;
    this.#workflow = null;
    this.#fields.clear();
    this.#rows = [];
    this.#info = null;
    await this.#edit(() => {});
    await this.#drawScene();
  }

  // Tries the changed job; it is the job from then on, unless it is refused.
  #edit(change) {
    const turn = this.#turn.then(async () => {
      const job = structuredClone(this.#job);
      change(job);
      this.#guide.wish(job, () => job === this.#job);
      const { rows, frames } = await post("/api/desk/panel", { job });
      this.#job = job;
      at("timeline").wanted = frames;
      this.#drawPanel(rows);
      if ((job.options.workflow ?? "") !== this.#workflow) await this.#drawControls();
      if (this.#info && timesOf(job) !== this.#timed) await this.#drawScene();
    });
    this.#turn = turn.catch(() => {});
    return turn;
  }

  #option(name, value) {
    return this.#edit(({ options }) => {
      if (value === undefined || value === false || (value === "" && name !== "style")) delete options[name];
      else options[name] = value;
      if (name === "frames") delete options.time;
      if ((name === "view" || name === "turntable") && value) delete options.camera;
    });
  }

  async #set(row, value) {
    if (row.name === WORKFLOW) return this.#setWorkflow(value);
    if (row.name === CAMERA) return this.#setCamera(value);
    return this.#edit(({ set }) => { set[row.name] = String(value); });
  }

  // `beside`: with the others that are rendered, or no longer.
  #setCamera(name, beside = false) {
    return this.#edit(({ options }) => {
      for (const own of ["view", "turntable"]) delete options[own];
      const others = beside ? this.#cameras().filter((one) => one !== name) : [];
      options.camera = this.#cameras().includes(name) && others.length ? others : [...others, name];
    });
  }

  // One that the list doesn't have.
  #workflowFile() {
    const about = { label: "Workflow File", type: "text", placeholder: "/home/ada/depth.json", help: "A workflow that isn't in the list, or a picture that holds one", ...aboutWorkflowFile(this.#job, this.#rows) };
    return this.#fieldFor("workflow file", about, (file) => this.#takeWorkflow(file.trim(), !file.trim()));
  }

  // By its identifier, since numbers change with the list.
  async #setWorkflow(number) {
    const found = number === "0" ? null : (await get("/api/workflows")).workflows.find((one) => String(one.number) === number);
    if (number !== "0" && !found) throw new Error("the list of workflows has changed; choose again");
    return this.#takeWorkflow(found?.id, !found);
  }

  #takeWorkflow(workflow, none) {
    return this.#edit(({ options, set, ...job }) => {
      delete options.workflow;
      delete set[WORKFLOW];
      if (none) set[WORKFLOW] = "0";
      else options.workflow = workflow;
      for (const name of Object.keys(job.control)) delete job.control[name];
    });
  }

  // Group by group as the effect describes it, what is shown staying where it can.
  #drawPanel(rows) {
    const same = rows.length === this.#rows.length && rows.every((row, index) => row.name === this.#rows[index].name && row.group === this.#rows[index].group);
    this.#rows = rows;
    if (!same) this.#buildPanel(rows);
    const file = aboutWorkflowFile(this.#job, rows);
    for (const row of rows) this.#fields.get(row.name)?.update(aboutRow(row.name === WORKFLOW && file.value ? { ...row, note: "" } : row));
    this.#fields.get("frame")?.update({ value: String(this.#job.frame) });
    this.#fields.get("workflow file")?.update(file);
    for (const { name } of [{ name: "frames" }, { name: "size" }, ...this.#offered]) {
      const value = this.#job.options[name];
      this.#fields.get(`--${name}`)?.update(name === "style" ? aboutStyle(value) : { value: shownOption(value) });
    }
    const chosen = this.#cameras();
    for (const button of at("steer-panel").querySelectorAll(".camera")) {
      button.setAttribute("aria-pressed", String(chosen.includes(button.dataset.camera)));
    }
  }

  // By their names; none where the host's own looks.
  #cameras() {
    const { camera, view, turntable } = this.#job.options;
    return camera ?? (view || turntable ? [] : (this.#info?.cameras || []).slice(0, 1).map((one) => one.name));
  }

  #buildPanel(rows) {
    const groups = [];
    for (const row of rows) {
      if (groups.at(-1)?.name !== row.group) groups.push({ name: row.group, fields: [] });
      groups.at(-1).fields.push(this.#fieldFor(row.name, aboutRow(row), (value) => this.#set(row, value)).place);
      if (row.name === WORKFLOW) groups.at(-1).fields.push(element("div", {}, this.#workflowFile().place), element("div", { id: "steer-controls" }));
      if (row.name === CAMERA) groups.at(-1).fields.push(element("div", { id: "steer-cameras", className: "cameras" }));
    }
    at("steer-panel").replaceChildren(this.#shot(), ...groups.map(({ name, fields }) => groupOf(name, fields)), ...this.#others());
  }

  #fieldFor(key, about, change) {
    const field = new Field(about, change);
    this.#fields.set(key, field);
    return field;
  }

  #shot() {
    const range = element("input", { type: "range", id: "steer-scrub", hidden: true });
    range.setAttribute("aria-label", "Frame");
    range.addEventListener("input", () => { this.#setFrame(range.value).catch(() => {}); });
    const frame = this.#fieldFor("frame", { label: "Frame", type: "text", value: String(this.#job.frame), help: "What Render frame renders, and what the guide shows" },
      (value) => this.#setFrame(value));
    const frames = this.#fieldFor("--frames", { label: "Frames", type: "text", value: "", placeholder: "1-24", help: "What Render sequence renders: A-B, A-BxSTEP, with commas between them" },
      (value) => this.#option("frames", value));
    const size = this.#fieldFor("--size", { label: "Size", type: "text", value: "", placeholder: "1024x576", help: "Width x height in pixels" },
      (value) => this.#option("size", value));
    const group = groupOf("Shot", [element("div", { className: "three" }, frame.place, frames.place, size.place), range]);
    group.classList.add("shot");
    return group;
  }

  #setFrame(value) {
    if (!FRAME.test(value)) return Promise.reject(new Error("a whole number is wanted"));
    return this.#edit((job) => {
      job.frame = Number(value);
      delete job.options.time;
    });
  }

  // What the command line has beside the panel, folded up under its own headings.
  #others() {
    const names = [...new Set(this.#offered.map((option) => option.group))];
    return names.map((name) => {
      const fields = this.#offered.filter((option) => option.group === name).map((option) =>
        this.#fieldFor(`--${option.name}`, option.name === "style" ? aboutStyle(this.#job.options.style) : aboutOption(option),
          (value) => this.#option(option.name, option.name === "style" ? styleOf(value) : value)).place);
      return element("details", {}, element("summary", { textContent: name }), ...fields);
    });
  }

  // Below the workflow, which alone says what it has.
  async #drawControls() {
    const workflow = this.#job.options.workflow ?? "";
    this.#workflow = workflow;
    const place = at("steer-controls");
    for (const key of [...this.#fields.keys()]) if (key.startsWith("control ")) this.#fields.delete(key);
    place?.replaceChildren();
    if (!workflow || !place) return;
    try {
      const told = await post("/api/desk/controls", { workflow });
      if (this.#workflow !== workflow) return;
      const fields = (told.controls || []).map((control) => this.#fieldFor(`control ${control.name}`, aboutControl(control, this.#job.control[control.name]),
        (value) => this.#setControl(control, value)).place);
      const problem = told.problem ? [element("p", { className: "error", textContent: problemOf(told) })] : [];
      if (!fields.length && !problem.length) return;
      place.replaceChildren(element("details", { className: "controls", open: Object.keys(this.#job.control).length > 0 || fields.length < 5 },
        element("summary", { textContent: `Controls (${fields.length})` }), ...problem, ...fields));
    } catch (error) {
      place.replaceChildren(element("p", { className: "error", textContent: error.message }));
    }
  }

  // The helper judges it as it would when rendering, alone: what is wrong with another stands beside that one.
  async #setControl(control, value) {
    const given = control.type === "text" ? `"${value}"` : String(value);
    if (value !== "") {
      const told = await post("/api/desk/controls", { workflow: this.#workflow, control: { [control.name]: given } });
      if (told.problem) throw new Error(problemOf(told));
    }
    return this.#edit((job) => {
      if (value === "") delete job.control[control.name];
      else job.control[control.name] = given;
    });
  }

  async #drawScene() {
    this.#timed = timesOf(this.#job);
    const { info } = await post("/api/desk/scene", { job: this.#job });
    this.#info = info;
    at("timeline").rate = rateOf(info.fps);
    drawFacts(info, this.#job);
    drawCameras(info, this.#job, this.#cameras(), (name, beside) => this.#setCamera(name, beside).catch((error) => this.#shown.tell(error.message)))
      .catch((error) => this.#shown.tell(error.message));
  }

  async #render(frames) {
    for (const field of this.#fields.values()) await field.settle();
    await this.#turn;
    const refused = [...this.#fields.values()].find((field) => field.refused);
    if (refused) {
      refused.focus();
      this.bar.say("A value is refused; correct it first", "bad");
      return;
    }
    this.#guide.drop();
    this.#shown.follow();
    this.bar.set({ running: true }); // its end may be told before the answer comes
    try {
      await post("/api/desk/render", { job: this.#job, frames });
    } catch (error) {
      this.bar.set((await get("/api/desk")).render);
      throw error;
    }
  }

  #attend() {
    const act = (id, action) => at(id).addEventListener("click", () => action().catch((error) => this.bar.say(error.message, "bad")));
    at("steer-panel").addEventListener("submit", (event) => event.preventDefault());
    act("render-frame", () => this.#render("current"));
    act("render-sequence", () => this.#render("all"));
    act("render-break", () => post("/api/desk/break", {}));
    act("save-settings", () => this.#save("settings"));
    act("save-job", () => this.#save("job"));
    act("load-file", () => this.#load({ file: at("steer-file").value }));
    act("copy-command", () => this.#copy());
    at("load-content").addEventListener("change", async () => {
      const [file] = at("load-content").files;
      at("load-content").value = "";
      if (!file) return;
      try {
        await this.#load({ content: JSON.parse(await file.text()) });
      } catch (error) {
        this.bar.say(`${file.name}: ${error.message}`, "bad");
      }
    });
    document.addEventListener("keydown", (event) => {
      if (event.key !== "Enter" || !(event.ctrlKey || event.metaKey) || !this.#job || at("render-frame").disabled) return;
      event.preventDefault();
      this.#render("current").catch((error) => this.bar.say(error.message, "bad"));
    });
    window.addEventListener("focus", () => { if (this.#job) this.#edit(() => {}).catch(() => {}); });
  }

  async #save(as) {
    await this.#turn;
    const { file } = await post("/api/desk/save", { job: this.#job, as, file: at("steer-file").value });
    this.bar.say(`Saved ${file}`);
  }

  async #load(what) {
    this.bar.say("Loading");
    await this.#take((await post("/api/desk/load", { job: this.#job, ...what })).job);
    this.bar.say("Loaded");
  }

  async #copy() {
    await this.#turn;
    const { command } = await post("/api/desk/command", { job: this.#job, frames: "all" });
    await navigator.clipboard.writeText(command);
    this.bar.say("Copied");
  }
}

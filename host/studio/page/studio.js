// The page's own course: what is told by the program, what a person does, and which part shows it.
import { element, get, listen, pictureUrl, post } from "/api.js";
import { MODES } from "/viewer.js";
import "/timeline.js";
import "/history.js";
import { rateOf } from "/fields.js";
import { Details } from "/details.js";
import { Steer } from "/steer.js";
import { Flight } from "/flight.js";
import { LeftChooser } from "/passes.js";
import { attendTabs, closeTab, openTab, selectTab } from "/tabs.js";
import { attendViews, showView } from "/views.js";

const SEARCH_PAUSE = 150; // ms after the last letter
const at = (id) => document.getElementById(id);

const parts = {
  viewer: at("viewer"), timeline: at("timeline"), history: at("history"), status: at("status"), running: at("running"),
  mode: at("mode"), sideBySide: at("side-by-side"), empty: at("empty"),
};
const state = { view: {}, frames: new Map(), following: true, shown: null, begun: false };
const can = { // what a failure may advise
  console: () => openTab("console", at("console")),
  checkServers: () => showView("doctor"),
  showWorkflows: () => showView("workflows"),
};
const flight = new Flight(at("running"), can);
const details = new Details(at("details"), tell);
const steer = new Steer({
  tell,
  guide: showGuide,
  follow: () => Object.assign(state, { following: true, shown: null }),
});
const leftChooser = new LeftChooser(at("left"), showAgain, tell);
details.left = putLeft;

leftChooser.rated = (fps) => { if (!state.steered && fps) parts.timeline.rate = rateOf(fps); };

function tell(text) {
  parts.status.textContent = parts.status.title = text;
}

// Of the result, or what stands for it while there is none.
function rightOf(frame) {
  if (frame.picture) return { picture: frame.picture, name: `result ${frame.frame}` };
  if (frame.preview) return { picture: frame.preview, name: `preview ${frame.frame}` };
  const last = frame.state === "running" && state.view.last;
  return last ? { picture: last, name: `before: ${last.name}` } : {};
}

// Left the guide or what was chosen instead, right the result.
async function showFrame(frame) {
  if (!frame) return;
  const { picture: right, name } = rightOf(frame);
  const shown = { frame: frame.frame, id: right?.id };
  state.shown = shown;
  const left = await leftChooser.leftOf(frame);
  if (state.shown !== shown) return;
  if (!at("panel-console").hidden) showConsole();
  await parts.viewer.show(
    left.picture && { url: pictureUrl(left.picture), name: left.name },
    right && { url: pictureUrl(right), name });
}

// With what was chosen for the left.
function showAgain() {
  if (state.shown?.entry) showEntry(state.shown.entry);
  else showFrame(state.frames.get(parts.timeline.current));
}

// The guide as it would be now, left of what was rendered last.
function showGuide(card, name) {
  if (!leftChooser.isGuide) return;
  state.shown = { ...state.shown, live: true };
  parts.viewer.show({ url: pictureUrl(card), name, sketch: true }, parts.viewer.right);
}

// Left of whatever is shown from now on.
function putLeft(entry) {
  if (!entry.picture) return;
  leftChooser.fix(entry.picture, entry.name);
  parts.viewer.show({ url: pictureUrl(entry.picture), name: entry.name }, parts.viewer.right);
}

// Against what is shown on the right now, so that two results can be compared.
function showEntry(entry) {
  state.following = false;
  const own = state.frames.get(entry.frame);
  const guide = own?.picture?.id === entry.id ? own.guide : null;
  const former = state.shown?.entry;
  const left = leftChooser.fixed?.picture || guide || (former && former.id !== entry.id ? former.picture : null);
  state.shown = { entry, frame: entry.frame, id: entry.id };
  drawRunning();
  parts.viewer.show(
    left && { url: pictureUrl(left), name: left === guide ? `guide ${entry.frame}` : left.name },
    entry.picture && { url: pictureUrl(entry.picture), name: entry.name });
}

function showSideBySide() {
  const entries = [...parts.history.chosen].map((id) => parts.history.entryOf(id)).filter((entry) => entry?.picture);
  parts.sideBySide.hidden = entries.length < 2;
  parts.viewer.hidden = !parts.sideBySide.hidden;
  drawRunning();
  const close = element("button", { type: "button", className: "close", textContent: "Close" });
  close.addEventListener("click", () => parts.history.clearChosen());
  parts.sideBySide.replaceChildren(...entries.map((entry) => element("figure", {},
    element("img", { src: pictureUrl(entry.picture), alt: entry.name }),
    element("figcaption", { textContent: `${entry.name} · ${entry.facts.prompt || ""}` }))), close);
}

async function showConsole() {
  const number = parts.timeline.current;
  if (number === null) return;
  const frame = state.frames.get(number);
  const told = frame?.error ? `${frame.error}\n\n` : "";
  const log = frame?.log ? (await get(`/api/log/${number}`)).text : "The helper has left no log of this frame.";
  const place = at("panel-console");
  const followed = place.scrollTop + place.clientHeight >= place.scrollHeight - 4;
  at("console").textContent = told + log;
  if (followed) place.scrollTop = place.scrollHeight;
}

function drawRunning() {
  const all = [...state.frames.values()];
  const elsewhere = Boolean(state.shown?.entry) || !parts.sideBySide.hidden; // than on the timeline's frame
  parts.timeline.classList.toggle("elsewhere", elsewhere);
  flight.draw(all, elsewhere ? null : state.frames.get(parts.timeline.current));
  parts.empty.hidden = all.length > 0 || Boolean(state.view.last) || state.steered;
}

function setView(view) {
  state.view = view;
  details.update(state);
  tell(view.status || "");
}

function setOwner(told) {
  at("shows-only").hidden = told.owner;
  at("example").disabled = !told.owner;
  steer.bar.setOwner(told.owner);
  const why = told.other_owner ? `Another studio (process ${told.other_owner}) has this write directory` : "The write directory can't be written";
  at("shows-only").textContent = `${why}: this one shows, and doesn't render`;
}

function setExample(told) {
  at("example").disabled = told.state === "running" || !at("shows-only").hidden;
  if (told.state === "running") tell("The example is being rendered");
  if (told.state === "failed") tell(`The example failed: ${told.problem}`);
}

// Of several frames that are rendered at a time each is shown at its end, the only one at once.
function isNews(frame, former) {
  if (frame.state !== "running") return frame.state !== former?.state || frame.heard !== former.heard;
  return [...state.frames.values()].every((one) => one.state !== "running" || one.frame === frame.frame);
}

function setFrame(frame) {
  const former = state.frames.get(frame.frame);
  state.frames.set(frame.frame, frame);
  parts.timeline.update(frame);
  if (state.following && parts.timeline.current !== frame.frame && isNews(frame, former)) {
    parts.timeline.choose(frame.frame);
  } else if (parts.timeline.current === frame.frame && !state.shown?.entry && !state.shown?.live) {
    showFrame(frame);
  }
  drawRunning();
}

// What is being rendered, or what the effect has shown last.
async function showLast(frames) {
  const { last } = state.view;
  const latest = (some) => some.reduce((best, frame) => (!best || frame.heard > best.heard ? frame : best), null);
  const chosen = latest(frames.filter((frame) => frame.state === "running")) ||
    (last ? frames.find((frame) => frame.picture?.id === last.id) : latest(frames));
  if (chosen) {
    parts.timeline.choose(chosen.frame);
    state.following = true;
    await parts.timeline.shown();
  } else if (last) {
    await parts.viewer.show(null, { url: pictureUrl(last), name: last.name });
  }
}

// All of it, at the beginning and after events may have been missed.
async function takeState(told) {
  state.frames = new Map(told.frames.map((frame) => [frame.frame, frame]));
  setView(told.view);
  setOwner(told);
  at("write-directory").textContent = told.write_directory;
  parts.timeline.replaceAll(told.frames);
  drawRunning();
  if (parts.timeline.current === null) await showLast(told.frames);
  else showFrame(state.shown?.entry || state.shown?.live ? null : state.frames.get(parts.timeline.current));
  await Promise.all([parts.history.reload(), state.begun && steer.again()]);
  state.begun = true;
}

function setMode(mode) {
  parts.viewer.mode = mode;
  parts.mode.value = mode;
}

function onAnswer(answer) {
  const unread = answer.unread ? `, reading ${answer.unread} records` : "";
  at("found").textContent = `${answer.found} of ${answer.total} pictures${unread}`;
  const chooser = at("document");
  if (chooser.options.length !== answer.documents.length + 1) {
    const value = chooser.value;
    chooser.replaceChildren(element("option", { value: "", textContent: "All documents" }),
      ...answer.documents.map((name) => element("option", { value: name, textContent: name })));
    chooser.value = value;
  }
}

function search() {
  parts.history.ask({ words: at("words").value, document: at("document").value, starred: at("starred").checked ? "true" : "" });
}

const KEYS = {
  "+": () => parts.viewer.zoomTo(parts.viewer.zoom * 1.25),
  "=": () => parts.viewer.zoomTo(parts.viewer.zoom * 1.25),
  "-": () => parts.viewer.zoomTo(parts.viewer.zoom / 1.25),
  0: () => parts.viewer.fit(),
  1: () => parts.viewer.actual(),
  " ": () => parts.timeline.toggle(),
  m: () => setMode(MODES[(MODES.indexOf(parts.viewer.mode) + 1) % MODES.length]),
  "/": () => { selectTab("history"); at("words").focus(); },
  c: () => openTab("console", at("console")),
  "?": () => at("help").showModal(),
  ArrowLeft: () => parts.timeline.step(-1),
  ArrowRight: () => parts.timeline.step(1),
};

// Out of what was opened, back to where it was.
function goBack() {
  if (closeTab()) return true;
  const beside = !parts.sideBySide.hidden;
  if (beside) parts.history.clearChosen();
  return beside;
}

function onKey(event) {
  const elsewhere = at("view-pictures").hidden || document.querySelector("dialog[open]");
  if (event.key === "Escape" && !elsewhere && goBack()) return event.preventDefault();
  const typing = elsewhere || event.target.closest("input, textarea, select");
  const pressed = event.target.closest("button") && event.key === " ";
  if (typing || pressed || event.ctrlKey || event.metaKey || event.altKey || !KEYS[event.key]) return;
  event.preventDefault();
  KEYS[event.key]();
}

function attend() {
  let waiting = 0;
  attendViews(tell);
  document.addEventListener("keydown", onKey);
  parts.mode.addEventListener("change", () => setMode(parts.mode.value));
  at("fit").addEventListener("click", () => parts.viewer.fit());
  at("actual").addEventListener("click", () => parts.viewer.actual());
  at("example").addEventListener("click", () => post("/api/example", {}).catch((error) => tell(error.message)));
  at("help-open").addEventListener("click", () => at("help").showModal());
  attendTabs((name) => { if (name === "console") showConsole(); });
  parts.timeline.addEventListener("choose", ({ detail }) => {
    state.shown = null;
    state.following = detail.frame === parts.timeline.numbers.at(-1) || detail.state === "running";
    const shown = showFrame(detail);
    parts.timeline.shown = () => shown;
    drawRunning();
  });
  parts.history.addEventListener("answer", ({ detail }) => onAnswer(detail));
  parts.history.addEventListener("trouble", ({ detail }) => tell(detail));
  parts.history.addEventListener("show", ({ detail }) => {
    showEntry(detail);
    openTab("details", at("panel-details"));
    details.show(detail, state);
  });
  parts.history.addEventListener("left", ({ detail }) => putLeft(detail));
  parts.history.addEventListener("side-by-side", showSideBySide);
  parts.history.addEventListener("star", ({ detail }) => {
    post("/api/mark", { picture: detail.id, star: !detail.star })
      .then((mark) => parts.history.replace({ ...detail, ...mark }))
      .catch((error) => tell(error.message));
  });
  at("filters").addEventListener("click", ({ target }) => {
    if (!target.matches("button")) return;
    const words = at("words");
    const today = "today" in target.dataset ? new Date().toLocaleDateString("sv") : ""; // 2026-11-22
    words.value = `${words.value.trim()} ${target.textContent}${today}`.trim();
    words.focus();
    search();
  });
  at("search").addEventListener("submit", (event) => event.preventDefault());
  at("search").addEventListener("input", () => {
    clearTimeout(waiting);
    waiting = setTimeout(search, SEARCH_PAUSE);
  });
  setInterval(drawRunning, 5000);
}

async function beginToSteer() {
  state.steered = await steer.begin();
  if (!state.steered) return;
  details.use = (entry) => steer.use(entry.id);
  can.chooseWorkflow = () => steer.chooseWorkflow();
  can.renderAgain = ({ frame }) => steer.renderFrame(frame);
  drawRunning();
}

attend();
setMode("split");
beginToSteer().catch((error) => tell(error.message));
let reload = 0;
listen({
  state: (told) => takeState(told).catch((error) => tell(error.message)),
  closed: (gone) => tell(gone ? "The program is another one now: open the address that it has printed" : "The program doesn't answer; waiting for it"),
  view: setView,
  frame: setFrame,
  owner: setOwner,
  example: setExample,
  history: () => {
    clearTimeout(reload);
    reload = setTimeout(() => parts.history.reload(), 200);
  },
  render: (told) => steer.bar.event(told),
  lost: () => get("/api/state").then(takeState).catch((error) => tell(error.message)),
  end: () => {
    tell(steer.bar.running ? "The program has ended and stopped its render" : "The program has ended");
    steer.bar.set({ running: false });
    steer.bar.setOwner(false);
  },
});

// The frames that are being rendered, a line each, and why the one that is shown has failed.
import { element } from "/api.js";

const QUIET = 60_000; // ms without a word of a frame that is being rendered
const MOST_LINES = 6;
// What the page can do itself about a failure, by what its remedy speaks of; the first that fits.
const ADVICE = [
  [/\bagain\b/, "renderAgain"],
  [/\bconsole\b/, "console"],
  [/\bWorkflow menu\b|--workflow\b/, "chooseWorkflow"],
  [/\bserver\b|\bURL\b|--api\b|\blogin\b/, "checkServers"],
  [/\bworkflow\b|\bnodes?\b|\bgraph\b|\bexport\b/i, "showWorkflows"],
];
const LABELS = { console: "Open the console", chooseWorkflow: "Choose a workflow", checkServers: "Check the servers",
  showWorkflows: "Show the workflows", renderAgain: "Render again" };

export class Flight {
  #running = element("div");
  #failure = element("div");
  #failed = ""; // what #failure says
  #can;

  // `can` has a function (frame) for each of LABELS that this page can do now.
  constructor(place, can) {
    this.#can = can;
    place.append(this.#running, this.#failure);
  }

  draw(frames, shown) {
    const running = frames.filter((frame) => frame.state === "running");
    const more = running.length - MOST_LINES;
    const lines = running.slice(0, MOST_LINES).map(runningLine);
    if (more > 0) lines.push(element("p", {}, element("span", { textContent: `and ${more} more` })));
    this.#running.replaceChildren(...lines);
    this.#drawFailure(shown?.state === "failed" ? shown : null);
  }

  // Left as it is while it stays true, so that its button keeps the focus.
  #drawFailure(frame) {
    const failed = frame ? JSON.stringify([frame.frame, frame.heard, frame.error, Object.keys(this.#can)]) : "";
    if (failed === this.#failed) return;
    this.#failed = failed;
    this.#failure.replaceChildren(...(frame ? [this.#failureLine(frame)] : []));
  }

  #failureLine(frame) {
    const remedy = frame.error.split(";").at(-1);
    const fits = (text) => ADVICE.find(([words, name]) => words.test(text) && this.#can[name])?.[1];
    const advised = fits(remedy) ?? fits(frame.error) ?? "renderAgain";
    const act = this.#can[advised];
    const button = act && element("button", { type: "button", textContent: LABELS[advised] });
    button?.addEventListener("click", () => act(frame));
    return element("p", { className: "failure" }, element("b", { textContent: `Frame ${frame.frame} failed` }),
      element("span", { textContent: frame.error || "The helper has told no reason; the console may" }), button ?? "");
  }
}

function runningLine(frame) {
  const steps = frame.steps ? ` · ${frame.step ?? 0}/${frame.steps}` : "";
  const left = frame.seconds_left ? ` · ${Math.ceil(frame.seconds_left)} s left` : "";
  const ahead = frame.ahead ? ` · ${frame.ahead} ahead in the queue` : "";
  const silent = Date.now() - frame.heard > QUIET ? ` · no word for ${Math.round((Date.now() - frame.heard) / 60_000)} min` : "";
  const bar = element("progress", { max: 1 });
  if (frame.progress !== undefined) bar.value = frame.progress;
  if (silent) bar.value = frame.progress ?? 0;
  bar.setAttribute("aria-label", `Frame ${frame.frame}`);
  return element("p", {}, element("b", { textContent: `Frame ${frame.frame}` }), bar,
    element("span", { textContent: `${frame.message || "starting"}${steps}${left}${ahead}${silent}` }));
}

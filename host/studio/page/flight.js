// The frames that are being rendered, a line each, and why the one that is shown has failed.
import { element, keep } from "/api.js";

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
  #more = element("p", { hidden: true });
  #failure = element("div");
  #failed = ""; // what #failure says
  #can;

  // `can` has a function (frame) for each of LABELS that this page can do now.
  constructor(place, can) {
    this.#can = can;
    place.append(this.#running, this.#more, this.#failure);
  }

  draw(frames, shown) {
    const running = frames.filter((frame) => frame.state === "running");
    const more = running.length - MOST_LINES;
    const shownLines = new Map(running.slice(0, MOST_LINES).map((frame) => [String(frame.frame), frame]));
    const lines = keep(this.#running, [...shownLines.keys()], (line) => line.dataset.frame, makeLine);
    for (const [key, line] of lines) fillLine(line, shownLines.get(key));
    this.#more.textContent = more > 0 ? `and ${more} more` : "";
    this.#more.hidden = more <= 0;
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

function makeLine(frame) {
  const bar = element("progress", { max: 1 });
  bar.setAttribute("aria-label", `Frame ${frame}`);
  const line = element("p", {}, element("b", { textContent: `Frame ${frame}` }), bar, element("span"));
  line.dataset.frame = frame;
  return line;
}

// The bar that tells no share goes on moving as long as it tells none.
function fillLine(line, frame) {
  const steps = frame.steps ? ` · ${frame.step ?? 0}/${frame.steps}` : "";
  const left = frame.seconds_left ? ` · ${Math.ceil(frame.seconds_left)} s left` : "";
  const ahead = frame.ahead ? ` · ${frame.ahead} ahead in the queue` : "";
  const silent = Date.now() - frame.heard > QUIET ? ` · no word for ${Math.round((Date.now() - frame.heard) / 60_000)} min` : "";
  const [, bar, words] = line.children;
  if (frame.progress !== undefined || silent) bar.value = frame.progress ?? 0;
  else bar.removeAttribute("value");
  words.textContent = `${frame.message || "starting"}${steps}${left}${ahead}${silent}`;
}

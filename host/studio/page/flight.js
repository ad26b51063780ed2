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
  #more = element("p");
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
    const shownLines = new Map(running.slice(0, MOST_LINES).map((frame) => [String(frame.frame), frame]));
    const lines = keep(this.#running, [...shownLines.keys()], (line) => line.dataset.frame, makeLine);
    for (const [key, line] of lines) fillLine(line, shownLines.get(key));
    this.#more.textContent = `and ${more} more`;
    if (more > 0) this.#running.after(this.#more);
    else this.#more.remove();
    this.#drawFailure(shown?.state === "failed" ? shown : null);
  }

  // Left as it is while it says the same, so that its button keeps the focus and isn't lost under a press.
  #drawFailure(frame) {
    const advised = frame && this.#advisedFor(frame);
    const failed = frame ? JSON.stringify([frame.frame, frame.error, advised]) : "";
    if (failed === this.#failed) return;
    this.#failed = failed;
    this.#failure.replaceChildren(...(frame ? [this.#failureLine(frame, advised)] : []));
  }

  #advisedFor(frame) {
    const remedy = frame.error.split(";").at(-1);
    const fits = (text) => ADVICE.find(([words, name]) => words.test(text) && this.#can[name])?.[1];
    return fits(remedy) ?? fits(frame.error) ?? (this.#can.renderAgain && "renderAgain");
  }

  #failureLine(frame, advised) {
    const button = advised && element("button", { type: "button", textContent: LABELS[advised] });
    button?.addEventListener("click", () => this.#can[advised](frame));
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

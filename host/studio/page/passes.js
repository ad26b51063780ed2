// Which picture stands on the left of a result: the frame's guide, a pass that was drawn beside it, or one picture for all.
import { element, get } from "/api.js";

const FIXED = "one-picture";
const PAUSE = 200; // ms on a frame before its passes are asked for, so that playing asks for none

export class LeftChooser {
  #select;
  #tell; // (text) => void
  #known = new Map(); // what was told of a result, by its stamp
  #fixed = null; // {picture, name}: the one for all
  rated = () => {}; // (fps) => void: the rate of the frame's shot
  #waiting = 0;

  // `changed` is called when another picture is chosen.
  constructor(select, changed, tell) {
    this.#select = select;
    this.#tell = tell;
    select.addEventListener("change", changed);
    this.#offer([]);
  }

  // {picture, name} of the frame's left side; its guide where it has no such pass.
  async leftOf(frame) {
    const wanted = this.#select.value;
    clearTimeout(this.#waiting);
    if (wanted === "guide") this.#waiting = setTimeout(() => this.#passesOf(frame), PAUSE);
    if (this.fixed) return this.fixed;
    const passes = wanted === "guide" ? [] : await this.#passesOf(frame);
    const pass = passes.find((one) => one.name === wanted);
    return pass ? { picture: pass.picture, name: `${pass.name} ${frame.frame}` } : { picture: frame.guide, name: `guide ${frame.frame}` };
  }

  // The one that stands there whatever is shown on the right; null where that isn't chosen.
  get fixed() {
    return this.#select.value === FIXED ? this.#fixed : null;
  }
  fix(picture, name) {
    this.#fixed = { picture, name };
    this.#offer([]);
    this.#select.value = FIXED;
    this.#select.querySelector(`[value=${FIXED}]`).textContent = name;
  }
  get isGuide() {
    return this.#select.value === "guide";
  }

  async #passesOf(frame) {
    const key = frame.picture?.stamp;
    if (!key) return [];
    try {
      if (!this.#known.has(key)) this.#known.set(key, await get(`/api/passes/${frame.frame}`));
    } catch (error) {
      this.#tell(error.message);
    }
    const { passes = [], fps } = this.#known.get(key) ?? {};
    this.rated(fps);
    this.#offer(passes);
    return passes;
  }

  // What was chosen stays on offer, for the frames that have it.
  #offer(passes) {
    const names = new Set(["guide", ...passes.map((pass) => pass.name), this.#select.value || "guide"]);
    if (this.#fixed) names.add(FIXED);
    if ([...this.#select.options].map((option) => option.value).join() === [...names].join()) return;
    const chosen = this.#select.value || "guide";
    this.#select.replaceChildren(...[...names].map((name) => 
      element("option", { value: name, textContent: name === FIXED ? this.#fixed.name : name })));
    this.#select.value = chosen;
    this.#select.disabled = names.size < 2;
  }
}

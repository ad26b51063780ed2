// The guide of a job that changes: a small one first, so that it is there at once, then one as large as it is looked at.
// The newest wish wins.
import { post } from "/api.js";

const PAUSE = 50; // ms after the last change
const SKETCH = 480; // pixels of the longer side

export class LiveGuide {
  #shown; // {guide(card, name), tell(text)}
  #place; // the element that it is looked at in
  #waiting = 0;
  #wish = 0;

  constructor(shown, place) {
    this.#shown = shown;
    this.#place = place;
  }

  // Where the job is refused, its own fields say why: `taken` tells whether it wasn't.
  wish(job, taken) {
    clearTimeout(this.#waiting);
    this.#waiting = setTimeout(() => this.#draw(job, taken), PAUSE);
  }

  // What is being drawn isn't shown any more.
  drop() {
    clearTimeout(this.#waiting);
    ++this.#wish;
  }

  async #draw(job, taken) {
    const wish = ++this.#wish;
    const name = ["guide now", job.options.camera?.[0], `frame ${job.frame}`].filter(Boolean).join(" · ");
    const whole = Math.round(Math.max(this.#place.clientWidth, SKETCH) * (window.devicePixelRatio || 1));
    for (const longest of [SKETCH, whole]) {
      try {
        const { picture } = await post("/api/desk/guide", { job, longest });
        if (wish !== this.#wish) return;
        this.#shown.guide(picture, name);
      } catch (error) {
        const gone = error instanceof TypeError; // the program; the page is told so anyway
        if (wish === this.#wish && taken() && !gone) this.#shown.tell(error.message);
        return;
      }
    }
  }
}

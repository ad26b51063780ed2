// Two pictures under one divider, zoomed and panned in step.
import { element } from "/api.js";

const LEAST_ZOOM = 0.02;
const LARGEST_ZOOM = 64;
const BLINK = 700; // ms
const REST = 200; // ms after the last move
export const MODES = ["split", "left", "right", "difference", "blink"];

class PictureViewer extends HTMLElement {
  #left = element("img", { alt: "", draggable: false });
  #right = element("img", { alt: "", draggable: false });
  #leftLayer = element("div", { className: "layer" }, this.#left);
  #rightLayer = element("div", { className: "layer" }, this.#right);
  #names = [element("span", { className: "name left" }), element("span", { className: "name right" })];
  #divider = element("div", { className: "divider", tabIndex: 0 });
  #share = 0.5; // of the width that lies left of the divider
  #zoom = 1;
  #pan = { x: 0, y: 0 }; // of the picture's top left corner, CSS pixels
  #size = { width: 1, height: 1 }; // of the picture
  #fitted = true;
  #mode = "split";
  #blinking = 0;
  #resting = 0;
  #pointers = new Map();
  #generation = 0;
  right = null; // what was shown there last, as show() takes it

  connectedCallback() {
    this.#divider.setAttribute("role", "slider");
    this.#divider.setAttribute("aria-label", "Divider between the pictures");
    this.#divider.setAttribute("aria-valuemin", "0");
    this.#divider.setAttribute("aria-valuemax", "100");
    this.append(this.#leftLayer, this.#rightLayer, ...this.#names, this.#divider);
    new ResizeObserver(() => (this.#fitted ? this.fit() : this.#place())).observe(this);
    this.addEventListener("wheel", (event) => this.#onWheel(event), { passive: false });
    this.addEventListener("pointerdown", (event) => this.#onDown(event));
    this.addEventListener("pointermove", (event) => this.#onMove(event));
    for (const end of ["pointerup", "pointercancel"]) {
      this.addEventListener(end, (event) => this.#pointers.delete(event.pointerId));
    }
    this.#divider.addEventListener("dblclick", () => this.#moveDivider(0.5));
    this.#divider.addEventListener("keydown", (event) => this.#onDividerKey(event));
    this.addEventListener("keydown", (event) => this.#onKey(event));
  }

  // Each picture is {url, name, sketch: whether it stands for a larger one}; either may be missing. Shown together, once both are there, so that nothing flickers.
  async show(left, right) {
    const generation = ++this.#generation;
    this.right = right;
    this.classList.toggle("sketch", Boolean(left?.sketch));
    const pictures = [left, right].map((one) => (one?.url ? one : null));
    const loaded = await Promise.all(pictures.map((one) => one && decoded(one.url)));
    if (generation !== this.#generation) return false;
    [this.#left, this.#right].forEach((image, index) => {
      const found = loaded[index];
      image.hidden = !found;
      if (found && image.src !== found.src) image.src = found.src;
      image.alt = found ? pictures[index].name : "";
      this.#names[index].textContent = found ? pictures[index].name : "";
    });
    this.classList.toggle("both", Boolean(loaded[0] && loaded[1]));
    const measured = loaded[1] || loaded[0];
    if (measured) this.#measure(measured.naturalWidth, measured.naturalHeight);
    return true;
  }

  get mode() {
    return this.#mode;
  }
  set mode(mode) {
    this.#mode = MODES.includes(mode) ? mode : "split";
    clearInterval(this.#blinking);
    this.classList.remove("blinked");
    for (const one of MODES) this.classList.toggle(one, one === this.#mode);
    if (this.#mode === "blink") {
      this.#blinking = setInterval(() => this.classList.toggle("blinked"), BLINK);
    }
    this.#place();
  }

  fit() {
    const { clientWidth, clientHeight } = this;
    this.#zoom = Math.min(clientWidth / this.#size.width, clientHeight / this.#size.height) || 1;
    this.#pan = {
      x: (clientWidth - this.#size.width * this.#zoom) / 2,
      y: (clientHeight - this.#size.height * this.#zoom) / 2,
    };
    this.#fitted = true;
    this.#place();
  }

  actual() {
    this.zoomTo(1 / (window.devicePixelRatio || 1));
  }

  // Around a point of the element, its middle if not said.
  zoomTo(zoom, at = { x: this.clientWidth / 2, y: this.clientHeight / 2 }) {
    const next = Math.min(Math.max(zoom, LEAST_ZOOM), LARGEST_ZOOM);
    this.#pan.x = at.x - (at.x - this.#pan.x) * (next / this.#zoom);
    this.#pan.y = at.y - (at.y - this.#pan.y) * (next / this.#zoom);
    this.#zoom = next;
    this.#fitted = false;
    this.#move();
  }

  // Moved pictures are layers of their own, which is quick; at rest they are scaled again with care.
  #move() {
    clearTimeout(this.#resting);
    this.classList.add("moving");
    this.#resting = setTimeout(() => this.classList.remove("moving"), REST);
    this.#place();
  }

  #measure(width, height) {
    const changed = width !== this.#size.width || height !== this.#size.height;
    this.#size = { width, height };
    if (changed || this.#fitted) this.fit();
    else this.#place();
  }

  #panBy(x, y) {
    this.#pan.x += x;
    this.#pan.y += y;
    this.#fitted = false;
    this.#move();
  }

  #place() {
    for (const image of [this.#left, this.#right]) {
      image.style.width = `${this.#size.width}px`;
      image.style.height = `${this.#size.height}px`;
      image.style.transform = `translate(${this.#pan.x}px, ${this.#pan.y}px) scale(${this.#zoom})`;
      image.classList.toggle("pixels", this.#zoom >= 2);
    }
    const split = this.#mode === "split" && this.classList.contains("both");
    // Each on its side alone: what is covered would be drawn, too, with every move.
    this.#leftLayer.style.clipPath = split ? `inset(0 ${(1 - this.#share) * 100}% 0 0)` : "";
    this.#rightLayer.style.clipPath = split ? `inset(0 0 0 ${this.#share * 100}%)` : "";
    this.#divider.style.left = `${this.#share * 100}%`;
    this.#divider.setAttribute("aria-valuenow", String(Math.round(this.#share * 100)));
    this.dataset.zoom = this.#zoom.toFixed(3);
  }

  #moveDivider(share) {
    this.#share = Math.min(Math.max(share, 0), 1);
    this.#place();
  }

  #at(event) {
    const box = this.getBoundingClientRect();
    return { x: event.clientX - box.left, y: event.clientY - box.top };
  }

  #onWheel(event) {
    event.preventDefault();
    const notch = event.deltaMode === 1 ? 16 : 1;
    this.zoomTo(this.#zoom * Math.exp(-event.deltaY * notch * 0.0015), this.#at(event));
  }

  #onDown(event) {
    if (event.button > 1) return;
    const divider = event.target === this.#divider;
    (divider ? this.#divider : this).setPointerCapture(event.pointerId);
    this.#pointers.set(event.pointerId, { ...this.#at(event), divider });
  }

  #onMove(event) {
    const former = this.#pointers.get(event.pointerId);
    if (!former) return;
    const now = { ...this.#at(event), divider: former.divider };
    const other = [...this.#pointers].find(([id]) => id !== event.pointerId)?.[1];
    if (former.divider) {
      this.#moveDivider(now.x / this.clientWidth);
    } else if (other) {
      const span = (point) => Math.hypot(point.x - other.x, point.y - other.y) || 1;
      this.zoomTo((this.#zoom * span(now)) / span(former), { x: (now.x + other.x) / 2, y: (now.y + other.y) / 2 });
    } else {
      this.#panBy(now.x - former.x, now.y - former.y);
    }
    this.#pointers.set(event.pointerId, now);
  }

  #onDividerKey(event) {
    const step = event.shiftKey ? 0.1 : 0.01;
    const to = { ArrowLeft: this.#share - step, ArrowRight: this.#share + step, Home: 0, End: 1, Enter: 0.5 }[event.key];
    if (to === undefined) return;
    event.preventDefault();
    event.stopPropagation();
    this.#moveDivider(to);
  }

  #onKey(event) {
    const far = event.shiftKey ? 160 : 40;
    const steps = { ArrowLeft: [far, 0], ArrowRight: [-far, 0], ArrowUp: [0, far], ArrowDown: [0, -far] };
    if (!steps[event.key] || event.target !== this) return;
    event.preventDefault();
    event.stopPropagation();
    this.#panBy(...steps[event.key]);
  }

  get zoom() {
    return this.#zoom;
  }
}

async function decoded(url) {
  const image = new Image();
  image.src = url;
  try {
    await image.decode();
    return image;
  } catch {
    return null; // gone, or still being written; the next event brings it
  }
}

customElements.define("picture-viewer", PictureViewer);

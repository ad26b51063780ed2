// What the scene holds: its facts, its frames, its cameras with a small picture of each.
import { element, keep, pictureUrl, post } from "/api.js";

const at = (id) => document.getElementById(id);

// What a scene's clips and rate depend on.
export const timesOf = ({ scene, options }) => JSON.stringify([scene, options.fps, options.clip, options.loop]);

function factsOf(info, scene) {
  const count = (number, word) => `${number.toLocaleString()} ${word}${number === 1 ? "" : "s"}`;
  const clips = (info.clips || []).map((clip) => `${clip.name}: ${clip.seconds} s, frames ${clip.first_frame} to ${clip.last_frame}${clip.played ? "" : " (not played)"}`);
  const facts = [["File", scene], ["Made by", info.generator], ["Holds", [count(info.triangles, "triangle"), count(info.instances, "object")].join(", ")],
    ["Size", info.bounds ? `${info.bounds.size.map((side) => side.toFixed(1)).join(" × ")} m` : ""], ["Clips", clips.join("\n")],
    ["Lights", String((info.lights || []).length)], ["Materials", (info.materials || []).join(", ")], ["Not supported", (info.not_supported || []).join("\n")]];
  return facts.filter(([, text]) => text);
}

// The facts as a table, and the frames that its clips have as a slider.
export function drawFacts(info, job) {
  at("steer-scene").replaceChildren(element("table", {}, element("tbody", {}, ...factsOf(info, job.scene).map(([name, text]) =>
    element("tr", {}, element("th", { scope: "row", textContent: name }), element("td", { textContent: text }))))));
  const scrub = at("steer-scrub");
  const clips = (info.clips || []).filter((clip) => clip.played);
  if (!scrub || !clips.length) return;
  scrub.min = Math.min(...clips.map((clip) => clip.first_frame));
  scrub.max = Math.max(...clips.map((clip) => clip.last_frame));
  scrub.value = job.frame;
  scrub.hidden = false;
}

// `choose(name, beside)` is called for one that is pressed, with whether it is wanted beside the others.
export async function drawCameras(info, job, chosen, choose) {
  const names = (info.cameras || []).filter((camera) => !camera.of_host).map((camera) => camera.name);
  const place = at("steer-cameras");
  if (!place) return;
  const buttons = keep(place, names, (button) => button.dataset.camera, (name) => cameraButton(name, choose));
  for (const [name, button] of buttons) button.setAttribute("aria-pressed", String(chosen.includes(name)));
  if (!names.length) return;
  const { cameras } = await post("/api/desk/cameras", { job, names });
  for (const { name, picture } of cameras) {
    const shown = buttons.get(name)?.querySelector("img");
    if (shown) Object.assign(shown, { src: pictureUrl(picture), hidden: false });
  }
}

function cameraButton(name, choose) {
  const made = element("button", { type: "button", className: "camera", title: `${name} (Shift: beside the others)` },
    element("span", { className: "picture" }, element("img", { alt: "", hidden: true })), element("span", { textContent: name }));
  made.dataset.camera = name;
  made.addEventListener("click", ({ shiftKey }) => choose(name, shiftKey));
  return made;
}

// What `workflows check` and `workflows controls` tell of one workflow, to be read.
import { element } from "/api.js";

const PARTS = { guide: "Guide", style: "Style", prompt: "Prompt", width: "Width", height: "Height", frame: "Frame", seed: "Seed" };
const HOW = { marker: "by its title", placeholder: "by a placeholder", shape: "by the graph", control: "as a control" };

// With the title that would decide instead, where a node is to have one.
const decided = (place) => `${HOW[place.how] ?? place.how}${place.marker && place.how !== "marker" ? `; the title "${place.marker}" would decide` : ""}`;
const nodeOf = (place) => [place.title || place.kind, place.node && `#${place.node}`].filter(Boolean).join(" ");
const heading = (text) => element("h3", { textContent: text });

export function table(head, rows) {
  return element("table", {},
    element("thead", {}, element("tr", {}, ...head.map((text) => element("th", { scope: "col", textContent: text })))),
    element("tbody", {}, ...rows.map((cells) => element("tr", {}, ...cells.map((text) => element("td", { textContent: text }))))));
}

const list = (lines) => element("ul", {}, ...lines.map((textContent) => element("li", { textContent })));

function missingOf(missing = {}) {
  const nodes = (missing.nodes ?? []).map((one) => `node ${one.kind || one.value || nodeOf(one)} (${nodeOf(one)})`);
  const files = (missing.files ?? []).map((one) => `${one.value}, for ${one.input} of ${nodeOf(one)}`);
  return [...nodes, ...files];
}

export function checkReport(answer) {
  const parts = [];
  if (answer.problem) {
    parts.push(element("p", { className: "problem", textContent: answer.problem }));
    if (answer.remedy) parts.push(element("p", { className: "remedy", textContent: answer.remedy }));
  } else {
    parts.push(element("p", { className: "fine", textContent: `Can be rendered here and now, on ${answer.backend}` }));
  }
  const server = [answer.server, answer.version].filter(Boolean).join(", version ");
  if (server) parts.push(element("p", { className: "quiet", textContent: `Server: ${server}` }));
  const missing = missingOf(answer.missing);
  if (missing.length) parts.push(heading("What the server lacks"), list(missing));
  if (answer.places?.length) {
    parts.push(heading("Where the request's parts go"), table(["Part", "Node", "Input", "Decided"],
      answer.places.map((place) => [PARTS[place.part] ?? place.part, nodeOf(place), place.input, decided(place)])));
  }
  if (answer.results?.length) {
    parts.push(heading("Pictures that come back"), table(["Node", "Kind", ""],
      answer.results.map((result) => [nodeOf(result), result.kind, result.frame ? "the frame" : "kept beside it"])));
  }
  if (answer.passes?.length) {
    parts.push(heading("Passes that it asks for"), element("p", { textContent: answer.passes.join(", ") }));
  }
  if (answer.notes?.length) parts.push(heading("Notes"), list(answer.notes));
  return parts;
}

const limits = (control) => {
  if (control.least === undefined && control.most === undefined) return "";
  return `${control.least ?? ""} to ${control.most ?? ""}${control.step ? `, by ${control.step}` : ""}`;
};

// What a control takes: its type, its limits, its choices.
const takes = (control) =>
  [control.type, limits(control), (control.choices ?? []).join(", ")].filter(Boolean).join("; ");

export function controlTable(answer) {
  if (!answer?.controls) return [];
  if (!answer.controls.length) return [heading("Controls"), element("p", { className: "quiet", textContent: "It lets nothing be set." })];
  return [heading("Controls"), table(["Control", "Value", "Takes", "Stands in"],
    answer.controls.map((control) => [control.name, String(control.default ?? ""), takes(control), nodeOf(control)]))];
}

// What the panel's rows, the command line's options and a workflow's controls are as fields, and what is said of the ends
// of renders.
import { element } from "/api.js";

export const CAMERA = "QUILLMERE_CAMERA";
export const WORKFLOW = "QUILLMERE_WORKFLOW";
const PROMPT = "QUILLMERE_PROMPT";

export function groupOf(name, fields) {
  return element("fieldset", {}, element("legend", { textContent: name }), ...fields);
}

export const shownOption = (value) => (Array.isArray(value) ? value.join(", ") : value === undefined ? "" : typeof value === "boolean" ? value : String(value));

// The panel's types as fields.
export function aboutRow(row) {
  const types = { bool: "bool", choice: "choice", camera: "choice", "read-only": "note" };
  const long = row.name === PROMPT || (row.type === "text" && String(row.value).length > 60);
  return { label: row.label, type: types[row.type] || (long ? "long" : "text"), value: row.value, enabled: row.enabled, choices: row.choices,
    least: row.min, most: row.max, note: row.note, none: row.name === CAMERA ? "The scene's first" : undefined, rows: row.name === PROMPT ? 5 : 3 };
}

export function aboutOption({ name, help, takes, example, ...option }) {
  const about = { label: name.replaceAll("-", " "), help, value: "", placeholder: option.default || (takes === "text" ? example : "") };
  if (takes === "flag") return { ...about, type: "bool", value: false };
  if (takes === "text") return { ...about, type: "text" };
  return { ...about, type: "choice", choices: takes.map((word) => ({ value: word, text: word })) };
}

// The locked picture is followed unless the job says another, or none.
export function aboutStyle(style) {
  const choices = [{ value: "locked", text: "The locked picture" }, { value: "none", text: "None" }];
  if (style) choices.push({ value: style, text: style.split("/").pop() });
  return { label: "style picture", type: "choice", value: style === undefined ? "locked" : style || "none", choices };
}
export const styleOf = (choice) => (choice === "locked" ? undefined : choice === "none" ? "" : choice);

// The menu says None of a workflow that isn't listed.
export function aboutWorkflowFile({ options }, rows) {
  const listed = rows.find((row) => row.name === WORKFLOW)?.value;
  return { value: listed ? "" : options.workflow ?? "" };
}

export const problemOf = ({ problem, remedy }) => [problem, remedy].filter(Boolean).join("; ");

export function aboutControl(control, given) {
  const value = given === undefined ? "" : given.replace(/^"(.*)"$/s, "$1");
  const about = { label: control.name, value, least: control.least ?? undefined, most: control.most ?? undefined,
    help: [control.title, control.kind, control.input].filter(Boolean).join(" · "), placeholder: String(control.default ?? "") };
  if (control.most > Number.MAX_SAFE_INTEGER) about.most = undefined;
  if (control.type === "switch") return { ...about, type: "choice", choices: ["true", "false"].map((word) => ({ value: word, text: word })) };
  if (control.type === "choice") return { ...about, type: "choice", choices: (control.choices || []).map((word) => ({ value: word, text: word })) };
  return { ...about, type: "text", words: control.choices };
}

// Frames per second of 24, "24" or "24000/1001".
export function rateOf(fps) {
  const [frames, seconds = 1] = String(fps ?? "").split("/").map(Number);
  return frames > 0 && seconds > 0 ? frames / seconds : undefined;
}

export function wordsOfEnd(end, missing) {
  if (end.error) return [[end.error, end.remedy].filter(Boolean).join("; "), "bad"];
  const left = missing ? `; frames ${missing} are missing` : "";
  if (end.status === 130) return [`Stopped${left}`, ""];
  if (end.failed) return [`${end.failed} failed${left}`, "bad"];
  return [`Done: ${(end.done || 0) + (end.kept || 0)} rendered`, "good"];
}

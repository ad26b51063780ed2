// What the page asks its server; docs/studio-protocol.md has the protocol.

async function answer(response) {
  const told = await response.json().catch(() => ({}));
  if (!response.ok) throw new Error(told.error || `the program answered ${response.status}`);
  return told;
}

// A TypeError when there is no answer at all.
async function asked(path, options) {
  const response = await fetch(path, options).catch(() => { throw new TypeError("The program doesn't answer"); });
  return answer(response);
}

export async function get(path, values = {}) {
  const query = new URLSearchParams(values).toString();
  return asked(path + (query ? `?${query}` : ""));
}

export async function post(path, body) {
  return asked(path, { method: "POST", headers: { "Content-Type": "application/json" }, body: JSON.stringify(body) });
}

// The stamp in the address changes with the picture, so that a browser keeps each as long as it likes.
export const pictureUrl = (card) => (card ? `/api/picture/${card.id}?v=${card.stamp}` : "");
export const thumbnailUrl = (card) => (card ? `/api/thumbnail/${card.id}?v=${card.stamp}` : "");

// `told` has a function for each event, and closed(gone) for when there are none; `gone`: there won't be any more.
export function listen(told) {
  const source = new EventSource("/api/events");
  source.onerror = () => told.closed(source.readyState === EventSource.CLOSED);
  source.addEventListener("end", () => source.close());
  for (const event of ["state", "view", "frame", "history", "owner", "example", "render", "lost", "end"]) {
    source.addEventListener(event, (message) => told[event](JSON.parse(message.data)));
  }
  return source;
}

// The children of `place` become one for each of `keys`, in their order. One that is there stays the element that it is,
// so that a person can go on pressing or reading it; `keyOf(child)` tells whose it is, `make(key)` makes those that aren't.
// Returns them by their keys.
export function keep(place, keys, keyOf, make) {
  const there = new Map([...place.children].map((child) => [keyOf(child), child]));
  const kept = new Map(keys.map((key) => [key, there.get(key) ?? make(key)]));
  const wanted = new Set(kept.values());
  for (const child of there.values()) if (!wanted.has(child)) child.remove();
  let next = place.firstChild;
  for (const child of wanted) {
    if (child === next) next = next.nextSibling;
    else place.insertBefore(child, next);
  }
  return kept;
}

export function element(name, properties = {}, ...children) {
  const made = Object.assign(document.createElement(name), properties);
  made.append(...children);
  return made;
}

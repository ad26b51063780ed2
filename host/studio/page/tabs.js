// The tabs beside the pictures, one of them shown.

const at = (id) => document.getElementById(id);
const TABS = [...document.querySelectorAll("aside [role=tab]")].map((tab) => tab.id.slice("tab-".length));
let former = null; // {name, focus}: where what was opened was opened from
let selected = () => {}; // (name): told of each that is shown

export function selectTab(name) {
  former = null;
  for (const one of TABS) {
    const tab = at(`tab-${one}`);
    tab.setAttribute("aria-selected", String(one === name));
    tab.tabIndex = one === name ? 0 : -1;
    at(`panel-${one}`).hidden = one !== name;
  }
  selected(name);
}

// With the focus on `focus`, until closeTab() leads back.
export function openTab(name, focus) {
  const from = former ?? { name: TABS.find((one) => !at(`panel-${one}`).hidden), focus: document.activeElement };
  selectTab(name);
  focus.focus();
  if (from.name !== name) former = from;
}

// False where nothing was opened.
export function closeTab() {
  if (!former) return false;
  const { name, focus } = former;
  selectTab(name);
  focus.focus();
  return true;
}

export function attendTabs(told) {
  selected = told;
  for (const one of TABS) {
    at(`tab-${one}`).addEventListener("click", () => selectTab(one));
    at(`tab-${one}`).addEventListener("keydown", (event) => {
      const by = { ArrowLeft: -1, ArrowRight: 1 }[event.key];
      if (!by) return;
      event.preventDefault();
      event.stopPropagation();
      const offered = TABS.map((name) => at(`tab-${name}`)).filter((each) => !each.hidden);
      const tab = offered.at((offered.indexOf(event.target) + by) % offered.length);
      tab.click();
      tab.focus();
    });
  }
}

// The page's views, one of them shown: the pictures, the workflows, the doctor.
import "/workflows.js";
import "/doctor.js";

const VIEWS = ["pictures", "workflows", "doctor"];
const at = (id) => document.getElementById(id);

export function showView(name) {
  for (const one of VIEWS) {
    const tab = at(`view-tab-${one}`);
    tab.setAttribute("aria-selected", String(one === name));
    tab.tabIndex = one === name ? 0 : -1;
    at(`view-${one}`).hidden = one !== name;
  }
  for (const part of document.querySelectorAll("footer, .tools")) part.hidden = name !== "pictures";
  at(`view-${name}`).shown?.();
}

// `tell` takes a text for the person.
export function attendViews(tell) {
  VIEWS.forEach((name, index) => {
    const tab = at(`view-tab-${name}`);
    tab.addEventListener("click", () => showView(name));
    tab.addEventListener("keydown", (event) => {
      const by = { ArrowLeft: -1, ArrowRight: 1 }[event.key];
      const other = VIEWS[index + by];
      if (!other) return;
      event.preventDefault();
      event.stopPropagation();
      showView(other);
      at(`view-tab-${other}`).focus();
    });
    at(`view-${name}`).addEventListener("trouble", ({ detail }) => tell(detail));
  });
}

// The parameters: a tree of the applet's own description, refusals beside the field, what differs from the start.

import { Refused, post } from "./api.js";
import { attempt, byId, element, say, short } from "./ui.js";

const parameters = new Map(); // by name, as the server tells them
const rows = new Map(); // by name
const watchers = new Map(); // by name: lists of functions

export const parameter = (name) => parameters.get(name);

/** Calls back with the parameter now, if it is known, and whenever it changes. */
export function watch(name, action) {
  watchers.set(name, [...(watchers.get(name) ?? []), action]);
  if (parameters.has(name)) {
    action(parameters.get(name));
  }
}

/** Sets parameters in their order, all or none. @returns whether they were accepted */
export async function set(settings) {
  const list = Object.entries(settings).map(([name, value]) => ({ name, value }));
  try {
    take((await post("/api/parameters", { set: list })).changed);
    return true;
  } catch (error) {
    const name = error instanceof Refused ? error.details.parameter : null;
    if (name && rows.has(name)) {
      rows.get(name).refuse(error);
    }
    say(error.message, true);
    return false;
  }
}

export function take(list) {
  for (const one of list) {
    parameters.set(one.name, one);
    rows.get(one.name)?.update(one);
    watchers.get(one.name)?.forEach((action) => action(one));
  }
  countChanged();
}

const valueOf = (one) => one.valueName ?? one.exact ?? short(one.value);

class Row {
  constructor(one) {
    this.name = one.name;
    const id = `parameter-${one.name}`;
    const label = element(one.writable || one.entries ? "label" : "span", { class: "name", title: one.description,
      for: id }, one.displayName || one.name);
    const unit = element("span", { class: "unit" }, one.unit ?? "");
    this.hint = element("small", { id: `hint-${one.name}` }, one.name);
    this.reset = element("button", { "aria-label": `Reset ${one.name} to its value at the start`, title: "reset",
      onclick: () => this.#reset() }, "↺");
    this.refusal = element("p", { class: "refusal", role: "alert", hidden: true });
    this.field = this.#makeField(one, id);
    this.root = element("div", { class: "parameter" }, label, this.field, unit, this.reset, this.hint, this.refusal);
    this.update(one);
  }

  #makeField(one, id) {
    if (one.kind === "file name" || one.kind === "lookup table entry" || one.kind === "text" ||
        !one.access.includes("write")) {
      this.isOutput = true;
      return element("output", { id, "aria-label": one.name });
    }
    const change = () => {
      if (this.field.value === "") { // a field for numbers says so of everything else, too
        this.refuse(new Error("This is no number."));
      } else {
        set({ [this.name]: this.#entered() });
      }
    };
    if (one.entries) {
      return element("select", { id, onchange: change },
        ...one.entries.map((entry) => element("option", { value: entry.name, title: entry.name }, entry.text)));
    }
    return element("input", { id, type: "number", "aria-describedby": `hint-${one.name}`, onchange: change, onkeydown: (event) => {
      if (event.key === "Escape") {
        this.update(parameters.get(this.name));
      }
    } });
  }

  #entered() {
    return this.field.tagName === "SELECT" || parameters.get(this.name).exact ? this.field.value : Number(this.field.value);
  }

  async #reset() {
    await attempt(async () => take((await post("/api/parameters/reset", { names: [this.name] })).changed));
  }

  update(one) {
    this.refusal.hidden = true;
    if (this.isOutput) {
      this.field.textContent = one.kind === "lookup table entry" ? "see Lookup table" : valueOf(one) || "–";
    } else {
      this.field.disabled = !one.writable;
      this.field.title = one.allowed ?? "";
      if (this.field.tagName === "SELECT") {
        this.field.value = one.valueName ?? "";
      } else {
        this.field.min = one.minimum ?? "";
        this.field.max = one.maximum ?? "";
        this.field.step = one.increment || "any";
        this.hint.textContent = [one.name, one.allowed].filter(Boolean).join(" · ");
        const isIt = this.field.value !== "" && Number(this.field.value) === one.value; // as "1.0" is 1
        if (document.activeElement !== this.field || !isIt) {
          this.field.value = one.exact ?? one.value ?? "";
        }
      }
    }
    this.changed = one.start !== undefined && one.start !== one.value;
    this.root.classList.toggle("changed", this.changed);
    this.reset.disabled = !this.changed || !one.writable;
    this.reset.hidden = this.isOutput;
  }

  refuse(error) {
    const one = parameters.get(this.name);
    this.update(one);
    this.refusal.textContent = `${error.message} In force: ${valueOf(one)}${one.unit ? ` ${one.unit}` : ""}.`;
    this.refusal.hidden = false;
  }
}

let onlyChanged = null;
let counter = null;

function countChanged() {
  if (counter) {
    const changed = [...rows.values()].filter((row) => row.changed).length;
    counter.textContent = changed === 0 ? "as at the start" : `${changed} changed`;
  }
}

function filter(text) {
  const wanted = text.toLowerCase();
  for (const group of byId("parameter-tree").querySelectorAll("details")) {
    let any = false;
    for (const row of group.querySelectorAll(":scope > .parameter")) {
      const one = parameters.get(row.dataset.name);
      const fits = `${one.name} ${one.displayName} ${one.description} ${one.category}`.toLowerCase().includes(wanted) &&
        (!onlyChanged.checked || rows.get(one.name).changed);
      row.hidden = !fits;
      row.style.display = fits ? "" : "none";
      any ||= fits;
    }
    group.hidden = !any && group.querySelector(":scope > .parameter") !== null;
    if (wanted && any) {
      group.open = true;
    }
  }
}

/** Builds the tree once; later lists update its rows. */
export function show(list) {
  if (rows.size > 0) {
    take(list);
    return;
  }
  const tree = byId("parameter-tree");
  const groups = new Map();
  const groupOf = (category) => {
    if (!groups.has(category)) {
      const parts = category.split(" / ");
      const parent = parts.length > 1 ? groupOf(parts.slice(0, -1).join(" / ")) : tree;
      const group = element("details", { open: rows.size < 30 }, element("summary", {}, parts.at(-1) || "Other"));
      parent.append(group);
      groups.set(category, group);
    }
    return groups.get(category);
  };
  for (const one of list) {
    parameters.set(one.name, one);
    const row = new Row(one);
    row.root.dataset.name = one.name;
    rows.set(one.name, row);
    groupOf(one.category || "Other").append(row.root);
  }
  take(list);
}

export function showWrites(json) {
  if (json.writes.length === 0) {
    return;
  }
  const longest = 200; // a whole table is one write
  const lines = json.writes.map((write) => `    ${write.length > longest ? `${write.slice(0, longest)} …` : write}\n`);
  const log = byId("writes");
  log.textContent = `${json.origin}\n${lines.join("")}${log.textContent}`.slice(0, 20000);
}

export function panel() {
  const search = element("input", { type: "search", id: "parameter-search", placeholder: "search",
    "aria-label": "Search parameters", oninput: () => filter(search.value) });
  onlyChanged = element("input", { type: "checkbox", onchange: () => filter(search.value) });
  counter = element("span", { class: "hint" });
  const resetAll = element("button", { onclick: () => attempt(async () => {
    const names = [...rows.values()].filter((row) => row.changed && parameters.get(row.name).writable)
      .map((row) => row.name);
    take((await post("/api/parameters/reset", { names })).changed);
  }) }, "Reset all");
  return [
    element("div", { class: "row" }, search, element("label", {}, onlyChanged, " only changed"), counter, resetAll),
    element("div", { id: "parameter-tree" }),
    element("h2", { id: "writes-title" }, "Writes that reached the design"),
    element("div", { class: "list", id: "writes", tabindex: "0", role: "log", "aria-labelledby": "writes-title" }),
  ];
}

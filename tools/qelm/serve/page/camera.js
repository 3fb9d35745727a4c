// The virtual board's camera and what it looks at.

import { get, post, put } from "./api.js";
import { attempt, busy, element, fileInput, say } from "./ui.js";

const options = element("input", { type: "text", id: "camera-options", spellcheck: "false" });
const scene = element("select", { id: "camera-scene" });
const form = element("div", { id: "camera-form" });
const fields = new Map(); // by key, in the order of the camera's help: the later option counts

const split = (text) => new Map(text.split(",").filter(Boolean).map((option) => {
  const [key, ...value] = option.split("=");
  return [key, value.join("=")];
}));

function showOptions() {
  const given = split(options.value);
  for (const [key, field] of fields) {
    if (field.type === "checkbox") {
      field.checked = given.has(key) || options.value === "";
    } else {
      field.value = given.get(key) ?? "";
    }
  }
}

function takeField(key) {
  const given = split(options.value || "match");
  const field = fields.get(key);
  const isFlag = field.type === "checkbox";
  if (isFlag ? field.checked : field.value) {
    given.set(key, isFlag ? "" : field.value);
  } else {
    given.delete(key);
  }
  const keys = [...fields.keys(), ...given.keys()].filter((one) => given.has(one));
  options.value = [...new Set(keys)].map((one) => (given.get(one) ? `${one}=${given.get(one)}` : one)).join(",");
}

/** A choice where the help lists a few, a text else. */
function makeField(key, allowed) {
  const attributes = { id: `camera-${key}`, "aria-describedby": `camera-hint-${key}`,
    onchange: () => takeField(key) };
  if (key === "match") {
    return element("input", { ...attributes, type: "checkbox" });
  }
  if (/ or \w+$/.test(allowed)) {
    return element("select", attributes, ...["", ...allowed.split(/, | or /)].map((one) => element("option", {}, one)));
  }
  return element("input", { ...attributes, type: "text", spellcheck: "false" });
}

/** @param {string} help lines of key, what is allowed, what it is, two blanks or more between them */
function makeForm(help) {
  for (const line of help.split("\n")) {
    const [key, allowed, meaning] = line.trim().split(/ {2,}/);
    if (!meaning || key === "scene") {
      continue;
    }
    const field = makeField(key, allowed);
    const hint = key === "match" ? meaning : `${allowed}: ${meaning}`;
    fields.set(key, field);
    form.append(element("label", { for: field.id }, key), field, element("span", { class: "hint",
      id: `camera-hint-${key}` }, hint));
  }
}

function show(json) {
  if (fields.size === 0) {
    makeForm(json.help);
  }
  options.value = json.options;
  showOptions();
  scene.replaceChildren(...json.scenes.map((name) => element("option", { value: name }, name)));
  scene.value = json.scene || json.scenes[0];
}

export function panel() {
  const connect = element("button", { class: "main", id: "camera-connect" }, "Connect");
  connect.addEventListener("click", busy(connect, async () => {
    show(await post("/api/camera", { options: options.value, scene: scene.value }));
    say("The camera is connected.");
  }));
  options.addEventListener("change", showOptions);
  scene.addEventListener("change", () => connect.click());
  const file = fileInput({ accept: ".png,.tif,.tiff", "aria-label": "Picture to show the camera" },
    async (chosen) => show(await put("/api/scene", chosen)));
  window.addEventListener("loaded", () => attempt(async () => show(await get("/api/camera"))));
  return [
    element("div", { class: "row" }, element("label", {}, "scene ", scene)),
    element("div", { class: "row" }, element("label", {}, "picture of yours ", file)),
    element("h2", {}, "Camera"),
    element("div", { class: "row" }, element("label", {}, "options ", options), connect),
    form,
  ];
}

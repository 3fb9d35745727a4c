// The shading wizard: black, grey, compute, before and after.

import { getBlob, post } from "./api.js";
import { busy, byId, element, short } from "./ui.js";

const maps = {
  offset: element("canvas", { class: "map", role: "img", hidden: true, "aria-label": "Map of the offsets" }),
  gain: element("canvas", { class: "map", role: "img", hidden: true, "aria-label": "Map of the gains" }),
};
const outcome = { black: element("p", { role: "status", class: "hint" }, "not taken yet"),
  gray: element("p", { role: "status", class: "hint" }, "not taken yet"),
  compute: element("div", { role: "status" }) };
const frames = element("input", { type: "number", min: 1, max: 100, value: 8, id: "shading-frames" });

async function showMap(kind) {
  const bitmap = await createImageBitmap(await getBlob(`/api/shading/map?kind=${kind}`));
  const canvas = maps[kind];
  [canvas.width, canvas.height] = [bitmap.width, bitmap.height];
  canvas.getContext("2d").drawImage(bitmap, 0, 0);
  canvas.hidden = false;
}

function warnings(list) {
  return list.map((text) => element("p", { class: "problem" }, text));
}

function reference(kind, title, hint) {
  const button = element("button", { id: `take-${kind}` }, title);
  button.addEventListener("click", busy(button, async () => {
    outcome[kind].textContent = "taking pictures …";
    try {
      const taken = await post(`/api/shading/${kind}`, { frames: Number(frames.value) });
      outcome[kind].replaceChildren(`${taken.frames} pictures averaged, ${taken.width} × ${taken.height}: ` +
        `${short(taken.minimum)} to ${short(taken.maximum)}, mean ${short(taken.mean)}`, ...warnings(taken.warnings));
      byId("compute-shading").disabled = false;
    } catch (error) {
      outcome[kind].textContent = "not taken";
      throw error;
    }
  }));
  return element("li", {}, button, element("p", { class: "hint" }, hint), outcome[kind]);
}

function residual(title, one) {
  const percent = (value) => element("td", { class: "number" }, `${value.toFixed(3)} %`);
  return element("tr", {}, element("th", { scope: "row" }, title), percent(one.nonUniformityPercent),
    percent(one.noisePercent), element("td", { class: "number" }, one.mean.toFixed(1)));
}

function computeStep() {
  const mode = element("select", { id: "shading-mode" },
    ...[["FG_MAX_VALUE", "brightest becomes the reference"], ["FG_MEAN_VALUE", "mean becomes the reference"],
      ["FG_MAX_RANGE", "full scale"], ["FG_CUSTOM_VALUE", "grey level"]]
      .map(([name, text]) => element("option", { value: name, selected: name === "FG_MEAN_VALUE" }, text)));
  const level = element("input", { type: "number", min: 0, max: 4095, step: "any", value: 2048, "aria-label": "Grey level",
    disabled: true });
  mode.addEventListener("change", () => { level.disabled = mode.value !== "FG_CUSTOM_VALUE"; });
  const dead = element("input", { type: "checkbox" });
  const threshold = element("input", { type: "number", min: 0, max: 4095, value: 400, id: "shading-threshold" });
  const button = element("button", { class: "main", id: "compute-shading", disabled: true }, "Compute and switch on");
  button.addEventListener("click", busy(button, async () => {
    outcome.compute.textContent = "computing …";
    try {
      const answer = await post("/api/shading/compute", { mode: mode.value, normalization: Number(level.value),
        deadPixels: dead.checked, threshold: Number(threshold.value) });
      outcome.compute.replaceChildren(element("table", { id: "residual" },
        element("thead", {}, element("tr", {}, element("td", {}), element("th", { scope: "col" }, "non-uniformity"),
          element("th", { scope: "col" }, "noise"), element("th", { scope: "col" }, "mean"))),
        element("tbody", {}, residual("before", answer.before), residual("after", answer.after))),
      element("p", {}, `${answer.defects} defective pixels`), ...warnings(answer.warnings));
    } catch (error) {
      outcome.compute.textContent = "not computed";
      throw error;
    }
    await Promise.all(Object.keys(maps).map(showMap));
  }));
  const off = element("button", {}, "Switch off");
  off.addEventListener("click", busy(off, () => post("/api/shading/off")));
  return element("li", {}, element("div", { class: "row" }, element("label", {}, "gains: ", mode), level),
    element("div", { class: "row" }, element("label", {}, dead, " replace dead pixels,"),
      element("label", {}, "threshold ", threshold)), element("div", { class: "row" }, button, off), outcome.compute);
}

export function panel() {
  return [
    element("div", { class: "row" }, element("label", {}, "Pictures to average ", frames)),
    element("ol", { class: "steps" },
      reference("black", "Take black", "The lens is covered: the virtual camera looks at black meanwhile."),
      reference("gray", "Take grey", "An even grey, neither dark nor saturated: the virtual camera looks at one meanwhile."),
      computeStep()),
    element("h2", {}, "Offsets"), maps.offset, element("h2", {}, "Gains"), maps.gain,
  ];
}

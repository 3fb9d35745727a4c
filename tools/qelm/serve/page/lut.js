// The lookup table: a plot with points to drag, the processor's sliders, files.

import { download, get, getBlob, post, put } from "./api.js";
import { parameter, set, take, watch } from "./parameters.js";
import { attempt, byId, colour, element, fileInput, latest, prepareCanvas } from "./ui.js";

const last = 4095;
const plot = element("canvas", { class: "plot", tabindex: "0", role: "application",
  "aria-label": "Lookup table, input to the right and output upwards: drag a point; arrow keys choose and move one" });
const type = element("output", { "aria-label": "What makes the table" });
let values = null;
let points = []; // [input, output], the ends included
let held = -1;

const piecewise = () => {
  const table = new Array(last + 1);
  for (let i = 0; i + 1 < points.length; ++i) {
    const [[x0, y0], [x1, y1]] = [points[i], points[i + 1]];
    for (let x = x0; x <= x1; ++x) {
      table[x] = Math.round(y0 + ((y1 - y0) * (x - x0)) / Math.max(1, x1 - x0));
    }
  }
  return table;
};

const resetPoints = () => {
  const inputs = [0, 585, 1170, 1755, 2340, 2925, 3510, last];
  points = inputs.map((input) => [input, values[input]]);
};

function draw() {
  const { context, width, height } = prepareCanvas(plot);
  if (!values) {
    return;
  }
  const x = (input) => (input / last) * (width - 12) + 6;
  const y = (output) => height - 6 - (output / last) * (height - 12);
  context.strokeStyle = colour("grid");
  for (let i = 0; i <= 8; ++i) {
    const at = (i * last) / 8;
    context.beginPath();
    context.moveTo(x(at), y(0));
    context.lineTo(x(at), y(last));
    context.moveTo(x(0), y(at));
    context.lineTo(x(last), y(at));
    context.stroke();
  }
  context.strokeStyle = colour("plot");
  context.lineWidth = 1.5;
  context.beginPath();
  values.forEach((output, input) => (input === 0 ? context.moveTo(x(0), y(output)) : context.lineTo(x(input), y(output))));
  context.stroke();
  points.forEach(([input, output], i) => {
    context.fillStyle = i === held ? colour("problem") : colour("plot");
    context.beginPath();
    context.arc(x(input), y(output), i === held ? 6 : 4, 0, 2 * Math.PI);
    context.fill();
  });
}

const load = latest(async () => {
  if (byId("panel-lut")?.hidden !== false || held >= 0) {
    return;
  }
  values = (await get("/api/lut")).values;
  resetPoints();
  draw();
});

const send = latest(async () => {
  values = piecewise();
  draw();
  take((await post("/api/lut", { first: 0, values })).changed);
});

function tableAt(event) {
  const box = plot.getBoundingClientRect();
  return { input: ((event.clientX - box.left - 6) / (box.width - 12)) * last,
    output: Math.round(Math.min(last, Math.max(0, ((box.bottom - 6 - event.clientY) / (box.height - 12)) * last))) };
}

function nearest(event) {
  const { input } = tableAt(event);
  let best = 0;
  points.forEach((point, i) => {
    if (Math.abs(point[0] - input) < Math.abs(points[best][0] - input)) {
      best = i;
    }
  });
  return best;
}

plot.addEventListener("pointerdown", (event) => {
  if (values) {
    plot.setPointerCapture(event.pointerId);
    held = nearest(event);
    draw();
  }
});
plot.addEventListener("pointermove", (event) => {
  if (held >= 0 && event.buttons) {
    points[held][1] = tableAt(event).output;
    send();
  }
});
plot.addEventListener("pointerup", () => {
  held = -1;
  draw();
});
plot.addEventListener("keydown", (event) => {
  if (!values) {
    return;
  }
  const step = event.shiftKey ? 256 : 32;
  if (event.key === "ArrowLeft" || event.key === "ArrowRight") {
    held = (held + (event.key === "ArrowRight" ? 1 : points.length - 1) + (held < 0 ? points.length : 0)) % points.length;
    draw();
  } else if (held >= 0 && (event.key === "ArrowUp" || event.key === "ArrowDown")) {
    points[held][1] = Math.min(last, Math.max(0, points[held][1] + (event.key === "ArrowUp" ? step : -step)));
    send();
  } else {
    return;
  }
  event.preventDefault();
});
plot.addEventListener("blur", () => {
  held = -1;
  draw();
});

const sliders = [
  ["FG_PROCESSING_OFFSET", "offset", -1024, 1024, 1],
  ["FG_PROCESSING_GAIN", "gain", 0, 8, 0.01],
  ["FG_PROCESSING_GAMMA", "gamma", 0.1, 5, 0.01],
];

const change = latest(async (settings) => {
  const processor = parameter("FG_LUT_TYPE")?.valueName === "LUT_TYPE_PROCESSING" ? {}
    : { FG_LUT_TYPE: "LUT_TYPE_PROCESSING" };
  if (await set({ ...processor, ...settings })) {
    load();
  }
});

function slider([name, title, minimum, maximum, step]) {
  const range = element("input", { type: "range", id: `slider-${name}`, min: minimum, max: maximum, step,
    oninput: () => change({ [name]: Number(range.value) }) });
  const exact = element("input", { type: "number", step: "any", "aria-label": `${title}, exactly`,
    onchange: () => change({ [name]: Number(exact.value) }) });
  watch(name, (one) => {
    if (document.activeElement !== range) {
      range.value = one.value;
    }
    exact.value = one.value;
  });
  return element("div", { class: "row" }, element("label", { for: range.id }, title), range, exact);
}

export function panel() {
  const invert = element("input", { type: "checkbox",
    onchange: () => change({ FG_PROCESSING_INVERT: invert.checked ? "FG_ON" : "FG_OFF" }) });
  watch("FG_PROCESSING_INVERT", (one) => { invert.checked = one.valueName === "FG_ON"; });
  watch("FG_LUT_TYPE", (one) => {
    type.textContent = one.entries?.find((entry) => entry.name === one.valueName)?.text ?? "";
    load();
  });
  const file = fileInput({ accept: ".lut", "aria-label": "Table file to load" }, async (chosen) => {
    take((await put("/api/lut/file", chosen)).changed);
    load();
  });
  window.addEventListener("panel", (event) => event.detail === "lut" && load());
  window.addEventListener("theme", draw);
  window.addEventListener("changed", (event) => {
    if (event.detail.origin.includes("lookup table") || event.detail.origin.includes("PROCESSING")) {
      load();
    }
  });
  new ResizeObserver(draw).observe(plot);
  return [
    element("div", { class: "row" }, "Made by: ", type),
    plot,
    element("h2", {}, "Processor"),
    ...sliders.map(slider),
    element("div", { class: "row" }, element("label", {}, invert, " invert")),
    element("p", { class: "hint" }, "Sliders make the table by the processor; a dragged point makes it a table of its own."),
    element("h2", {}, "File"),
    element("div", { class: "row" }, element("label", {}, "Load ", file),
      element("button", { onclick: () => attempt(async () => download(await getBlob("/api/lut/file"), "table.lut")) },
        "Save")),
  ];
}

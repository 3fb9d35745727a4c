// The trigger unit: signals of the last moments, pulses on inputs, the software trigger, events.

import { download, get, getBlob, post } from "./api.js";
import { attempt, busy, byId, colour, element, latest, prepareCanvas, short } from "./ui.js";

const plot = element("canvas", { class: "plot timing", role: "img", "aria-label": "Timing of the trigger unit" });
const span = element("select", { "aria-label": "Time shown", onchange: () => draw() },
  ...[["1 ms", 1e3], ["10 ms", 1e4], ["100 ms", 1e5], ["1 s", 1e6], ["5 s", 5e6], ["20 s", 2e7]]
    .map(([text, value]) => element("option", { value, selected: value === 1e6 }, text)));
const all = element("input", { type: "checkbox", onchange: () => draw() });
const events = element("div", { class: "list", role: "log", tabindex: "0", "aria-label": "Events" });
const outcome = element("span", { class: "hint", role: "status" });
let shown = false;

const number = (label, id, value, minimum, maximum) => element("label", {}, `${label} `,
  element("input", { type: "number", id, value, min: minimum, max: maximum }));

function drawSignals(json) {
  const { context, width, height } = prepareCanvas(plot);
  const signals = json.signals.filter((signal) => all.checked || signal.changes.length > 1 ||
    signal.name === "camera control 0");
  const left = 118;
  const axis = 20;
  const rowHeight = Math.min(30, (height - axis) / Math.max(1, signals.length));
  const time = json.to - json.from;
  const x = (at) => left + ((at - json.from) / Math.max(1e-9, time)) * (width - left - 4);
  context.font = "11px sans-serif";
  context.textBaseline = "middle";
  // A grid of round times, counted back from now.
  const rough = time / 5 || 1;
  const power = 10 ** Math.floor(Math.log10(rough));
  const step = [1, 2, 5, 10].map((factor) => factor * power).find((size) => size >= rough);
  for (let back = 0; back <= time; back += step) {
    const at = x(json.to - back);
    context.strokeStyle = colour("grid");
    context.beginPath();
    context.moveTo(at, 0);
    context.lineTo(at, height - axis);
    context.stroke();
    context.fillStyle = colour("faint");
    const text = back === 0 ? "now" : `−${back >= 1e6 ? `${short(back / 1e6)} s` : back >= 1e3 ? `${short(back / 1e3)} ms`
      : `${short(back)} µs`}`;
    const wide = context.measureText(text).width;
    context.fillText(text, Math.min(width - wide - 2, Math.max(left, at - wide / 2)), height - axis / 2);
  }
  signals.forEach((signal, row) => {
    const top = row * rowHeight + 4;
    const bottom = (row + 1) * rowHeight - 3;
    context.fillStyle = colour("text");
    context.fillText(signal.name, 4, (top + bottom) / 2, left - 10);
    const most = signal.isLevel ? 1 : Math.max(1, ...signal.changes.map((change) => change[1]));
    const y = (value) => bottom - (value / most) * (bottom - top);
    context.strokeStyle = signal.isLevel ? colour("plot") : colour("changed");
    context.beginPath();
    signal.changes.forEach(([at, value], i) => {
      if (i === 0) {
        context.moveTo(x(at), y(value));
      } else {
        context.lineTo(x(at), y(signal.changes[i - 1][1]));
        context.lineTo(x(at), y(value));
      }
    });
    context.lineTo(x(json.to), y(signal.changes.at(-1)[1]));
    context.stroke();
  });
}

const draw = latest(async () => {
  if (shown) {
    drawSignals(await get(`/api/signals?last=${span.value}`));
  }
});

/** Twice a second, with the statistics. */
export const tick = () => draw();

export function showEvents(json) {
  const lines = json.events.map((event) => `${(event.microseconds / 1e3).toFixed(3)} ms  ${event.name}`).reverse();
  if (json.dropped) {
    lines.push(`(${json.dropped} more)`);
  }
  events.textContent = `${lines.join("\n")}\n${events.textContent}`.slice(0, 12000);
}

export function panel() {
  const send = element("button", { class: "main" }, "Send pulses");
  send.addEventListener("click", busy(send, async () => {
    const value = (id) => Number(byId(id).value);
    const answer = await post("/api/pulses", { pin: value("pulse-pin"), count: value("pulse-count"),
      width: value("pulse-width"), period: value("pulse-period") });
    outcome.textContent = `until ${(answer.microseconds / 1e6).toFixed(3)} s of the board's time`;
  }));
  const software = element("button", {}, "Software trigger");
  software.addEventListener("click", busy(software, () => post("/api/trigger")));
  window.addEventListener("panel", (event) => {
    shown = event.detail === "trigger";
    draw();
  });
  window.addEventListener("theme", () => draw());
  return [
    element("div", { class: "row" }, "Last ", span, element("label", {}, all, " all signals"),
      element("button", { onclick: () => attempt(saveDiagram) }, "Save as SVG")),
    plot,
    element("h2", {}, "Pulses on an input"),
    element("div", { class: "row" }, number("input", "pulse-pin", 0, 0, 7), number("pulses", "pulse-count", 1, 1, 1000)),
    element("div", { class: "row" }, number("width", "pulse-width", 100, 1, 999999), "µs",
      number("period", "pulse-period", 1000, 2, 1000000), "µs"),
    element("div", { class: "row" }, send, software, outcome),
    element("h2", {}, "Events"),
    events,
  ];
}

async function saveDiagram() {
  download(await getBlob(`/api/signals.svg?last=${span.value}`), "timing.svg");
}

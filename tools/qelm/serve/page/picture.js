// The live picture: zoom and pan, window and level, read-out, region and line drawn with the mouse.

import { get, post } from "./api.js";
import { attempt, byId, latest, prepareCanvas, short } from "./ui.js";

const canvas = byId("picture");
const overlay = byId("overlay");
const stage = byId("stage");
const largestZoom = 32;

let frame = null; // the JSON of the newest one
let values = null; // its values, of the view
const bitmap = document.createElement("canvas");
let pixels = null; // the bitmap's ImageData

// What is seen: the picture's point at the middle of the stage, and screen pixels per picture pixel; zoom 0 fits.
let centre = null;
let zoom = 0;
let display = { low: 0, high: 255, automatic: false, falseColours: false, marks: false };
let shades = null; // colour by value
let stream = 0;
let drag = null;
let line = null; // of the profile
let onRegion = () => {};
let onProfile = () => {};
let regionSteps = { x: 1, y: 1, width: 1, height: 1, minimumWidth: 1, minimumHeight: 1 };

const size = () => ({ width: stage.clientWidth, height: stage.clientHeight });
const devicePixels = () => window.devicePixelRatio || 1;

function fitZoom() {
  const { width, height } = size();
  return frame ? Math.min(width / frame.width, height / frame.height) : 1;
}

function scale() {
  return zoom || fitZoom();
}

function middle() {
  return zoom && centre ? centre : { x: frame.width / 2, y: frame.height / 2 };
}

const toScreen = (point) => {
  const { width, height } = size();
  return { x: (point.x - middle().x) * scale() + width / 2, y: (point.y - middle().y) * scale() + height / 2 };
};

const toPicture = (point) => {
  const { width, height } = size();
  return { x: (point.x - width / 2) / scale() + middle().x, y: (point.y - height / 2) / scale() + middle().y };
};

/** The part of the picture that is seen, in whole pixels. */
function seen() {
  const { width, height } = size();
  const first = toPicture({ x: 0, y: 0 });
  const last = toPicture({ x: width, y: height });
  const x = Math.max(0, Math.floor(first.x));
  const y = Math.max(0, Math.floor(first.y));
  return { x, y, width: Math.max(1, Math.min(frame.width, Math.ceil(last.x)) - x),
    height: Math.max(1, Math.min(frame.height, Math.ceil(last.y)) - y) };
}

const sendView = latest(async () => {
  if (!stream || !frame) {
    return;
  }
  const part = seen();
  const factor = Math.min(1, scale() * devicePixels());
  await post(`/api/view/${stream}`, {
    ...part, outWidth: Math.max(1, Math.round(part.width * factor)),
    outHeight: Math.max(1, Math.round(part.height * factor)), reduce: byId("reduce").value,
  });
});

function viewChanged() {
  byId("zoom-value").textContent = `${short(Number((scale() * 100).toPrecision(3)))} %`;
  draw();
  sendView();
}

// Colours

/** Blue, cyan, green, yellow, red. */
function rainbow(share) {
  const channel = (centre) => Math.round(255 * Math.min(1, Math.max(0, 1.5 - Math.abs(4 * share - centre))));
  return [channel(3), channel(2), channel(1)];
}

function makeShades() {
  const full = frame.full;
  shades = new Uint32Array(full + 1);
  const span = Math.max(1, display.high - display.low);
  for (let value = 0; value <= full; ++value) {
    const share = Math.min(1, Math.max(0, (value - display.low) / span));
    let rgb = display.falseColours ? rainbow(share) : Array(3).fill(Math.round(255 * share));
    if (display.marks && value <= display.low) {
      rgb = [30, 60, 255];
    } else if (display.marks && value >= display.high) {
      rgb = [255, 40, 30];
    }
    shades[value] = 0xff000000 | (rgb[2] << 16) | (rgb[1] << 8) | rgb[0];
  }
}

function paint() {
  const { outWidth, outHeight } = frame.view;
  if (!pixels || pixels.width !== outWidth || pixels.height !== outHeight) {
    bitmap.width = outWidth;
    bitmap.height = outHeight;
    pixels = new ImageData(outWidth, outHeight);
  }
  const out = new Uint32Array(pixels.data.buffer);
  for (let i = 0; i < out.length; ++i) {
    out[i] = shades[values[i]];
  }
  bitmap.getContext("2d").putImageData(pixels, 0, 0);
}

function draw() {
  if (!frame) {
    return;
  }
  const { context } = prepareCanvas(canvas);
  const part = frame.view;
  const corner = toScreen(part);
  context.imageSmoothingEnabled = scale() * devicePixels() < 1;
  context.drawImage(bitmap, corner.x, corner.y, part.width * scale(), part.height * scale());
  drawOverlay();
}

function drawOverlay() {
  const { context } = prepareCanvas(overlay);
  const shape = drag?.shape ?? (line && byId("tool").value === "profile" ? { line } : null);
  if (!shape) {
    return;
  }
  context.lineWidth = 1.5;
  context.strokeStyle = "#ffd23f";
  if (shape.line) {
    const [from, to] = shape.line.map((point) => toScreen({ x: point.x + 0.5, y: point.y + 0.5 }));
    context.beginPath();
    context.moveTo(from.x, from.y);
    context.lineTo(to.x, to.y);
    context.stroke();
  } else {
    const corner = toScreen(shape.region);
    context.strokeRect(corner.x, corner.y, shape.region.width * scale(), shape.region.height * scale());
    context.fillStyle = "#ffd23f";
    context.font = "12px sans-serif";
    context.fillText(`${shape.region.width} × ${shape.region.height}`, corner.x + 4, corner.y - 4);
  }
}

// Display

function setDisplay(changes) {
  display = { ...display, ...changes };
  byId("low").value = display.low;
  byId("high").value = display.high;
  if (frame) {
    makeShades();
    paint();
    draw();
  }
}

function applyAutomatic(histogram) {
  // A thousandth at either end does not count.
  const ignored = histogram.pixels / 1000;
  let below = 0;
  let low = 0;
  for (; low < histogram.counts.length - 1 && below + histogram.counts[low] <= ignored; ++low) {
    below += histogram.counts[low];
  }
  let above = 0;
  let high = histogram.counts.length - 1;
  for (; high > low && above + histogram.counts[high] <= ignored; --high) {
    above += histogram.counts[high];
  }
  setDisplay({ low: low * histogram.step, high: Math.max(high * histogram.step, low * histogram.step + histogram.step) });
}

// Read-out

let pointer = null;
const readOut = latest(async () => {
  if (!pointer || !frame) {
    return;
  }
  const at = toPicture(pointer);
  const x = Math.floor(at.x);
  const y = Math.floor(at.y);
  if (x < 0 || y < 0 || x >= frame.width || y >= frame.height) {
    byId("readout").textContent = "–";
    return;
  }
  const pixel = await get(`/api/pixel?x=${x}&y=${y}`);
  byId("readout").textContent = `x ${pixel.x}  y ${pixel.y}  value ${pixel.value} of ${pixel.full}` +
    ` (${pixel.bits} bits, picture ${pixel.frame})`;
  await new Promise((resume) => setTimeout(resume, 60));
});

// Mouse and keys

const snap = (value, step) => Math.round(value / step) * step;

function regionOf(start, end) {
  const x = Math.max(0, Math.min(start.x, end.x));
  const y = Math.max(0, Math.min(start.y, end.y));
  const right = Math.min(frame.width, Math.max(start.x, end.x));
  const bottom = Math.min(frame.height, Math.max(start.y, end.y));
  const s = regionSteps;
  const left = snap(x, s.x);
  const top = snap(y, s.y);
  return { x: left, y: top,
    width: Math.max(s.minimumWidth, Math.min(snap(right - left, s.width), frame.width - left)),
    height: Math.max(s.minimumHeight, Math.min(snap(bottom - top, s.height), frame.height - top)) };
}

function place(event) {
  const box = canvas.getBoundingClientRect();
  return { x: event.clientX - box.left, y: event.clientY - box.top };
}

const pixelAt = (point) => {
  const at = toPicture(point);
  return { x: Math.min(frame.width - 1, Math.max(0, Math.floor(at.x))),
    y: Math.min(frame.height - 1, Math.max(0, Math.floor(at.y))) };
};

function zoomTo(wanted, point) {
  const fixed = toPicture(point);
  zoom = Math.min(largestZoom, Math.max(fitZoom() / 4, wanted));
  const { width, height } = size();
  centre = { x: fixed.x - (point.x - width / 2) / zoom, y: fixed.y - (point.y - height / 2) / zoom };
  viewChanged();
}

function panBy(x, y) {
  const from = middle();
  zoom = scale();
  centre = { x: from.x + x / zoom, y: from.y + y / zoom };
  viewChanged();
}

canvas.addEventListener("pointerdown", (event) => {
  if (!frame) {
    return;
  }
  canvas.setPointerCapture(event.pointerId);
  drag = { tool: byId("tool").value, start: place(event), last: place(event), shape: null };
});
canvas.addEventListener("pointermove", (event) => {
  pointer = place(event);
  readOut();
  if (!drag) {
    return;
  }
  if (drag.tool === "pan") {
    panBy(drag.last.x - pointer.x, drag.last.y - pointer.y);
  } else if (drag.tool === "region") {
    drag.shape = { region: regionOf(toPicture(drag.start), toPicture(pointer)) };
  } else {
    drag.shape = { line: [pixelAt(drag.start), pixelAt(pointer)] };
  }
  drag.last = pointer;
  drawOverlay();
});
canvas.addEventListener("pointerup", () => {
  const done = drag;
  drag = null;
  if (done?.shape?.region) {
    onRegion(done.shape.region);
  } else if (done?.shape?.line) {
    line = done.shape.line;
    onProfile(line);
  }
  drawOverlay();
});
canvas.addEventListener("pointercancel", () => {
  drag = null;
  drawOverlay();
});
canvas.addEventListener("wheel", (event) => {
  event.preventDefault();
  if (frame) {
    zoomTo(scale() * 1.25 ** (event.deltaY < 0 ? 1 : -1), place(event));
  }
}, { passive: false });
canvas.addEventListener("keydown", (event) => {
  if (!frame) {
    return;
  }
  const { width, height } = size();
  const steps = { ArrowLeft: [-40, 0], ArrowRight: [40, 0], ArrowUp: [0, -40], ArrowDown: [0, 40] };
  if (steps[event.key]) {
    panBy(...steps[event.key]);
  } else if (event.key === "+" || event.key === "-") {
    zoomTo(scale() * 1.25 ** (event.key === "+" ? 1 : -1), { x: width / 2, y: height / 2 });
  } else if (event.key === "0") {
    byId("fit").click();
  } else {
    return;
  }
  event.preventDefault();
});

byId("fit").addEventListener("click", () => {
  zoom = 0;
  centre = null;
  viewChanged();
});
byId("actual").addEventListener("click", () => {
  const { width, height } = size();
  zoomTo(1 / devicePixels(), { x: width / 2, y: height / 2 });
});
byId("reduce").addEventListener("change", () => sendView());
byId("full").addEventListener("click", () => setDisplay({ low: 0, high: frame?.full ?? 255 }));
byId("auto").addEventListener("click", () => attempt(async () => applyAutomatic(await get("/api/histogram"))));
for (const id of ["low", "high"]) {
  byId(id).addEventListener("change", () => {
    const low = Number(byId("low").value);
    setDisplay({ low, high: Math.max(low + 1, Number(byId("high").value)) });
  });
}
byId("false-colours").addEventListener("change", (event) => setDisplay({ falseColours: event.target.checked }));
byId("marks").addEventListener("change", (event) => setDisplay({ marks: event.target.checked }));
byId("tool").addEventListener("change", drawOverlay);
new ResizeObserver(() => viewChanged()).observe(stage);

// For the page

export function streamOpened(number) {
  stream = number;
  sendView();
}

const latencies = [];
/** Milliseconds from a frame's being ready to its being drawn, of the last 600: for measurements. */
window.qelmLatencies = latencies;

/** A frame of the stream; it is drawn with the screen's next picture, and the next one asked for then. */
export function showFrame(json, data) {
  const isOther = !frame || frame.width !== json.width || frame.height !== json.height || frame.full !== json.full;
  const fullChanged = !frame || frame.full !== json.full;
  frame = json;
  values = data;
  byId("empty").hidden = true;
  if (fullChanged) {
    setDisplay({ low: 0, high: json.full });
  } else {
    paint();
  }
  requestAnimationFrame(() => {
    draw();
    latencies.push(performance.timeOrigin + performance.now() - json.ready);
    if (latencies.length > 600) {
      latencies.shift();
    }
    post(`/api/credit/${stream}`).catch(() => {}); // the stream tells of a lost server
  });
  if (isOther) {
    viewChanged();
  }
}

/** Line profile of the newest frame, while one is shown. */
export const profileLine = () => (byId("tool").value === "profile" ? line : null);
export const whenRegion = (action) => { onRegion = action; };
export const whenProfile = (action) => { onProfile = action; };
export const setRegionSteps = (steps) => { regionSteps = { ...regionSteps, ...steps }; };
export const frameSize = () => (frame ? { width: frame.width, height: frame.height } : null);

// Histogram and line profile.

import { get } from "./api.js";
import { byId, colour, latest, prepareCanvas, short } from "./ui.js";

let histogram = null;

function drawHistogram() {
  const { context, width, height } = prepareCanvas(byId("histogram"));
  if (!histogram) {
    return;
  }
  // A column holds several values: the largest count of them, so that single peaks show.
  const columns = Math.max(1, Math.min(Math.floor(width), histogram.counts.length));
  const tops = new Float64Array(columns);
  histogram.counts.forEach((count, i) => {
    const column = Math.min(columns - 1, Math.floor((i * columns) / histogram.counts.length));
    tops[column] = Math.max(tops[column], count);
  });
  const shape = byId("logarithmic").checked ? (count) => Math.log1p(count) : (count) => count;
  const most = Math.max(1e-9, ...tops.map(shape));
  context.fillStyle = colour("plot");
  tops.forEach((count, column) => {
    if (count > 0) {
      const bar = Math.max(1, (shape(count) / most) * (height - 3));
      context.fillRect((column * width) / columns, height - bar, Math.max(1, width / columns), bar);
    }
  });
}

export function showHistogram(json) {
  histogram = json;
  drawHistogram();
  byId("histogram-text").textContent =
    `minimum ${json.minimum}  maximum ${json.maximum}  mean ${json.mean.toFixed(2)}  of ${json.full}; ` +
    `${json.saturated} of ${json.pixels} pixels saturated`;
  byId("histogram-text").classList.toggle("problem", json.saturated > 0);
}

byId("logarithmic").addEventListener("change", drawHistogram);
new ResizeObserver(drawHistogram).observe(byId("histogram"));

export const showProfile = latest(async (line) => {
  byId("profile-figure").hidden = !line;
  if (!line) {
    return;
  }
  const [from, to] = line;
  const profile = await get(`/api/profile?x0=${from.x}&y0=${from.y}&x1=${to.x}&y1=${to.y}`);
  const { context, width, height } = prepareCanvas(byId("profile"));
  context.strokeStyle = colour("plot");
  context.beginPath();
  profile.values.forEach((value, i) => {
    const x = (i / Math.max(1, profile.values.length - 1)) * (width - 2) + 1;
    const y = height - 2 - (value / profile.full) * (height - 4);
    if (i === 0) {
      context.moveTo(x, y);
    } else {
      context.lineTo(x, y);
    }
  });
  context.stroke();
  byId("profile-text").textContent = `(${from.x}, ${from.y}) to (${to.x}, ${to.y}): ` +
    `${Math.min(...profile.values)} to ${Math.max(...profile.values)}, mean ` +
    short(profile.values.reduce((sum, value) => sum + value, 0) / profile.values.length);
});

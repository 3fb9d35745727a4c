// The page: panels, header, and who gets which record of the stream.

import { download, follow, get, getBlob, post, postForBlob } from "./api.js";
import * as camera from "./camera.js";
import * as configuration from "./configuration.js";
import * as lut from "./lut.js";
import * as parameters from "./parameters.js";
import * as picture from "./picture.js";
import { showHistogram, showProfile } from "./plots.js";
import * as shading from "./shading.js";
import * as trigger from "./trigger.js";
import { attempt, busy, byId, element, say, short } from "./ui.js";

const panels = [
  ["parameters", "Parameters", parameters.panel],
  ["trigger", "Trigger", trigger.panel],
  ["lut", "Lookup table", lut.panel],
  ["shading", "Shading", shading.panel],
  ["configuration", "Configurations", configuration.panel],
  ["camera", "Camera", camera.panel],
];

function select(name) {
  for (const [id] of panels) {
    const isIt = id === name;
    const tab = byId(`tab-${id}`);
    tab.setAttribute("aria-selected", String(isIt));
    tab.tabIndex = isIt ? 0 : -1;
    byId(`panel-${id}`).hidden = !isIt;
  }
  sessionStorage.setItem("qelm-panel", name);
  window.dispatchEvent(new CustomEvent("panel", { detail: name }));
}

for (const [id, title, make] of panels) {
  const tab = element("button", { role: "tab", id: `tab-${id}`, "aria-controls": `panel-${id}`,
    onclick: () => select(id) }, title);
  byId("tabs").append(tab);
  byId("panels").append(element("div", { role: "tabpanel", id: `panel-${id}`, "aria-labelledby": `tab-${id}` }, ...make()));
}
byId("tabs").addEventListener("keydown", (event) => {
  const move = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
  if (move) {
    const at = panels.findIndex(([id]) => document.activeElement.id === `tab-${id}`);
    const [next] = panels[(at + move + panels.length) % panels.length];
    select(next);
    byId(`tab-${next}`).focus();
  }
});
const remembered = sessionStorage.getItem("qelm-panel");
select(panels.some(([id]) => id === remembered) ? remembered : "parameters");

// Light and dark

const setTheme = (theme) => {
  document.documentElement.dataset.theme = theme;
  window.dispatchEvent(new CustomEvent("theme"));
};
setTheme(localStorage.getItem("qelm-theme") ?? (matchMedia("(prefers-color-scheme: dark)").matches ? "dark" : "light"));
byId("theme").addEventListener("click", () => {
  const theme = document.documentElement.dataset.theme === "dark" ? "light" : "dark";
  localStorage.setItem("qelm-theme", theme);
  setTheme(theme);
});

// Time

function showTime(time) {
  byId("pause").setAttribute("aria-pressed", String(time.paused));
  byId("pause").textContent = time.paused ? "Run" : "Pause";
  byId("step").disabled = !time.paused;
  byId("factor").value = String(time.factor);
  const slow = !time.paused && time.achieved > 0 && time.achieved < 0.9 * time.factor;
  byId("time").textContent = `${(time.microseconds / 1e6).toFixed(1)} s` +
    (slow ? ` (× ${time.achieved.toFixed(2)})` : "");
  byId("time").classList.toggle("problem", slow);
}
const setTime = (change) => attempt(async () => showTime(await post("/api/time", change)));
byId("pause").addEventListener("click", () => setTime({ paused: byId("pause").getAttribute("aria-pressed") !== "true" }));
byId("step").addEventListener("click", () => setTime({ step: Number(byId("step-length").value) }));
byId("factor").addEventListener("change", () => setTime({ factor: Number(byId("factor").value) }));

// Pictures

for (const format of ["png", "tiff"]) {
  const button = byId(`snapshot-${format}`);
  button.setAttribute("aria-label", `Snapshot as ${format.toUpperCase()}`);
  button.addEventListener("click", busy(button, async () =>
    download(await getBlob(`/api/snapshot?format=${format}`), `snapshot.${format}`)));
}
byId("record").addEventListener("click", busy(byId("record"), async () =>
  download(await postForBlob("/api/record", { frames: Number(byId("record-count").value) }), "frames.tiff")));

picture.whenRegion(async (region) => {
  const offset = (name) => parameters.parameter(name)?.value ?? 0;
  const x = offset("FG_XOFFSET") + region.x;
  const y = offset("FG_YOFFSET") + region.y;
  // The part lies inside the region in force: offsets are made small first, then sizes fit, then the offsets.
  await parameters.set({ FG_WIDTH: region.width, FG_HEIGHT: region.height, FG_XOFFSET: x, FG_YOFFSET: y });
});
picture.whenProfile(showProfile);
byId("tool").addEventListener("change", () => showProfile(picture.profileLine()));
for (const [name, key, least] of [["FG_WIDTH", "width", "minimumWidth"], ["FG_HEIGHT", "height", "minimumHeight"],
  ["FG_XOFFSET", "x"], ["FG_YOFFSET", "y"]]) {
  parameters.watch(name, (one) => picture.setRegionSteps({ [key]: one.increment || 1,
    ...(least ? { [least]: one.minimum } : {}) }));
}

// The stream

let revision = null;

async function load() {
  const [board, list] = await Promise.all([get("/api/board"), get("/api/parameters")]);
  byId("title").textContent = `${board.applet.name} ${board.applet.version}`;
  document.title = `${board.applet.name} – qelm`;
  showTime(board.time);
  parameters.show(list.parameters);
  revision = list.revision;
  window.dispatchEvent(new CustomEvent("loaded"));
}

follow({
  connected() {
    byId("banner").hidden = true;
    attempt(load);
  },
  lost(reason) {
    byId("banner").textContent = `${reason} What is shown is old; trying again.`;
    byId("banner").hidden = false;
  },
  hello(json) {
    picture.streamOpened(json.stream);
  },
  frame: picture.showFrame,
  statistics(json) {
    byId("rate").textContent = json.framesPerSecond.toFixed(1);
    byId("lost").textContent = short(json.lost ?? 0);
    byId("lost").classList.toggle("problem", json.lost > 0);
    byId("fill").textContent = json.fillLevel === null ? "–" : `${json.fillLevel} %`;
    byId("queue").textContent = short(json.queue);
    showTime(json.time);
    byId("empty").textContent = json.problem || "No picture yet";
    const warning = [json.problem, json.warning].filter(Boolean).join(" ");
    byId("warning").hidden = !warning;
    byId("warning").textContent = warning;
    if (json.histogram) {
      showHistogram(json.histogram);
    }
    showProfile(picture.profileLine());
    trigger.tick();
  },
  parameters(json) {
    if (json.revision !== revision && json.origin) {
      revision = json.revision;
    }
    parameters.take(json.changed);
    parameters.showWrites(json);
    window.dispatchEvent(new CustomEvent("changed", { detail: json }));
  },
  events: trigger.showEvents,
  log(json) {
    say(json.text, json.level === "problem");
  },
});

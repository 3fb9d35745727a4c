// The virtual board's camera and what it looks at.

import { get, post, put } from "./api.js";
import { attempt, busy, element, say } from "./ui.js";

const options = element("input", { type: "text", id: "camera-options", spellcheck: "false" });
const scene = element("select", { id: "camera-scene" });
const help = element("pre", { class: "list", tabindex: "0" });

function show(json) {
  options.value = json.options;
  scene.replaceChildren(...json.scenes.map((name) => element("option", { value: name }, name)));
  scene.value = json.scene || json.scenes[0];
  help.textContent = json.help;
}

export function panel() {
  const connect = element("button", { class: "main" }, "Connect");
  connect.addEventListener("click", busy(connect, async () => {
    show(await post("/api/camera", { options: options.value, scene: scene.value }));
    say("The camera is connected.");
  }));
  scene.addEventListener("change", () => connect.click());
  const file = element("input", { type: "file", accept: ".png,.tif,.tiff", "aria-label": "Picture to show the camera",
    onchange: () => attempt(async () => {
      show(await put("/api/scene", file.files[0]));
      file.value = "";
    }) });
  window.addEventListener("loaded", () => attempt(async () => show(await get("/api/camera"))));
  return [
    element("div", { class: "row" }, element("label", {}, "scene ", scene)),
    element("div", { class: "row" }, element("label", {}, "picture of yours ", file)),
    element("h2", {}, "Camera"),
    element("div", { class: "row" }, element("label", {}, "options ", options), connect),
    element("h2", {}, "What the options are"),
    help,
  ];
}

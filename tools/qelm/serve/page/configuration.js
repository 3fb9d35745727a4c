// Configuration files: download, a look at a file before anything is applied, load.

import { download, getBlob, postFile, put } from "./api.js";
import { take } from "./parameters.js";
import { busy, element, fileInput, say } from "./ui.js";

let content = null;
const report = element("div", { role: "status", id: "configuration-report" });
const apply = element("button", { class: "main", disabled: true }, "Load into the board");

function list(title, lines, kind) {
  return lines.length === 0 ? [] : [element("h2", {}, title),
    element("ul", { class: kind }, ...lines.map((line) => element("li", {}, line)))];
}

function showReport(json) {
  const rows = json.differences.map((one) => element("tr", {}, element("th", { scope: "row" }, one.name),
    element("td", {}, String(one.now ?? "–")), element("td", {}, String(one.file ?? "–"))));
  report.replaceChildren(
    ...list("What a load would refuse, change or ignore", json.findings, "problem"),
    element("h2", {}, json.differences.length === 0 ? "No setting differs from what is in force"
      : "What differs from what is in force"),
    ...(rows.length === 0 ? [] : [element("table", {},
      element("thead", {}, element("tr", {}, ...["parameter", "now", "file"].map((text) => element("th", { scope: "col" }, text)))),
      element("tbody", {}, ...rows))]));
}

export function panel() {
  const save = element("button", {}, "Download the settings of now");
  save.addEventListener("click", busy(save, async () => download(await getBlob("/api/configuration"), "setup.kcf")));
  const choose = fileInput({ accept: ".kcf", id: "configuration-file", "aria-label": "Configuration file to look at" },
    async (chosen) => {
      content = chosen;
      apply.disabled = true;
      report.replaceChildren();
      const json = await postFile("/api/configuration/check", chosen);
      if (content === chosen) {
        showReport(json);
        apply.disabled = !json.loadable;
      }
    });
  apply.addEventListener("click", busy(apply, async () => {
    const answer = await put("/api/configuration", content);
    take(answer.changed);
    say(`Loaded: ${answer.changed.length} parameters are not as they were.`);
    report.replaceChildren(...list("What was refused, changed or ignored", answer.findings, "problem"));
  }));
  return [
    element("div", { class: "row" }, save),
    element("h2", {}, "Load a file"),
    element("div", { class: "row" }, element("label", {}, "File ", choose), apply),
    element("p", { class: "hint" }, "The file is tried on another board first. Nothing changes before it is loaded."),
    report,
  ];
}

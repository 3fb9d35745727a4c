// Small helpers for the page.

export const byId = (id) => document.getElementById(id);

/** Makes an element: element("button", { class: "small", onclick }, "Text", child, ...). */
export function element(name, attributes = {}, ...children) {
  const result = document.createElement(name);
  for (const [key, value] of Object.entries(attributes)) {
    if (key.startsWith("on")) {
      result.addEventListener(key.slice(2), value);
    } else if (value === true) {
      result.setAttribute(key, "");
    } else if (value !== false && value !== null && value !== undefined) {
      result.setAttribute(key, value);
    }
  }
  result.append(...children);
  return result;
}

/** A sentence for a few seconds; refusals stay longer. */
export function say(sentence, isProblem = false) {
  const line = element("p", { class: isProblem ? "problem" : "" }, sentence);
  const close = element("button", { "aria-label": "Close the message", onclick: () => line.remove() }, "×");
  line.append(close);
  byId("messages").append(line);
  setTimeout(() => line.remove(), isProblem ? 12000 : 4000);
  return line;
}

/** Runs what may be refused, and says the refusal. @returns what it returned, or undefined */
export async function attempt(action) {
  try {
    return await action();
  } catch (error) {
    say(error.message, true);
    return undefined;
  }
}

/**
 * An input that hands over the bytes of the file that is chosen, as they are now: what was looked at is what is sent
 * later, whatever becomes of the file. The same one can be chosen again, as when it has been mended.
 */
export function fileInput(attributes, take) {
  const input = element("input", { type: "file", ...attributes,
    onclick: () => { input.value = ""; },
    onchange: () => attempt(async () => input.files[0] && take(await contentOf(input.files[0]))) });
  return input;
}

async function contentOf(file) {
  try {
    return await file.arrayBuffer();
  } catch {
    throw new Error(`The file "${file.name}" cannot be read: it is gone, too large or not open to you.`);
  }
}

/** A handler that keeps its button disabled while it runs. */
export function busy(button, action) {
  return async () => {
    button.disabled = true;
    try {
      await attempt(action);
    } finally {
      button.disabled = false;
    }
  };
}

/** Lets one run at a time; of calls meanwhile the last one runs afterwards. */
export function latest(action) {
  let running = false;
  let waiting = null;
  return async (...args) => {
    if (running) {
      waiting = args;
      return;
    }
    running = true;
    try {
      for (let now = args; now; ) {
        waiting = null;
        await attempt(() => action(...now));
        now = waiting;
      }
    } finally {
      running = false;
    }
  };
}

/** A canvas' drawing context in CSS pixels, cleared, at the screen's resolution. */
export function prepareCanvas(canvas) {
  const scale = window.devicePixelRatio || 1;
  const { width, height } = canvas.getBoundingClientRect();
  const wanted = [Math.max(1, Math.round(width * scale)), Math.max(1, Math.round(height * scale))];
  if (canvas.width !== wanted[0] || canvas.height !== wanted[1]) {
    [canvas.width, canvas.height] = wanted;
  }
  const context = canvas.getContext("2d");
  context.setTransform(scale, 0, 0, scale, 0, 0);
  context.clearRect(0, 0, width, height);
  return { context, width, height };
}

export const colour = (name) => getComputedStyle(document.documentElement).getPropertyValue(`--${name}`).trim();

/** A value as people read it: of numbers few digits, no exponent for usual ones. */
export function short(value) {
  if (typeof value === "string") {
    return value;
  }
  if (value === null || value === undefined || Number.isNaN(value)) {
    return "–";
  }
  return Number.isInteger(value) ? String(value) : String(Number(value.toPrecision(6)));
}

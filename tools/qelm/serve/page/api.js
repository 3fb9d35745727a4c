// Requests to the server, and the stream of its records.

const tokenKey = "qelm-token";

/** The token of the address, kept for this tab; it leaves the address so that it is not copied by accident. */
function takeToken() {
  const fragment = location.hash.slice(1);
  if (/^[0-9a-f]{32}$/.test(fragment)) {
    sessionStorage.setItem(tokenKey, fragment);
    history.replaceState(null, "", location.pathname);
  }
  return sessionStorage.getItem(tokenKey) ?? "";
}

const token = takeToken();

/** A refusal: `details` as the server tells them. */
export class Refused extends Error {
  constructor(status, details) {
    super(details.sentence ?? `The server answered ${status}.`);
    this.status = status;
    this.details = details;
  }
}

async function send(method, path, options = {}) {
  const response = await fetch(path, {
    method, ...options, headers: { Authorization: `Bearer ${token}`, ...options.headers },
  }).catch((error) => {
    throw error instanceof TypeError ? new Error("The server does not answer.") : error;
  });
  if (!response.ok) {
    const text = await response.text();
    let details = { sentence: text.trim() };
    try {
      details = JSON.parse(text).error ?? details;
    } catch { /* a plain sentence */ }
    throw new Refused(response.status, details);
  }
  return response;
}

export const get = async (path) => (await send("GET", path)).json();
export const getBlob = async (path) => (await send("GET", path)).blob();

function postJson(path, body, signal) {
  return send("POST", path, { body: JSON.stringify(body), signal, headers: { "Content-Type": "application/json" } });
}
export const post = async (path, body = {}) => (await postJson(path, body)).json();
export const postForBlob = async (path, body = {}) => (await postJson(path, body)).blob();

async function sendFile(method, path, content) {
  return (await send(method, path, { body: content, headers: { "Content-Type": "application/octet-stream" } })).json();
}
export const put = (path, content) => sendFile("PUT", path, content);
export const postFile = (path, content) => sendFile("POST", path, content);

/** Offers a blob as a download. */
export function download(blob, name) {
  const link = document.createElement("a");
  link.href = URL.createObjectURL(blob);
  link.download = name;
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 10000);
}

/** Takes records out of the pieces in which they arrive. */
class Records {
  #pieces = [];
  #length = 0;

  add(piece) {
    this.#pieces.push(piece);
    this.#length += piece.length;
  }

  #joined() {
    if (this.#pieces.length > 1) {
      const all = new Uint8Array(this.#length);
      let at = 0;
      for (const piece of this.#pieces) {
        all.set(piece, at);
        at += piece.length;
      }
      this.#pieces = [all];
    }
    return this.#pieces[0];
  }

  /** @returns {{type: number, json: object, data: Uint16Array} | null} */
  next() {
    const header = 12;
    if (this.#length < header) {
      return null;
    }
    if (this.#pieces[0].length < header) {
      this.#joined();
    }
    const view = new DataView(this.#pieces[0].buffer, this.#pieces[0].byteOffset);
    const jsonLength = view.getUint32(4, true);
    const dataLength = view.getUint32(8, true);
    const total = header + jsonLength + dataLength;
    if (this.#length < total) {
      return null;
    }
    const bytes = this.#joined();
    const json = JSON.parse(new TextDecoder().decode(bytes.subarray(header, header + jsonLength)));
    const data = new Uint16Array(bytes.slice(header + jsonLength, total).buffer);
    this.#pieces = [bytes.subarray(total)];
    this.#length -= total;
    return { type: bytes[0], json, data };
  }
}

const recordNames = ["hello", "frame", "statistics", "parameters", "events", "log"];

/**
 * Keeps a stream open, again and again.
 *
 * @param {object} handlers by record name: (json, data); `connected` and `lost(reason)`
 */
export async function follow(handlers) {
  for (let pause = 500; ; pause = Math.min(pause * 2, 5000)) {
    let reason = "The connection to the server is lost.";
    try {
      const response = await send("GET", "/api/stream");
      const reader = response.body.getReader();
      const records = new Records();
      handlers.connected();
      pause = 500;
      for (;;) {
        const { done, value } = await reader.read();
        if (done) {
          break;
        }
        records.add(value);
        for (let record = records.next(); record; record = records.next()) {
          handlers[recordNames[record.type]]?.(record.json, record.data);
        }
      }
    } catch (error) {
      if (error instanceof Refused) {
        reason = error.message;
      }
    }
    handlers.lost(reason);
    await new Promise((resume) => setTimeout(resume, pause));
  }
}

// SPDX-License-Identifier: GPL-3.0-or-later
// The recorder beside which the walks run (./xp sandbox --panel --remote FILE), and a client of each front.
import { execFile } from "node:child_process";
import { createSocket } from "node:dgram";
import { readFileSync } from "node:fs";
import { connect } from "node:net";

const patience = 30_000;

export const address = readFileSync("/run/xp/panel.address", "utf8").trim();
export const token = readFileSync("/run/xp/panel.token", "utf8").trim();
/** A day from now: plans reach a year. */
export const tomorrow = new Date(Date.now() + 86_400_000).toISOString().slice(0, 10);
export const pause = (ms) => new Promise((resume) => setTimeout(resume, ms));

/** Asks until the answer is neither false nor nothing, and returns it. */
export async function until(what, ask, within = patience) {
  const end = Date.now() + within;
  for (;;) {
    const answer = await ask();
    if (answer) return answer;
    if (Date.now() > end) throw new Error(`${what}: did not come`);
    await pause(20);
  }
}

// (This fetch sends a header that else only browsers send: what they change, they change from the recorder's own page.)
export const http = (path, { method = "GET", headers = {}, body, own = true, page = true } = {}) =>
  fetch(new URL(path, address), { method, body, headers: { ...(page ? { Origin: new URL(address).origin } : {}), ...(own ? { Authorization: `Bearer ${token}` } : {}), ...headers } }).catch((error) => {
    throw new Error(`${method} ${path}: ${error.cause?.code ?? ""} ${error.cause?.message ?? error.message}`);
  });

/** What a shell says: { status, out } with the JSON that was printed. */
export const shell = (...words) =>
  new Promise((resume) => {
    execFile("xpctl", ["--json", ...words], { maxBuffer: 1 << 24 }, (error, out, err) => {
      const text = ((error && err.trim()) || out.trim() || err.trim()).split("\n").pop();
      let object = {};
      try {
        object = JSON.parse(text);
      } catch {
        object = { text };
      }
      resume({ status: error ? error.code : 0, object });
    });
  });

/** Lines over TCP, one answer each. */
export async function lines(port) {
  const socket = connect(port, "127.0.0.1");
  await new Promise((resume, fail) => socket.once("connect", resume).once("error", fail));
  let text = "";
  socket.on("data", (bytes) => (text += bytes));
  return {
    async ask(line) {
      text = "";
      socket.write(line + "\r\n");
      return until(`an answer to ${line}`, () => (text.endsWith("\r\n") ? text.trim() : null));
    },
    end: () => socket.destroy(),
  };
}

const padded = (text) => Buffer.concat([Buffer.from(text), Buffer.alloc(4 - (Buffer.byteLength(text) % 4))]);

/** Open Sound Control: only refusals are answered. */
export async function osc(port) {
  const socket = createSocket("udp4");
  await new Promise((resume) => socket.connect(port, "127.0.0.1", resume));
  const refusals = [];
  socket.on("message", (bytes) => {
    if (bytes.subarray(0, 11).toString() !== "/xp/refused") return;
    refusals.push(bytes.subarray(12).toString().split("\0").filter((word) => word && !word.startsWith(",")));
  });
  return {
    refusals,
    send: (verb, values) => socket.send(Buffer.concat([padded(`/xp/${verb}`), padded("," + "s".repeat(values.length)), ...values.map(padded)])),
    end: () => socket.close(),
  };
}

/** A 9-pin controller over TCP. */
export async function ninepin(port) {
  const socket = connect(port, "127.0.0.1");
  await new Promise((resume, fail) => socket.once("connect", resume).once("error", fail));
  let bytes = Buffer.alloc(0);
  socket.on("data", (more) => (bytes = Buffer.concat([bytes, more])));
  return {
    /** Command and data as they stand in a block, without count and sum; the reply likewise, in hexadecimal. */
    async ask(command, data = []) {
      bytes = Buffer.alloc(0);
      const block = [((command >> 8) & 0xf0) | data.length, command & 0xff, ...data];
      socket.write(Buffer.from([...block, block.reduce((sum, byte) => sum + byte, 0) & 0xff]));
      await until("a reply", () => bytes.length > 2 && bytes.length >= (bytes[0] & 15) + 3);
      return bytes.subarray(0, bytes.length - 1).toString("hex");
    },
    end: () => socket.destroy(),
  };
}

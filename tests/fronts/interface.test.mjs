// SPDX-License-Identifier: GPL-3.0-or-later
// Every path of openapi.json, asked with good and with bad arguments; what comes back is what the document says.
import assert from "node:assert/strict";
import { before, test } from "node:test";
import { Validator } from "@seriousme/openapi-schema-validator";
import Ajv from "ajv/dist/2020.js";
import WebSocket from "ws";
import { address, http, shell, tomorrow, until } from "./deck.mjs";

const json = "application/json";
const problem = "application/problem+json";
const document = await (await http("api/v1/openapi.json", { own: false })).json();
const ajv = new Ajv({ strict: false });
ajv.addSchema(document, "document");
const schemaAt = (...words) => ajv.getSchema("document#/" + words.map((word) => encodeURIComponent(word.replaceAll("~", "~0").replaceAll("/", "~1"))).join("/"));
const clip = "take_001.mov";

/** Asks and compares status, type and body with what the document has for this operation. */
async function ask(method, path, wanted, { at = path, query = {}, ...options } = {}) {
  const reply = await http(at.slice(1) + (Object.keys(query).length ? "?" + new URLSearchParams(query) : ""), { method: method.toUpperCase(), ...options });
  const what = `${method} ${at} ${JSON.stringify(query)}`;
  const body = Buffer.from(await reply.arrayBuffer());
  assert.ok([wanted].flat().includes(reply.status), `${what}: ${reply.status} ${body.subarray(0, 300)}`);
  const responses = document.paths[path]?.[method]?.responses;
  const declared = responses && (responses[reply.status] ? String(reply.status) : "default");
  const type = (reply.headers.get("content-type") ?? "").split(";")[0];
  if (declared && reply.status !== 204 && reply.status !== 304) {
    const types = Object.keys(responses[declared].content);
    assert.ok(types.some((one) => one.split(";")[0] === type), `${what}: ${type} is none of ${types}`);
    if (type.endsWith("json")) {
      const check = schemaAt("paths", path, method, "responses", declared, "content", type, "schema");
      assert.ok(check(JSON.parse(body)), `${what}: ${ajv.errorsText(check.errors)} in ${body.subarray(0, 500)}`);
    }
  }
  return type.endsWith("json") ? JSON.parse(body) : body;
}

before(async () => {
  const record = await shell("record", "--for", "2");
  assert.equal(record.status, 0, JSON.stringify(record));
});

test("an independent validator accepts the document", async () => {
  const result = await new Validator().validate(structuredClone(document));
  assert.ok(result.valid, JSON.stringify(result.errors));
});

// Good calls of the paths that are no verbs: what stands for the names in the path, the query, the body.
const good = {
  "get /api/v1/params/{name}": [{ at: "/api/v1/params/clip_base_name" }],
  "put /api/v1/params/{name}": [{ at: "/api/v1/params/clip_base_name", body: '{"value": "scene"}' }],
  "get /api/v1/params": [{}, { query: { word: "timecode" } }],
  "get /api/v1/clips": [{}, ...["index", "name", "frames", "date", "duration", "size"].map((sort) => ({ query: { sort, order: "desc", offset: 0, limit: 10, filter: "take" } }))],
  "get /api/v1/clips/{name}": [{ at: `/api/v1/clips/${clip}` }],
  "get /api/v1/clips/{name}/file": [{ at: `/api/v1/clips/${clip}/file` }, { at: `/api/v1/clips/${clip}/file`, headers: { Range: "bytes=10-19" }, wanted: 206 }],
  "get /api/v1/clips/{name}/thumbnail": [{ at: `/api/v1/clips/${clip}/thumbnail`, wanted: [200, 404] }],
  "get /api/v1/clips/{name}/frames/{frame}": [{ at: `/api/v1/clips/${clip}/frames/3` }],
  "post /api/v1/clips/{name}/{verb}": [{ at: `/api/v1/clips/${clip}/protect` }, { at: `/api/v1/clips/${clip}/unprotect` }, { at: `/api/v1/clips/${clip}/clip`, query: { wait: 0 }, wanted: 202 }],
  "get /api/v1/clips/{name}/waveform": [{ at: `/api/v1/clips/${clip}/waveform` }, { at: `/api/v1/clips/${clip}/waveform`, query: { columns: 10, from: 5, to: 20 } }],
  "get /api/v1/clips/{name}/proxy": [{ at: `/api/v1/clips/${clip}/proxy`, wanted: [200, 404] }],
  "put /api/v1/list": [{ body: `{"list": ["${clip}"]}` }, { body: '{"list": []}' }],
  "get /api/v1/scopes": [{ wanted: [200, 204] }],
  "post /api/v1/login": [{ body: '{"name": "nobody", "password": "wrong horse"}', wanted: 401 }],
};
const bad = {
  "get /api/v1/params/{name}": [{ at: "/api/v1/params/no_such", wanted: 404 }, { at: "/api/v1/params/..%2fx", wanted: 400 }],
  "put /api/v1/params/{name}": [
    { at: "/api/v1/params/no_such", body: '{"value": 1}', wanted: 404 },
    { at: "/api/v1/params/take_number", body: '{"value": -1}', wanted: 400 },
    { at: "/api/v1/params/take_number", body: "{", wanted: 400 },
    { at: "/api/v1/params/take_number", body: "{}", wanted: 400 },
    { at: "/api/v1/params/transport_status", body: '{"value": 1}', wanted: 409 },
    { at: "/api/v1/params/transport_command", body: '{"value": "record"}', wanted: 409 },
  ],
  "get /api/v1/clips": [{ sort: "colour" }, { order: "up" }, { limit: 1001 }, { offset: -1 }, { limit: "x" }].map((query) => ({ query, wanted: 400 })),
  "get /api/v1/clips/{name}": [{ at: "/api/v1/clips/none.mov", wanted: 404 }, { at: "/api/v1/clips/..%2fx", wanted: 400 }],
  "get /api/v1/clips/{name}/file": [{ at: "/api/v1/clips/none.mov/file", wanted: 404 }, { at: `/api/v1/clips/${clip}/file`, headers: { Range: "bytes=999999999999-" }, wanted: 416 }],
  "get /api/v1/clips/{name}/thumbnail": [{ at: "/api/v1/clips/none.mov/thumbnail", wanted: 404 }],
  "get /api/v1/clips/{name}/waveform": [{ at: "/api/v1/clips/none.mov/waveform", wanted: 404 }, ...[{ columns: 0 }, { columns: 2001 }, { from: -1 }].map((query) => ({ at: `/api/v1/clips/${clip}/waveform`, query, wanted: 400 })), { at: `/api/v1/clips/${clip}/waveform`, query: { from: 100000 }, wanted: 404 }],
  "get /api/v1/clips/{name}/frames/{frame}": [{ at: `/api/v1/clips/${clip}/frames/100000`, wanted: [404, 416] }, { at: `/api/v1/clips/${clip}/frames/x`, wanted: [400, 404] }],
  "post /api/v1/clips/{name}/{verb}": [{ at: `/api/v1/clips/${clip}/record`, wanted: 404 }, { at: "/api/v1/clips/none.mov/clip", wanted: 409 }, { at: `/api/v1/clips/${clip}/copy`, wanted: 400 }],
  "put /api/v1/list": [{ body: "[]", wanted: 400 }, { body: '{"list": "x"}', wanted: 400 }, { body: '{"list": []}', headers: { "If-Match": '"0"' }, wanted: 412 }],
  "post /api/v1/login": [{ wanted: 400 }, { body: "{", wanted: 400 }],
};
const streams = ["/api/v1/events", "/api/v1/pictures"];

const operations = Object.entries(document.paths).flatMap(([path, item]) => Object.entries(item).map(([method, operation]) => ({ path, method, operation, name: `${method} ${path}` })));
for (const { path, method, operation, name } of operations.filter((one) => !one.path.startsWith("/api/v1/transport/"))) {
  test(name, async () => {
    if (streams.includes(path)) return stream(path);
    for (const call of good[name] ?? [{}]) await ask(method, path, call.wanted ?? 200, call);
    for (const call of bad[name] ?? []) await ask(method, path, call.wanted, call);
    const at = (good[name] ?? [{}])[0].at ?? path;
    await ask("delete", path, 405, { at });
    await ask(method, path, 403, { at, headers: { Origin: "http://evil.example" }, body: (good[name] ?? [{}])[0].body });
    await ask(method, path, 401, { at, own: false, headers: { Authorization: "Bearer wrong" }, body: (good[name] ?? [{}])[0].body });
    if (operation.security) await ask(method, path, 401, { at, own: false, body: (good[name] ?? [{}])[0].body });
  });
}

/** Who reads slowly gets the newest pictures, whether he acknowledges what he has got or just does not read. */
test("a slow reader of pictures gets no old ones", async () => {
  const tickOf = (message) => Number(message.readBigInt64LE(8));
  const tickNow = async () => {
    const reply = await http("api/v1/picture.jpg");
    await reply.arrayBuffer(); // a body that is not read keeps its connection, of which there are so many for a peer
    return Number(reply.headers.get("x-tick"));
  };
  for (const acknowledges of [true, false]) {
    const got = [];
    const socket = new WebSocket(new URL(`api/v1/pictures${acknowledges ? "?acknowledge=1" : ""}`, address.replace("http", "ws")));
    socket.on("message", (message) => got.push(message));
    await until("two pictures", () => got.length >= 2);
    if (!acknowledges) socket.pause();
    const [seen, begin] = [got.length, tickOf(got.at(-1))];
    const now = await until("four seconds of others", async () => ((await tickNow()) > begin + 100 ? tickNow() : null));
    if (acknowledges) {
      assert.equal(got.length, 2);
      socket.send(JSON.stringify({ got: Number(got[1].readBigUInt64LE(104)) }));
    } else socket.resume();
    await until("one of now", () => tickOf(got.at(-1)) >= now);
    const old = got.slice(seen).filter((message) => tickOf(message) < now - 1);
    const bytes = old.reduce((sum, message) => sum + message.length, 0);
    assert.ok(acknowledges ? old.length === 0 : bytes < 512 * 1024, `${old.length} old pictures, ${bytes} bytes`);
    socket.terminate();
  }
});

/** By WebSocket; of events also as they come to curl. */
async function stream(path) {
  const url = new URL(path.slice(1), address.replace("http", "ws"));
  const socket = new WebSocket(url);
  const first = await new Promise((resume, fail) => socket.once("message", (data, isBinary) => resume({ data, isBinary })).once("error", fail));
  if (path.endsWith("pictures")) {
    assert.equal(first.data.readUInt16LE(0), 1);
    assert.equal(first.data.subarray(first.data.readUInt16LE(2)).subarray(0, 2).toString("hex"), "ffd8");
  } else {
    assert.equal(JSON.parse(first.data).type, "hello");
    // A message in parts, and one that is too large: answered or closed, never the end of the server.
    socket.send('{"type":', { fin: false });
    socket.send('"ping"}', { fin: true });
    socket.ping();
    await new Promise((resume) => socket.once("pong", resume));
    const closed = new Promise((resume) => socket.once("close", resume));
    socket.send("x".repeat(1 << 21), () => {});
    await closed;
  }
  socket.terminate();
  await assert.rejects(new Promise((resume, fail) => new WebSocket(url, { origin: "http://evil.example" }).once("open", resume).once("error", fail)));
  if (path.endsWith("events")) {
    const reply = await http(path.slice(1));
    assert.match(reply.headers.get("content-type"), /^text\/event-stream/);
    const reader = reply.body.getReader();
    // (In as many pieces as it comes.)
    for (let text = ""; !/data: /.test(text); ) {
      const { value, done } = await reader.read();
      assert.ok(!done, text);
      text += Buffer.from(value).toString();
    }
    await reader.cancel();
  }
  await ask("get", "/api/v1/me", 200);
}

// Verbs in an order in which each has something to do, with the answer that is right then.
const other = (await shell("media")).object.media.map((medium) => medium.path).find((path) => path !== "/media/A") ?? "/media/B";
const verbs = [
  ["record", {}, 200], ["stop", {}, 200], ["clip", { name: clip }, 200], ["play", { speed: 0.5 }, 200], ["still", {}, 200], ["step", { frames: 1 }, 200], ["cue", { where: 1 }, 200],
  ["next", {}, [200, 409]], ["prev", {}, 200],
  ["live", {}, 409], ["mark", { what: "in", where: 2 }, 200], ["marks", {}, 200], ["replay", {}, [200, 409]], ["unmark", { what: "all" }, 200], ["angle", { clip }, [200, 409]],
  ["schedule", { at: `${tomorrow}T10:00:00`, until: `${tomorrow}T10:10:00` }, 200], ["unschedule", { number: 1 }, [200, 409]], ["verify", { clip }, 200], ["export", { clip, to: "exported" }, [200, 409]], ["cancel", {}, 200],
  ["take_control", { seconds: 30 }, 200], ["release_control", {}, 200], ["lock", { seconds: 30 }, 200], ["unlock", {}, 200], ["local", {}, 200], ["remote", {}, 423],
  ["copy", { clip, medium: other }, 200], ["protect", { clip }, 200], ["unprotect", { clip }, 200], ["rename", { clip: "scene_002.mov", name: "other" }, [200, 409]],
  ["delete", { clip: "none.mov" }, 409], ["acknowledge", { alarm: "no_such" }, 409], ["shut_down", {}, 200],
];
test("every verb with good and bad arguments", async (whole) => {
  const paths = operations.filter((one) => one.path.startsWith("/api/v1/transport/")).map((one) => one.path.split("/").pop());
  assert.deepEqual([...paths].sort(), verbs.map(([verb]) => verb).sort(), "every verb of the document is walked");
  await ask("post", "/api/v1/transport/nonsense", 404);
  for (const [verb, query, wanted] of verbs)
    await whole.test(verb, async () => {
      const path = `/api/v1/transport/${verb}`;
      const wrong = (more) => ask("post", path, 400, { query: { ...query, ...more } });
      await wrong({ no_such: 1 });
      for (const { name, required, schema } of document.paths[path].post.parameters) {
        if (["wait", "force"].includes(name)) continue;
        if (required) await ask("post", path, 400, { query: Object.fromEntries(Object.entries(query).filter(([key]) => key !== name)) });
        if (schema.type === "string") continue;
        for (const value of ["x", "", schema.maximum + 1, schema.minimum - 1]) await wrong({ [name]: value });
      }
      await ask("post", path, 400, { body: "{" });
      await ask("post", path, 400, { body: JSON.stringify({ where: [1] }) });
      await ask("post", path, 401, { query, own: false });
      await ask("post", path, 403, { query, page: false });
      await ask("post", path, wanted, { query });
      if (verb === "remote") await shell("remote");
    });
  await until("503 while the daemon is away", async () => (await http("api/v1/transport/record", { method: "POST" })).status === 503);
  await ask("post", "/api/v1/transport/record", 503);
});

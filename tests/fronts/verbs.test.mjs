// SPDX-License-Identifier: GPL-3.0-or-later
// Every verb through every front, as /api/v1/verbs tells how each has it: the same effect, and the same refusal.
import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import { copyFileSync, existsSync, rmSync, statSync } from "node:fs";
import { after, before, test } from "node:test";
import { http, lines, ninepin, osc, pause, shell, tomorrow, until } from "./deck.mjs";

const rate = 25;
const first = "take_001.mov", second = "take_002.mov", spare = "/media/A/spare.mov", renamed = "/media/A/renamed.mov", exported = "/media/A/exported.mov";
const table = Object.fromEntries((await (await http("api/v1/verbs")).json()).verbs.map((verb) => [verb.name, verb]));
const state = async () => (await http("api/v1/state")).json();
const line = await lines(9993), looks = await lines(9994), fader = await osc(9000), controller = await ninepin(9901);

/** A form with its arguments filled in; what is not given is left out. */
function filled(form, given) {
  let text = form.replace(/ \[--[^\]]*\]/g, "").replace(/\[([A-Z_]+)\]/g, (whole, name) => given[name.toLowerCase()] ?? "");
  for (const [name, value] of Object.entries(given)) text = text.replace(new RegExp(`\\b${name.toUpperCase()}\\b`), value);
  return text.trim();
}

// How each front does a verb. What comes back is "done" or the code of the refusal; where a front does not say that it is
// done, the effect does. A shell has the sentence and no code: it is the one that HTTP had with its code.
let told = {};
const fronts = {
  http: async (verb, given) => {
    const [method, path] = filled(verb.forms.http, given).split(" ");
    told = await (await http(path.slice(1).replace(/[?&]\w+=[A-Z_]+/g, ""), { method })).json();
    return told.code;
  },
  shell: async (verb, given) => {
    const answer = await shell(...filled(verb.forms.shell, given).split(" ").slice(1));
    return answer.status === 0 ? "done" : answer.object.error && answer.object.error === told.detail ? told.code : (answer.object.error ?? answer.object.text);
  },
  line: async (verb, given) => (await line.ask(filled(verb.forms.line, given).replace(/( \w+: [A-Z_]+)+$/, ""))).replace(/^20\d .*/s, "done").replace(/^\d+ (\w+).*/s, "$1"),
  osc: async (verb, given, { holds }) => {
    fader.refusals.length = 0;
    fader.send(verb.name, verb.arguments.map(({ name }) => given[name]).filter((value) => value !== undefined).map(String));
    return until(`an effect or a refusal of ${verb.name}`, async () => fader.refusals[0]?.[1] ?? ((await holds()) ? "done" : null));
  },
  serial: async (verb, given, { holds, block }) => {
    const refusals = async () => (await (await http("metrics")).text()).match(/^xp_remote_refusals_total\{peer="tcp:9901 [^}]*} (\d+)/m)?.[1] ?? "0";
    const refused = await refusals();
    const reply = await controller.ask(...(await block(given)));
    if (reply.startsWith("1112")) return "refused";
    return until(`an effect or a refusal of ${verb.name}`, async () => ((await refusals()) !== refused ? "refused" : (await holds()) ? "done" : null));
  },
};

const is = (wanted) => async () => {
  const now = await state();
  return Object.entries(wanted).every(([name, value]) => (typeof value === "function" ? value(now[name]) : now[name] === value));
};
const ownedBy = (field) => (front) => is({ [field]: (hold) => hold?.front === front });
const go = (...commands) => async () => {
  for (const words of commands) {
    const done = await shell(...words.split(" "));
    assert.equal(done.status, 0, `${words}: ${JSON.stringify(done)}`);
  }
};
const isListed = (name) => async () => (await shell("clips")).object.clips.some((clip) => clip.name === name);
const makeSpare = async () => {
  rmSync(renamed, { force: true });
  if (!existsSync(spare)) copyFileSync(`/media/A/${first}`, spare);
  await until("the spare clip in the list", isListed("spare.mov"));
  await until("the media daemon has seen it", async () => (await shell("unprotect", "spare.mov")).status === 0);
};
const timecodeOf = async ({ where }) => {
  await go(`cue ${where}`)();
  const digits = (await state()).timecode.split(/[:;.]/).map((part) => parseInt(part, 16));
  await go("cue 0")();
  return [0x2031, digits.reverse()];
};

// Before: how the deck stands. Holds: the effect, of which `front` is asked. Block: as a controller has it.
const rows = {
  record: { before: go("stop"), holds: () => is({ status: "recording" }), block: () => [0x2002], after: go("stop", `clip ${first}`) },
  stop: { before: go("cue 0", "play 0.5"), holds: () => is({ status: "stopped" }), block: () => [0x2000] },
  play: { before: go("cue 0"), given: { speed: 1 }, holds: () => is({ status: "playing", speed: 1 }), block: () => [0x2001] },
  still: { before: go("cue 0", "play 0.5"), holds: () => is({ status: "still" }), block: () => [0x2013, [0]] },
  step: { before: go("cue 5"), given: { frames: 1 }, holds: () => is({ status: "still", frame: 6 }), block: () => [0x2014] },
  cue: { before: go("cue 0"), given: { where: 7 }, holds: () => is({ status: "still", frame: 7 }), block: timecodeOf },
  next: { before: go(`clip ${first}`, "cue 0"), holds: () => is({ clip: second }) },
  prev: { before: go(`clip ${second}`, "cue 0"), holds: () => is({ clip: first }) },
  clip: { before: go(`clip ${second}`), given: { name: first }, holds: () => is({ clip: first }) },
  live: { refusal: "nothing_grows", holds: () => () => false },
  replay: { before: go(`clip ${first}`, "mark in 0", "mark out 40"), given: { speed: 1 }, holds: () => is({ status: "playing", clip: first }), after: go("still", "unmark all") },
  angle: { before: go(`clip ${second}`, "cue 0"), given: { clip: first }, refusal: "outside", holds: () => () => false },
  mark: { before: go(`clip ${first}`, "unmark all"), given: { what: "in", where: 5 }, holds: () => async () => (await marks()).in?.frame === 5 },
  unmark: { before: go(`clip ${first}`, "mark in 5"), given: { what: "in" }, holds: () => async () => (await marks()).in === undefined },
  marks: { holds: () => () => true },
  schedule: { given: { at: `${tomorrow}T10:00:00`, until: `${tomorrow}T10:10:00` }, holds: () => async () => (await planned()).includes(tomorrow), after: unplan },
  unschedule: { before: go(`record --at ${tomorrow}T10:00:00 --until ${tomorrow}T10:10:00`), given: async () => ({ number: numberIn(await planned()) }), holds: () => async () => !(await planned()).includes(tomorrow) },
  verify: { given: { clip: first }, holds: () => () => true },
  export: { before: async () => (rmSync(exported, { force: true }), await noteOrder()), given: { clip: first, to: "exported.mov" }, holds: () => async () => existsSync(exported) && (await newOrder()).state === "done", after: () => rmSync(exported, { force: true }) },
  cancel: { before: noteOrder, holds: () => async () => /^nothing is copied/.test((await newOrder()).text) }, // its answer: nothing runs
  copy: { before: async () => rmSync(`/media/B/${first}`, { force: true }), given: { clip: first, medium: "/media/B" }, holds: () => () => existsSync(`/media/B/${first}`) },
  protect: { before: makeSpare, given: { clip: "spare.mov" }, holds: () => () => (statSync(spare).mode & 0o200) === 0, after: go("unprotect spare.mov") },
  unprotect: { before: async () => (await makeSpare(), await go("protect spare.mov")()), given: { clip: "spare.mov" }, holds: () => () => (statSync(spare).mode & 0o200) !== 0 },
  rename: { before: makeSpare, given: { clip: "spare.mov", name: "renamed.mov" }, holds: () => () => existsSync(renamed) && !existsSync(spare) },
  delete: { before: makeSpare, given: { clip: "spare.mov" }, holds: () => () => !existsSync(spare) },
  take_control: { given: { seconds: 20 }, holds: ownedBy("owner"), after: go("release-control --force") },
  release_control: { before: (front, own) => own("take_control", { seconds: 20 }, ownedBy("owner")(front)), holds: () => is({ owner: null }) },
  lock: { given: { seconds: 20 }, holds: ownedBy("lock"), after: go("unlock --force") },
  unlock: { before: (front, own) => own("lock", { seconds: 20 }, ownedBy("lock")(front)), holds: () => is({ lock: null }) },
  local: { holds: () => is({ mode: "local" }), after: go("remote") },
  remote: { before: go("remote"), holds: () => is({ mode: "remote" }) },
  acknowledge: { given: { alarm: "no_such_alarm" }, refusal: "no_alarm", holds: () => () => false },
  shut_down: { holds: () => is({ running: false }), after: startDaemon },
};

async function marks() {
  return (await (await http(`api/v1/clips/${first}`)).json()).marks;
}
/** How far the media daemon is with what has been ordered since noteOrder(): what is not over yet, the next test would meet. */
let lastOrder;
async function orderState() {
  return JSON.parse((await (await http("api/v1/params/media_order_state")).json()).value);
}
async function noteOrder() {
  lastOrder = (await orderState()).id;
}
async function newOrder() {
  const state = await orderState();
  return state.id === lastOrder ? {} : state;
}
async function planned() {
  return (await (await http("api/v1/params/record_schedule")).json()).value;
}
const numberIn = (schedule) => /^\d+/.exec(schedule)?.[0];
async function unplan() {
  await go(`schedule cancel ${numberIn(await planned())}`)();
}

async function startDaemon() {
  await until("the daemon's end", async () => !(await state()).running);
  await new Promise((resume, fail) => spawn("xpd", [], { stdio: "ignore" }).once("exit", resume).once("error", fail));
  await until("the daemon", is({ running: true, input_locked: true }));
}

before(async () => {
  await go("record --for 3", "record --for 3")();
  await until("two clips", isListed(second));
  assert.deepEqual(Object.keys(rows).sort(), Object.keys(table).sort(), "every verb is walked");
});
after(() => (line.end(), looks.end(), fader.end(), controller.end()));

for (const [name, row] of Object.entries(rows)) {
  test(`${name} has the same effect`, async () => {
    for (const front of Object.keys(fronts)) {
      if (front === "serial" && !row.block) continue;
      const own = async (verb, given, holds) => assert.equal(await fronts[front](table[verb], given, { holds }), "done", `${front}: ${verb}`);
      await row.before?.(front, own);
      const holds = row.holds(front);
      const given = typeof row.given === "function" ? await row.given() : (row.given ?? {});
      const answer = await fronts[front](table[name], given, { holds, block: row.block });
      assert.equal(answer, row.refusal ?? "done", front === "http" ? `http: ${told.detail}` : front);
      if (!row.refusal) await until(`${name} by ${front}`, holds, 5000);
      await row.after?.();
    }
  });
}

/** Each of these verbs by each front: refused with this code, and nothing is done. */
async function refusedBy(names, wanted, of = Object.keys(fronts)) {
  for (const name of names)
    for (const front of of) {
      const row = rows[name];
      if (front === "serial" && !row.block) continue;
      const block = name === "cue" ? () => [0x2031, [0, 0, 0, 0x10]] : row.block;
      const code = await fronts[front](table[name], row.given ?? {}, { holds: () => false, block });
      assert.equal(code, front === "serial" ? "refused" : wanted(name), `${name} by ${front}`);
    }
}
const moving = Object.keys(table).filter((name) => table[name].moves_transport);
const network = ["http", "line", "osc", "serial"];

test("somebody else is in control", async () => {
  await go("cue 0", "take-control 120")();
  await refusedBy(moving, () => "other_in_control", network);
  await go("release-control")();
  await line.ask("take_control: seconds: 120");
  await refusedBy(moving, () => "other_in_control", ["http", "shell", "osc", "serial"]);
  await go("release-control --force")();
  assert.ok(await is({ status: "still", frame: 0 })());
});

test("a take that runs is protected", async () => {
  await go("stop", "record")();
  await refusedBy(moving.filter((name) => table[name].refusals.includes("take_runs") && name !== "stop"), () => "take_runs", network);
  await refusedBy(["stop"], () => "not_your_take", network);
  const { dropped_capture: lost } = await state();
  await pause(1000 / rate);
  assert.ok(await is({ status: "recording", dropped_capture: lost })());
  await go("stop")();
});

test("who comes later takes over, and who waited is told by whom", async () => {
  const crawl = { speed: 0.01 }; // its first picture comes after four seconds
  await go("cue 5")();
  const byShell = fronts.shell(table.play, crawl);
  await until("the shell's play", is({ status: "playing" }));
  assert.equal(await fronts.http(table.still, {}), "done");
  assert.match(await byShell, /^still took over, by operator \(http/);
  const byHttp = fronts.http(table.play, crawl);
  await until("the play by HTTP", is({ status: "playing" }));
  assert.equal(await fronts.shell(table.still, {}), "done");
  assert.equal(await byHttp, "superseded");
  assert.ok(await is({ status: "still" })());
});

test("local keeps the others away", async () => {
  await go("local")();
  await refusedBy(moving, () => "switched_to_local", ["http", "line", "osc"]);
  assert.equal((await controller.ask(0x2001)).slice(0, 6), "111201");
  await go("remote")();
});

test("who may only look does nothing", async () => {
  for (const name of Object.keys(table)) assert.match(await looks.ask(filled(table[name].forms.line, typeof rows[name].given === "function" ? { number: 1 } : (rows[name].given ?? {})).replace(/( \w+: [A-Z_]+)+$/, "")), /^121 not_allowed/, name);
  assert.match(await looks.ask("ping"), /^200 ok/);
});

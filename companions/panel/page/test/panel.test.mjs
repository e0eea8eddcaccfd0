// SPDX-License-Identifier: GPL-3.0-or-later
// Walks through the panel in a real browser beside the real recorder.
import assert from "node:assert/strict";
import { execFileSync, spawn } from "node:child_process";
import { copyFileSync, existsSync, readFileSync, readdirSync } from "node:fs";
import { after, afterEach, before, beforeEach, test } from "node:test";
import { gzipSync } from "node:zlib";
import { address, key, open, shown, startBrowser, status, token, until, word, xpctl } from "./deck.mjs";
import { byKeys, byTouch, workEverything } from "./hands.mjs";

const axe = readFileSync(new URL("../node_modules/axe-core/axe.min.js", import.meta.url), "utf8");
const frames = (timecode) => timecode.split(/[:;]/).reduce((sum, part, i) => sum * [0, 60, 60, 25][i] + Number(part), 0);
const rate = 25;
let browser, page, restarted;

before(async () => {
  browser = await startBrowser();
});
// Every walk begins on a page of its own and a recorder at rest: one that stops half way takes no other with it.
beforeEach(async () => {
  await xpctl("unlock", "--force");
  await xpctl("remote");
  if ((await status()).status === "recording") await xpctl("stop");
  for (const name of ["audio_input", "audio_channels", "clip_base_name", "video_input"]) await xpctl("settings", "reset", name);
  page = await open(browser);
});
afterEach(async () => {
  const { complaints } = page;
  for (const context of browser.contexts()) await context.close();
  assert.deepEqual(complaints, []);
});
after(async () => {
  await browser?.close();
  restarted?.kill();
});

const becomes = (text) => until(`the word ${text}`, async () => (await word(page)) === text || undefined);
const held = async (button, ms) => {
  await button.dispatchEvent("pointerdown", { button: 0, pointerId: 1, isPrimary: true });
  await new Promise((resume) => setTimeout(resume, ms)); // what a finger does
  await button.dispatchEvent("pointerup", { button: 0, pointerId: 1, isPrimary: true });
};

test("a take is begun, watched, protected from a stray tap, and ended by holding", async () => {
  await becomes("Stopped");
  await key(page, "Record").click();
  await becomes("Recording");
  await until("the red border", async () => (await page.locator(".frame.recording").count()) === 1 || undefined);
  await until("the recorder says so too", async () => (await status()).status === "recording" || undefined);
  // The strip of the input counts with the frames of the timecode beside it: one picture is one moment.
  const stop = page.locator('xp-key[verb="stop"] button');
  const first = await shown(page);
  await until("two seconds of pictures", async () => frames((await shown(page)).timecode) > frames(first.timecode) + 2 * rate || undefined);
  const later = await shown(page);
  assert.ok(first.strip !== null && later.strip !== null);
  assert.equal(later.strip - first.strip, frames(later.timecode) - frames(first.timecode));
  await stop.evaluate(async (button) => {
    button.dispatchEvent(new PointerEvent("pointerdown", { button: 0, pointerId: 1, isPrimary: true, bubbles: true, composed: true }));
    button.dispatchEvent(new PointerEvent("pointerup", { button: 0, pointerId: 1, isPrimary: true, bubbles: true, composed: true }));
  });
  await until("the advice to hold", () => page.locator(".notice").textContent());
  await page.keyboard.press("s");
  await key(page, "Play").click();
  await until("the refusal", async () => /take|record/i.test(await page.locator(".notice").textContent()) || undefined);
  assert.equal((await status()).status, "recording");
  await held(stop, 1300);
  await becomes("Stopped");
});

test("what was recorded is played, jogged and cued, and the picture is the frame that is told", async () => {
  const clip = await xpctl("get", "current_clip");
  await key(page, "Play").click();
  await becomes("Playing");
  await key(page, "Still").click();
  await becomes("Still");
  const at = async (frame) => {
    await until(`frame ${frame}`, async () => (await shown(page)).frame === frame || undefined);
    return shown(page);
  };
  const field = page.locator("xp-transport input");
  await field.fill("#10");
  await field.press("Enter");
  const ten = await at(10);
  await page.locator("xp-jog svg").focus();
  await page.keyboard.press("ArrowRight");
  await page.keyboard.press("ArrowRight");
  const twelve = await at(12);
  assert.equal(twelve.strip - ten.strip, 2);
  assert.equal(frames(twelve.timecode) - frames(ten.timecode), 2);
  await page.locator("xp-jog svg").hover();
  await page.mouse.wheel(0, 120);
  await at(14);
  await page.mouse.wheel(0, -120);
  await at(12);
  await page.locator("body").click({ position: { x: 3, y: 3 } });
  await page.keyboard.press("Shift+ArrowRight");
  await at(22);
  await page.keyboard.press("ArrowLeft");
  const back = await at(21);
  await page.keyboard.press("c");
  await field.pressSequentially(ten.timecode.replaceAll(/\D/g, ""));
  await field.press("Enter");
  const cued = await at(10);
  assert.equal(cued.strip, ten.strip);
  assert.equal(back.strip - cued.strip, 11);
  await page.keyboard.press("l");
  await until("play by the keyboard", async () => (await status()).status === "playing" || undefined);
  await key(page, "Still").click();
  await becomes("Still");
  await page.keyboard.press("l");
  await until("play again, no faster for what was before", async () => (await status()).status === "playing" || undefined);
  assert.equal((await status()).speed, 1);
  await page.keyboard.press("k");
  await becomes("Still");
  await page.locator("xp-shuttle .track").hover();
  await page.mouse.down();
  await page.mouse.move(375, 620);
  await until("fast play while the shuttle is pulled", async () => (await status()).speed > 1 || undefined);
  await page.mouse.up();
  await becomes("Still");
  assert.match(await page.locator("xp-state .clip").textContent(), new RegExp(clip));
});

test("every control, by the keyboard alone and by a finger on a phone", async () => {
  for (const [hands, options] of [[byKeys, {}], [byTouch, { size: [360, 740], touch: true }]]) {
    const one = await open(browser, options);
    await workEverything(one, hands(one), { xpctl, key });
    assert.deepEqual(one.complaints, []);
    await one.context().close();
  }
});

test("each verb is done from its row, told as programs say it, and copied", async () => {
  await page.context().grantPermissions(["clipboard-read"]);
  await key(page, "Play").click({ button: "right" });
  await page.getByLabel("Speed").fill("0.5");
  const forms = { HTTP: "POST /api/v1/transport/play?speed=0.5", Line: "play: speed: 0.5", OSC: "/xp/play 0.5", Shell: "xpctl play 0.5" };
  for (const [front, text] of Object.entries(forms)) {
    await page.getByLabel(`Copy the ${front} form of play`).click();
    assert.equal(await page.evaluate(() => navigator.clipboard.readText()), text);
  }
  await page.locator("xp-verb xp-key button").click();
  await until("play at half the speed", async () => (await status()).speed === 0.5 || undefined);
  await page.getByRole("button", { name: "Close", exact: true }).click();
  await key(page, "Stop").click();
  await becomes("Stopped");
});

test("settings leave as text and come back, each seen by the recorder", async () => {
  await page.evaluate(() => (location.hash = "#/settings/clip_base_name"));
  const search = page.getByLabel("Search settings");
  await search.fill("clip_base_name");
  await page.getByLabel("clip base name").fill("session");
  await page.getByLabel("clip base name").press("Enter");
  await until("the setting", async () => (await xpctl("get", "clip_base_name")) === "session" || undefined);
  await search.fill("timecode_preset_hour");
  const hour = page.getByLabel("timecode preset hour");
  await until("the hour", async () => (await hour.inputValue()) !== "" || undefined);
  const before = await hour.inputValue();
  await hour.fill("99");
  await hour.press("Enter");
  await until("the refusal, at the setting", async () => /99|range|23/.test(await page.locator("#timecode_preset_hour [role=alert]").textContent()) || undefined);
  await until("what the recorder has", async () => (await hour.inputValue()) === before || undefined);
  await search.fill("clip_base_name");
  await page.getByRole("button", { name: "As text" }).click();
  const text = page.getByLabel("Settings as text");
  assert.match(await text.inputValue(), /^clip_base_name = session$/m);
  await text.fill("clip_base_name = other\nloop_playback = off\nno line of this kind");
  await page.getByRole("button", { name: "Set all of these" }).click();
  await until("both", async () => ((await xpctl("get", "clip_base_name")) === "other" && (await xpctl("get", "loop_playback")) === "off") || undefined);
  await page.getByRole("button", { name: "Set to default" }).click();
  await until("the default", async () => (await xpctl("get", "clip_base_name")) !== "other" || undefined);
  await search.fill("");
});

test("two browsers: one is in control, the other is told by whom it is refused", async () => {
  execFileSync("xppanel", ["user", "add", "anna", "--role", "operate"], { input: "correct horse battery\ncorrect horse battery\n" });
  const other = await open(browser, { hash: "#/control", withToken: false });
  await other.getByLabel("Account").fill("anna");
  await other.getByLabel("Password").fill("correct horse battery");
  await other.getByRole("button", { name: "Log in" }).click();
  await until("who one is", async () => /anna/.test(await other.locator("xp-login p").first().textContent()) || undefined);
  await page.evaluate(() => (location.hash = "#/control"));
  await page.getByRole("button", { name: "Take control", exact: true }).click();
  await until("the owner, seen by both", async () => !/everybody/.test(await other.locator("xp-health .cell").last().textContent()) || undefined);
  await other.keyboard.press("j");
  await until("the refusal, by whom", async () => /operator/i.test(await other.locator(".notice").textContent()) || undefined);
  await page.getByRole("button", { name: "Release control", exact: true }).click();
  await until("nobody in control", async () => /everybody/.test(await other.locator("xp-health .cell").last().textContent()) || undefined);
  await other.context().close();
});

test("panel, network and recorder go and come back without a reload, and nothing stale looks live", async () => {
  await page.evaluate(() => (globalThis.same = true));
  const stale = () => until("the banner", async () => (await page.locator(".banner").count()) === 1 || undefined);
  const live = () => until("pictures again", async () => ((await page.locator(".banner").count()) === 0 && !(await shown(page)).stale) || undefined);
  const panel = execFileSync("pgrep", ["-of", "^xppanel "], { encoding: "utf8" }).trim();
  // A network that says nothing any more: the sockets stay, nothing comes.
  execFileSync("kill", ["-STOP", panel]);
  await stale();
  await until("the timecode says so", async () => (await page.locator("xp-timecode .stale").count()) === 1 || undefined);
  await until("no key to record", async () => (await key(page, "Record").isDisabled()) || undefined);
  execFileSync("kill", ["-CONT", panel]);
  await live();
  execFileSync("ip", ["link", "set", "lo", "down"]); // the cut itself, in the sandbox's own network
  try {
    await stale();
    await until("ten seconds of it", async () => /for 1\d[.]\d s/.test(await page.locator(".banner").textContent()) || undefined);
    assert.equal((await shown(page)).stale, true);
  } finally {
    execFileSync("ip", ["link", "set", "lo", "up"]);
  }
  await live();
  execFileSync("kill", ["-KILL", panel]);
  await stale();
  restarted = spawn("xppanel", ["--listen", new URL(address).host], { stdio: "ignore" });
  await live();
  await page.evaluate(() => (location.hash = "#/control"));
  try {
    await held(page.locator('xp-control xp-key[verb="shut_down"] button'), 1300);
    await until("the banner of a recorder that is gone", async () => /not running/.test(await page.locator(".banner").textContent()) || undefined);
    assert.equal((await shown(page)).stale, true);
  } finally {
    spawn("xpd", { stdio: "ignore", detached: true }).unref();
  }
  await live();
  await key(page, "Record").click();
  await becomes("Recording");
  await held(page.locator('xp-transport xp-key[verb="stop"] button'), 1300);
  await becomes("Stopped");
  assert.equal(await page.evaluate(() => globalThis.same), true);
});

test("ten thousand clips of any name: scrolled within a frame's time, searched, dragged into the list", async () => {
  const odd = ['a "quoted" <b>name</b> & more.mov', 'a "quoted" & <b>bold.mov', "\u05e9\u05dc\u05d5\u05dd \u202eabc.mov", `${"x".repeat(251)}.mov`, "   .mov", "<img src=x onerror=alert(1)>.mov"];
  const names = [...odd, ...Array.from({ length: 10_000 - odd.length }, (_, i) => `clip_${String(i).padStart(5, "0")}.mov`)];
  const many = await open(browser, {
    prepare: (one) =>
      one.route(/\/clips\?/, (route) => {
        const offset = Number(new URL(route.request().url()).searchParams.get("offset"));
        const clips = names.slice(offset, offset + 1000).map((name, i) => ({ index: offset + i, name, frames: 250 }));
        return route.fulfill({ json: { total: names.length, offset, clips } });
      }),
  });
  await until("all of them", async () => /Search 10000/.test(await many.locator("xp-clips input").getAttribute("placeholder")) || undefined);
  const scroll = (steps) =>
    many.evaluate(async (count) => {
      const rows = document.querySelector("xp-panel").shadowRoot.querySelector("xp-column").shadowRoot.querySelector("xp-clips").shadowRoot.querySelector(".rows");
      for (let i = 0; i < count; ++i) {
        rows.scrollTop += 400;
        await new Promise(requestAnimationFrame);
      }
      return rows.querySelectorAll(".row").length;
    }, steps);
  await scroll(20);
  await browser.startTracing(many, { categories: ["toplevel", "devtools.timeline", "disabled-by-default-devtools.timeline"] });
  const rows = await scroll(120);
  const work = workOfFrames(JSON.parse(await browser.stopTracing()).traceEvents);
  const at = (share) => work[Math.floor(share * (work.length - 1))] / 1000;
  console.log(`10000 clips: ${rows} rows made, ${work.length} frames traced while scrolling, p50 ${at(0.5).toFixed(1)} ms, p95 ${at(0.95).toFixed(1)} ms of work each`);
  assert.ok(rows < 60 && work.length >= 100 && at(0.95) < 1000 / 60, `${rows} rows, ${work.length} frames, p95 ${at(0.95)} ms`);
  const search = many.locator("xp-clips input");
  await search.fill("<b>");
  await until("the one that is searched for", async () => (await many.locator("xp-clips .row").count()) === 2 || undefined);
  assert.ok((await many.locator("xp-clips .name").allTextContents()).includes(odd[0]));
  await search.fill(await xpctl("get", "current_clip"));
  await search.fill("");
  assert.deepEqual(many.complaints, []);
  await many.context().close();
  // Real ones of such names, to be opened; and by drag over the tab into the real list.
  await page.evaluate(() => (location.hash = "#/clips"));
  const clip = JSON.parse(await xpctl("clips", "--json")).clips[0].name;
  const medium = await xpctl("get", "active_media_path");
  const real = odd.filter((name) => !name.includes("/"));
  for (const name of real) copyFileSync(`${medium}/${clip}`, `${medium}/${name}`);
  for (const name of real) {
    await page.locator("xp-clips input").fill(name.slice(0, -4));
    await until(`the row of ${name}`, async () => (await page.locator("xp-clips .name").allTextContents()).includes(name) || undefined);
    await page.locator("xp-clips .row").nth((await page.locator("xp-clips .name").allTextContents()).indexOf(name)).dblclick();
    await until("it is on the deck", async () => (await xpctl("get", "current_clip")) === name.trim() || undefined);
    await until("its name", async () => (await page.locator("xp-state .clip").textContent()) === name || undefined);
  }
  await page.locator("xp-clips input").fill("");
  await page.locator("xp-clips .row", { hasText: clip }).hover();
  await page.mouse.down();
  await page.locator("#tab-list").hover();
  await page.locator("#tab-list").hover({ position: { x: 5, y: 9 } });
  await page.locator("xp-list .rows").hover();
  await page.locator("xp-list .rows").hover({ position: { x: 40, y: 40 } });
  await page.mouse.up();
  await until("the clip in the list", async () => (await xpctl("get", "play_list")).includes(clip) || undefined);
});

/** Microseconds of processor time that the page's own thread has worked for each frame of the trace, in order of size. */
function workOfFrames(events) {
  const frames = new Map();
  for (const one of events) if (one.name === "FireAnimationFrame") frames.set(`${one.pid}/${one.tid}`, [...(frames.get(`${one.pid}/${one.tid}`) ?? []), one.ts]);
  const [thread, times] = [...frames].sort((a, b) => b[1].length - a[1].length)[0];
  times.sort((a, b) => a - b);
  const sums = times.slice(1).map(() => 0);
  for (const task of events) {
    if (task.name !== "RunTask" || `${task.pid}/${task.tid}` !== thread) continue;
    const i = times.findLastIndex((at) => at <= task.ts + (task.dur ?? 0));
    if (i >= 0 && i < sums.length) sums[i] += task.tdur ?? 0;
  }
  return sums.sort((a, b) => a - b);
}

test("on a page of one's own the three elements belong to one frame", async () => {
  await xpctl("stop"); // the input moves by itself
  const context = await browser.newContext();
  const own = await context.newPage();
  await own.goto(`${address}example.html#token=${token()}`);
  const seen = () => own.evaluate(() => [document.querySelector("xp-timecode").value, document.querySelector("xp-meter").shadowRoot.querySelector("canvas").width, document.querySelector("#told output").textContent]);
  const first = await until("a picture", async () => ((await seen())[0].includes(":00") || (await seen())[0].match(/\d:\d/) ? seen() : undefined));
  await until("another frame", async () => (await seen())[2] !== first[2] || undefined);
  assert.ok(first[1] > 100);
  await context.close();
});

test("a part is marked by keys and by drag, replayed, and dragged into the list; each picture of the strip is its frame's", async () => {
  const [{ name: clip, frames: long }] = JSON.parse(await xpctl("clips", "--json")).clips.filter((one) => one.frames > 60).sort((a, b) => a.frames - b.frames);
  await xpctl("set", "playback_source", "current_clip");
  await until("the clip on the output", async () => (await xpctl("clip", clip), true));
  const marks = async () => page.evaluate(async (name) => (await (await fetch(`api/v1/clips/${name}`)).json()).marks, clip);
  await page.evaluate(() => (location.hash = "#/replay"));
  await page.locator("body").click({ position: { x: 3, y: 3 } });
  for (const [frame, press, mark] of [[10, "i", "in"], [40, "o", "out"]]) {
    await xpctl("cue", String(frame));
    await until(`frame ${frame}`, async () => (await shown(page)).frame === frame || undefined);
    await page.keyboard.press(press);
    await until(mark, async () => (await marks())[mark]?.frame === frame + (mark === "out" ? 1 : 0) || undefined);
  }
  await page.keyboard.press("m");
  await until("a point", async () => (await marks()).points?.[0]?.frame === 40 || undefined);
  const end = page.getByRole("slider", { name: "In", exact: true });
  await until("the end of the part where it is marked", async () => (await end.getAttribute("aria-valuenow")) === "10" || undefined);
  await end.focus();
  await page.keyboard.press("ArrowRight");
  await until("the next frame", async () => (await marks()).in.frame === 11 || undefined);
  const box = await end.boundingBox();
  await page.mouse.move(box.x + box.width / 2, box.y + box.height / 2);
  await page.mouse.down();
  await page.mouse.move(box.x + box.width / 2 + (12 * (await page.locator("xp-strip .strip").boundingBox()).width) / long, box.y + 20);
  await page.mouse.up();
  const moved = await until("in, moved", async () => ((await marks()).in.frame > 11 ? (await marks()).in.frame : undefined));
  await page.getByRole("button", { name: "¼× replay" }).click();
  await until("the part, at a quarter of the speed", async () => ((await page.locator("xp-state .speed").textContent({ timeout: 1000 })) === "0.25×" && (await shown(page)).frame >= moved) || undefined);
  await key(page, "Still").click();
  const strips = await page.evaluate(async (name) => {
    const read = async (frame) => {
      const image = await createImageBitmap(await (await fetch(`api/v1/clips/${name}/frames/${frame}`)).blob());
      const canvas = Object.assign(document.createElement("canvas"), { width: image.width, height: image.height });
      canvas.getContext("2d").drawImage(image, 0, 0);
      return [image.width, (await fetch(`api/v1/clips/${name}/frames/${frame + 1_000_000}`)).status, [...canvas.getContext("2d").getImageData(0, Math.round(image.height * 0.53), image.width, 1).data].filter((_, i) => i % 4 === 1).findIndex((one) => one > 225)];
    };
    return [await read(5), await read(30)];
  }, clip);
  assert.deepEqual(strips.map((one) => one.slice(0, 2)), [[192, 404], [192, 404]]);
  assert.ok(strips.every((one) => one[2] >= 0) && strips[0][2] !== strips[1][2], `the white square is at ${strips[0][2]} and ${strips[1][2]}`);
  await page.locator("xp-replay button.part").hover();
  await page.mouse.down();
  await page.locator("#tab-list").hover();
  await page.locator("#tab-list").hover({ position: { x: 5, y: 9 } });
  await page.locator("xp-list .rows").hover();
  await page.locator("xp-list .rows").hover({ position: { x: 40, y: 40 } });
  await page.mouse.up();
  await until("the part in the list", async () => (await xpctl("get", "play_list")).includes(`${clip}[${moved}-41)`) || undefined);
  await xpctl("unmark", "all");
  // Another camera's clip of the same time.
  const medium = await xpctl("get", "active_media_path");
  copyFileSync(`${medium}/${clip}`, `${medium}/angle.mov`);
  await xpctl("cue", "25");
  await page.evaluate(() => (location.hash = "#/replay"));
  await until("it, to be chosen", async () => (await page.locator("xp-replay #angle").locator("option").allTextContents()).includes("angle.mov") || undefined);
  const there = await shown(page);
  await page.locator("xp-replay #angle").selectOption("angle.mov");
  await page.getByRole("button", { name: "Same moment there" }).click();
  await until("the other clip", async () => (await xpctl("get", "current_clip")) === "angle.mov" || undefined);
  await until("the same moment", async () => (await shown(page)).frame === 25 || undefined);
  assert.deepEqual(await shown(page), there);
});

test("a proxy is made, told with its clip, and seen in the browser", async () => {
  const one = await open(browser, { hash: "#/clips" });
  const name = `watched_${Date.now()}`;
  await xpctl("set", "clip_base_name", name);
  await xpctl("record", "--for", "3");
  const row = one.locator("xp-clips .row", { hasText: name });
  await row.click();
  await one.getByRole("button", { name: "Watch…" }).click();
  await one.getByRole("button", { name: "Make a proxy" }).click();
  const film = one.locator("xp-watch video");
  await film.waitFor({ timeout: 120_000 }).catch(async (error) => {
    throw new Error(`${error.message}; the media daemon: ${await xpctl("get", "media_order_state")}; the page: ${await one.locator("xp-clips .foot").innerText()}`);
  });
  const at = await film.evaluate((video) => new Promise((resume, fail) => {
    const seek = () => ((video.onseeked = () => resume(video.currentTime)), (video.currentTime = 2));
    video.addEventListener("error", () => fail(new Error(video.error.message)));
    video.readyState > 0 ? seek() : (video.onloadedmetadata = seek);
  }));
  assert.ok(Math.abs(at - 2) < 0.1, `${at} s`);
  await until("the clip with its proxy, in one row", async () => ((await row.count()) === 1 && /with proxy/.test(await row.textContent())) || undefined);
  assert.deepEqual(one.complaints, []);
  await one.context().close();
});

test("a take is planned, told and taken out; an input without a signal is said", async () => {
  const one = await open(browser);
  await one.evaluate(() => (location.hash = "#/media"));
  const [from, until_] = [one.getByLabel("From", { exact: true }), one.getByLabel("Until", { exact: true })];
  const day = new Date(Date.now() + 200 * 86_400_000).toISOString().slice(0, 10);
  await from.fill(`${day}T10:00:00`);
  await until_.fill(`${day}T10:00:30`);
  await one.getByRole("button", { name: "Plan take" }).click();
  await until("the take", async () => new RegExp(`${day} 10:00:00 to 10:00:30`).test(await one.locator("xp-schedule .take").textContent()) || undefined);
  assert.match(await xpctl("schedule"), new RegExp(`${day} 10:00:00`));
  await one.getByRole("button", { name: /out of the schedule/ }).click();
  await until("no take", async () => (await one.locator("xp-schedule .take").count()) === 0 || undefined);
  await xpctl("stop"); // a clip on the output is a picture
  await xpctl("set", "video_input", "input_2");
  await until("the words", async () => (await one.locator(".nosignal").count()) === 1 || undefined);
  await xpctl("set", "video_input", "input_1");
  await until("the picture alone", async () => (await one.locator(".nosignal").count()) === 0 || undefined);
  assert.deepEqual(one.complaints, []);
  await one.context().close();
});

test("on the wall two recorders begin with the same frame, and one works while the other is down", async () => {
  const statuses = async () => Promise.all(["1", "2"].map(async (channel) => JSON.parse(await xpctl("--channel", channel, "status", "--json")).status));
  const both = (wanted) => until(`both ${wanted}`, async () => (await statuses()).every((one) => one === wanted) || undefined);
  await xpctl("record", "--for", "1");
  const wall = await open(browser);
  await wall.evaluate(() => (location.hash = "#/wall"));
  const tile = (name) => wall.locator(`xp-tile[name="${name}"]`);
  const all = wall.locator("xp-wall header xp-key button");
  for (const name of ["Channel 1", "Channel 2"]) await tile(name).getByLabel(`Gang ${name}`).check();
  await all.first().click();
  await both("recording");
  await until("the same first frame", async () => assert.match(await wall.locator("xp-wall header").textContent(), /same frame/) ?? true);
  await until("its timecode", async () => /^[\d:;]{11}$/.test(await tile("Channel 1").locator("xp-timecode span").first().textContent()) || undefined);
  assert.deepEqual(await axeOn(wall), []);
  await held(all.nth(1), 1300);
  await both("stopped");
  execFileSync("pkill", ["-f", "^xppanel --channel 2"]);
  await until("what is known of the second", async () => /does not run/.test(await tile("Channel 2").locator(".banner").textContent()) || undefined);
  assert.equal(await tile("Channel 2").locator("xp-key button").first().isDisabled(), true);
  await tile("Channel 1").locator('xp-key[verb="record"] button').click();
  await until("the take", async () => (await status()).status === "recording" || undefined);
  await held(tile("Channel 1").locator('xp-key[verb="stop"] button'), 1300);
  await until("its end", async () => (await status()).status === "stopped" || undefined);
  assert.deepEqual(wall.complaints, []);
});

test("what fails on the page or beside it leaves the transport alone", async () => {
  const one = await open(browser, {
    size: [360, 740],
    touch: true,
    prepare: async (page) => {
      await page.routeWebSocket(/\/pictures/, (socket) => socket.close()); // pictures then come as files
      await page.route(/\/params$/, (route) => route.fulfill({ json: { parameters: [{ name: 7 }] } }));
      await page.addInitScript(() => (Date.now = () => 86_400_000));
    },
  });
  await one.evaluate(() => (location.hash = "#/settings"));
  await until("the sentence of the part that failed", () => one.locator("xp-settings [role=alert]").textContent({ timeout: 100 }));
  assert.equal(await one.evaluate(() => document.querySelector("xp-panel").shadowRoot.querySelector("xp-picture").link.fallback), true);
  await one.getByRole("button", { name: "Back to the deck" }).tap();
  await key(one, "Play").tap();
  await until("play by touch", async () => (await status()).status === "playing" || undefined);
  await key(one, "Still").tap();
  await becomes("Still");
  // A second tab of the same browser sees the same deck, without a token of its own only that.
  const second = await one.context().newPage();
  await second.goto(address);
  await until("the word in the second tab", async () => (await word(second)) === "Still" || undefined);
  await key(second, "Play").tap();
  await until("why not", async () => /token|log in/i.test(await second.locator(".notice").textContent()) || undefined);
  await one.context().close();
});

test("every view in both themes is clean for axe, at three sizes without a scroll bar where there must be none", async () => {
  const views = await page.locator("xp-column [role=tab]").evaluateAll((tabs) => tabs.map((tab) => tab.id.slice(4)));
  for (const theme of ["dark", "contrast"]) {
    await page.evaluate((name) => (document.documentElement.dataset.theme = name), theme);
    await page.keyboard.press("?");
    assert.deepEqual(await axeOn(page), [], `${theme} keys and verbs`);
    await page.getByRole("button", { name: "Close", exact: true }).click();
    for (const view of [...views, "kiosk"]) {
      await page.evaluate((to) => (location.hash = `#/${to}`), view);
      await until(`the view ${view}`, () => page.evaluate((to) => (to === "kiosk" ? document.querySelector("xp-panel").hasAttribute("kiosk") : document.querySelector("xp-panel").shadowRoot.querySelector("xp-column").shadowRoot.querySelector(`xp-${to}`) !== null) || undefined, view));
      const found = await axeOn(page);
      assert.deepEqual(found, [], `${theme} ${view}`);
    }
  }
  await page.evaluate(() => (location.hash = "#/clips"));
  for (const [width, height, scrolls] of [[1280, 720, false], [3840, 2160, false], [360, 740, true], [640, 360, true], [1024, 768, true]]) {
    const one = await open(browser, { size: [width, height], touch: width < 500 });
    const over = await one.evaluate(() => [document.documentElement.scrollWidth - innerWidth, document.documentElement.scrollHeight - innerHeight]);
    assert.equal(over[0], 0, `${width}`);
    if (!scrolls) assert.equal(over[1], 0, `${width}`);
    await one.evaluate(() => (location.hash = "#/kiosk"));
    await until(`the picture alone at ${width}`, () => one.evaluate(() => document.querySelector("xp-panel").shadowRoot.querySelector("xp-picture").clientWidth > 0.5 * innerWidth || undefined), 5000);
    assert.deepEqual(one.complaints, []);
    await one.context().close();
  }
});

async function axeOn(one) {
  // Through the debugger: the page's policy lets no script in.
  const session = await one.context().newCDPSession(one);
  await session.send("Runtime.evaluate", { expression: axe });
  const { result } = await session.send("Runtime.evaluate", {
    expression: `axe.run().then((found) => found.violations.map((one) => one.id + ": " + one.nodes.map((node) => node.target.join(" ")).join(", ")))`,
    awaitPromise: true,
    returnByValue: true,
  });
  await session.detach();
  return result.value;
}

test("the bundle is small, painted early, and asks nobody else", async () => {
  const dist = new URL("../dist/", import.meta.url);
  const sum = (folder) => readdirSync(folder, { withFileTypes: true }).filter((one) => one.isFile() && !/^(example|elements)/.test(one.name)).reduce((all, one) => all + gzipSync(readFileSync(new URL(one.name, folder))).length, 0);
  const total = sum(dist) + sum(new URL("fonts/", dist));
  assert.ok(total < 150_000, `${total} bytes`);
  const one = await open(browser);
  const paint = await until("the first paint", () => one.evaluate(() => performance.getEntriesByName("first-contentful-paint")[0]?.startTime));
  console.log(`bundle ${total} bytes gzipped, first paint ${Math.round(paint)} ms`);
  assert.deepEqual(one.complaints, []);
  await one.context().close();
  assert.deepEqual(page.complaints, []);
  assert.ok(existsSync(dist));
});

// SPDX-License-Identifier: GPL-3.0-or-later
// Walks through the panel in a real browser beside the real recorder.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { existsSync, readFileSync, readdirSync } from "node:fs";
import { after, before, test } from "node:test";
import { gzipSync } from "node:zlib";
import { address, key, open, shown, startBrowser, status, until, word, xpctl } from "./deck.mjs";

const axe = readFileSync(new URL("../node_modules/axe-core/axe.min.js", import.meta.url), "utf8");
const frames = (timecode) => timecode.split(/[:;]/).reduce((sum, part, i) => sum * [0, 60, 60, 25][i] + Number(part), 0);
const rate = 25;
let browser, page;

before(async () => {
  browser = await startBrowser();
  page = await open(browser);
});
after(async () => {
  await browser?.close();
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
  assert.equal(await page.locator(".frame.recording").count(), 1);
  assert.equal((await status()).status, "recording");
  // The strip of the input counts with the frames of the timecode beside it: one picture is one moment.
  const first = await shown(page);
  await until("two seconds of pictures", async () => frames((await shown(page)).timecode) > frames(first.timecode) + 2 * rate || undefined);
  const later = await shown(page);
  assert.ok(first.strip !== null && later.strip !== null);
  assert.equal(later.strip - first.strip, frames(later.timecode) - frames(first.timecode));
  await held(key(page, "Hold to stop"), 150);
  await until("the advice to hold", () => page.locator(".notice").textContent());
  await page.keyboard.press("s");
  await key(page, "Play").click();
  await until("the refusal", async () => /take|record/i.test(await page.locator(".notice").textContent()) || undefined);
  assert.equal((await status()).status, "recording");
  await held(key(page, "Hold to stop"), 1300);
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
  await page.keyboard.press("k");
  await becomes("Still");
  assert.match(await page.locator("xp-state .clip").textContent(), new RegExp(clip));
});

test("two browsers: one is in control, the other is told by whom it is refused", async () => {
  const other = await open(browser, { hash: "#/control" });
  await page.evaluate(() => (location.hash = "#/control"));
  await page.getByRole("button", { name: "take control", exact: true }).click();
  await until("the owner, seen by both", async () => !/everybody/.test(await other.locator("xp-health .cell").last().textContent()) || undefined);
  await other.keyboard.press("j");
  await until("the refusal", () => other.locator(".notice").textContent());
  await page.getByRole("button", { name: "release control", exact: true }).click();
  await until("nobody in control", async () => /everybody/.test(await other.locator("xp-health .cell").last().textContent()) || undefined);
  await other.context().close();
});

test("panel and recorder end and come back without a reload, and nothing stale looks live", async () => {
  await page.evaluate(() => (globalThis.same = true));
  const stale = () => until("the banner", async () => (await page.locator(".banner").count()) === 1 || undefined);
  const live = () => until("pictures again", async () => ((await page.locator(".banner").count()) === 0 && !(await shown(page)).stale) || undefined);
  const panel = execFileSync("pgrep", ["-nx", "xppanel"], { encoding: "utf8" }).trim();
  // A network that says nothing any more: the sockets stay, nothing comes.
  execFileSync("kill", ["-STOP", panel]);
  await stale();
  assert.equal(await page.locator("xp-timecode .stale").count(), 1);
  assert.equal(await key(page, "Record").isDisabled(), true);
  execFileSync("kill", ["-CONT", panel]);
  await live();
  execFileSync("sh", ["-c", "kill $(cat /run/xp/xppanel.pid) && while kill -0 $(cat /run/xp/xppanel.pid) 2>/dev/null; do read -t 0.05 x <> /dev/zero || :; done; xppanel >/dev/null 2>&1 & echo $! >/run/xp/xppanel.pid"]);
  await live();
  assert.equal(await page.evaluate(() => globalThis.same), true);
});

test("every view in both themes is clean for axe, at three sizes without a scroll bar where there must be none", async () => {
  const views = await page.locator("xp-column [role=tab]").evaluateAll((tabs) => tabs.map((tab) => tab.id.slice(4)));
  for (const theme of ["dark", "contrast"]) {
    await page.evaluate((name) => (document.documentElement.dataset.theme = name), theme);
    for (const view of [...views, "kiosk"]) {
      await page.evaluate((to) => (location.hash = `#/${to}`), view);
      await until(`the view ${view}`, () => page.evaluate((to) => (to === "kiosk" ? document.querySelector("xp-panel").hasAttribute("kiosk") : document.querySelector("xp-panel").shadowRoot.querySelector("xp-column").shadowRoot.querySelector(`xp-${to}`) !== null) || undefined, view));
      const found = await axeOn(page);
      assert.deepEqual(found, [], `${theme} ${view}`);
    }
  }
  await page.evaluate(() => (location.hash = "#/clips"));
  for (const [width, height, scrolls] of [[1280, 720, false], [3840, 2160, false], [360, 740, true]]) {
    const one = await open(browser, { size: [width, height], touch: width < 500 });
    const over = await one.evaluate(() => [document.documentElement.scrollWidth - innerWidth, document.documentElement.scrollHeight - innerHeight]);
    assert.equal(over[0], 0, `${width}`);
    if (!scrolls) assert.equal(over[1], 0, `${width}`);
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
  const paint = await one.evaluate(() => performance.getEntriesByType("paint").find((entry) => entry.name === "first-contentful-paint").startTime);
  console.log(`bundle ${total} bytes gzipped, first paint ${Math.round(paint)} ms`);
  assert.deepEqual(one.complaints, []);
  await one.context().close();
  assert.deepEqual(page.complaints, []);
  assert.ok(existsSync(dist));
});

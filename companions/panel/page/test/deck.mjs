// SPDX-License-Identifier: GPL-3.0-or-later
// What the walks share: the recorder beside which they run (./xp sandbox --panel), a browser, and waits that observe.
import { execFile } from "node:child_process";
import { readFileSync } from "node:fs";
import { promisify } from "node:util";
import { chromium } from "playwright-core";

const run = promisify(execFile);
const patience = 30_000;

export const address = readFileSync("/run/xp/panel.address", "utf8").trim();
export const token = () => readFileSync("/run/xp/panel.token", "utf8").trim();
export const xpctl = async (...words) => (await run("xpctl", words)).stdout.trim();
export const status = async () => JSON.parse(await xpctl("status", "--json"));

/** Asks until the answer is true (or anything but false, null and undefined) and returns it. */
export async function until(what, ask, within = patience) {
  const end = Date.now() + within;
  let last;
  for (;;) {
    try {
      last = await ask();
      if (last !== false && last !== null && last !== undefined) return last;
    } catch (error) {
      last = error;
    }
    if (Date.now() > end) throw new Error(`${what}: did not come; last: ${last}`);
    await new Promise((resume) => setTimeout(resume, 30));
  }
}

export async function startBrowser() {
  return chromium.launch({
    executablePath: process.env.XP_CHROMIUM ?? "/usr/bin/chromium",
    args: ["--no-sandbox", "--disable-gpu"],
  });
}

/** A page of its own session; everything that it complains about or asks others for is in `complaints`. */
export async function open(browser, { size = [1280, 720], hash = "", withToken = true, touch = false, prepare = null } = {}) {
  const context = await browser.newContext({ viewport: { width: size[0], height: size[1] }, hasTouch: touch });
  const page = await context.newPage();
  page.complaints = [];
  page.on("pageerror", (error) => page.complaints.push(String(error)));
  page.on("console", (message) => /Content.Security.Policy/i.test(message.text()) && page.complaints.push(message.text()));
  page.on("request", (request) => {
    const { origin } = new URL(request.url());
    if (!["null", new URL(address).origin].includes(origin)) page.complaints.push(`asks for ${request.url()}`);
  });
  await page.addInitScript(readStrip);
  await prepare?.(page);
  await page.goto(address + (withToken ? `#token=${token()}` : ""));
  if (hash) await page.evaluate((to) => (location.hash = to), hash);
  await until("a picture", () => page.evaluate(() => globalThis.shown()?.timecode.includes(":")));
  return page;
}

export const key = (page, label) => page.locator(`xp-transport xp-key[label="${label}"] button`);
export const word = (page) => page.locator("xp-state .word").textContent();
export const shown = (page) => page.evaluate(() => globalThis.shown());

/** In the page: what is on the canvas, read from the strip in the picture, beside what the page says of it. */
function readStrip() {
  const cells = 52;
  const read = (canvas) => {
    const { width, height } = canvas;
    const left = Math.floor(width / 16), wide = width - 2 * left;
    const top = Math.max(Math.floor(Math.floor(height / 24) / 8) * 8, height >= 240 ? 16 : Math.floor(height / 16));
    const row = canvas.getContext("2d").getImageData(0, top + Math.floor(top / 2), width, 1).data;
    const level = Array.from({ length: cells }, (_, i) => row[4 * Math.round(left + (wide * (i + 0.5)) / cells) + 1]);
    const middle = (level[0] + level[1]) / 2;
    if (level[0] - level[1] < 80) return null;
    const bits = level.map((value) => (value > middle ? 1 : 0));
    let count = 0, check = 0xffff, told = 0;
    for (let i = 0; i < 32; ++i) {
      count = count * 2 + bits[2 + i];
      const flip = bits[2 + i] !== check >> 15;
      check = (check << 1) & 0xffff;
      if (flip) check ^= 0x1021;
    }
    for (let i = 0; i < 16; ++i) told = told * 2 + bits[34 + i];
    return told === check ? count : null;
  };
  globalThis.shown = () => {
    const root = document.querySelector("xp-panel")?.shadowRoot;
    const picture = root?.querySelector("xp-picture");
    if (!picture?.last) return null;
    return {
      strip: read(picture.shadowRoot.querySelector("canvas")),
      timecode: root.querySelector("xp-timecode").value,
      frame: picture.last.frame,
      isCapture: picture.last.isCapture,
      stale: picture.hasAttribute("stale"),
    };
  };
}

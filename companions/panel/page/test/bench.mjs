// SPDX-License-Identifier: GPL-3.0-or-later
// From the tick of a picture to its being painted, during a take: p50 and p95 in milliseconds. Server and browser share
// the machine's clock; --json prints one object.
import { open, startBrowser, until, xpctl } from "./deck.mjs";

const wanted = 500;
const bound = 120;
const browser = await startBrowser();
const page = await open(browser);
await xpctl("record");
await page.evaluate(() => {
  globalThis.ages = [];
  const picture = document.querySelector("xp-panel").shadowRoot.querySelector("xp-picture");
  picture.addEventListener("xp-frame", ({ frame }) => {
    if (!frame.isRepeat) requestAnimationFrame(() => globalThis.ages.push(performance.timeOrigin + performance.now() - frame.captured));
  });
});
await until("pictures", () => page.evaluate((count) => globalThis.ages.length >= count || null, wanted), 120_000);
const ages = (await page.evaluate(() => globalThis.ages)).sort((a, b) => a - b);
await xpctl("stop");
await browser.close();
const at = (share) => Math.round(10 * ages[Math.floor(share * (ages.length - 1))]) / 10;
const told = { figure: "panel glass to browser", pictures: ages.length, p50_ms: at(0.5), p95_ms: at(0.95), bound_ms: bound };
console.log(process.argv.includes("--json") ? JSON.stringify(told) : `glass to browser during a take: p50 ${told.p50_ms} ms, p95 ${told.p95_ms} ms of ${told.pictures} pictures (at most ${bound} ms)`);
process.exit(told.p95_ms <= bound ? 0 : 1);

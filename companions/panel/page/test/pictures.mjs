// SPDX-License-Identifier: GPL-3.0-or-later
// The pictures of the guides, from a real recorder: node pictures.mjs FOLDER
import { key, open, shown, startBrowser, until, word, xpctl } from "./deck.mjs";

const folder = process.argv[2];
const browser = await startBrowser();
await xpctl("set", "clip_base_name", "interview");
await xpctl("set", "timecode_preset_hour", "10");
await xpctl("set", "loop_playback", "on");
for (const seconds of ["3", "2", "4"]) await xpctl("record", "--for", seconds);
const take = async (name, options, act) => {
  const page = await open(browser, options);
  await act?.(page);
  // Pictures of clips, the charts of a few seconds.
  await page.evaluate(() => new Promise((resume) => setTimeout(resume, 3000)));
  await page.screenshot({ path: `${folder}/${name}.png`, fullPage: options.size?.[0] < 500 });
  await page.context().close();
};
await xpctl("clip", "interview_001.mov");
await take("panel", {}, async (page) => {
  await key(page, "Play").click();
  await until("play", async () => (await shown(page)).frame > 10 || undefined);
});
await xpctl("stop");
await take("panel-settings", { hash: "#/settings/record_codec" });
await take("panel-scopes", { hash: "#/scopes" });
await xpctl("clip", "interview_003.mov");
for (const [what, where] of [["in", "20"], ["out", "75"], ["kick-off", "12"], ["goal", "60"]]) await xpctl("mark", what, where);
await xpctl("cue", "48");
await take("panel-replay", { hash: "#/replay" });
await xpctl("stop");
await xpctl("record");
await take("panel-recording", { hash: "#/media" });
await take("panel-wall", { size: [3840, 2160], hash: "#/kiosk" });
await take("panel-phone", { size: [360, 740], touch: true }, async (page) => {
  await until("the word", async () => (await word(page)) === "Recording" || undefined);
});
await xpctl("stop");
await browser.close();

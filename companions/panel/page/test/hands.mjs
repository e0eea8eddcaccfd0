// SPDX-License-Identifier: GPL-3.0-or-later
// Two ways to work the panel, with one interface: a keyboard without a mouse, and a finger on a phone.
import { until } from "./deck.mjs";

const tabs = (page) => page.locator("xp-column [role=tab]");

export function byKeys(page) {
  const isFocused = (element) => {
    let at = document.activeElement;
    while (at?.shadowRoot?.activeElement) at = at.shadowRoot.activeElement;
    return at === element;
  };
  /** Every control has to be reached by the tab key. */
  const reach = async (locator) => {
    const target = await locator.elementHandle();
    for (let i = 0; i < 150 && !(await target.evaluate(isFocused)); ++i) await page.keyboard.press("Tab");
    if (!(await target.evaluate(isFocused))) throw new Error(`the tab key does not reach ${locator}`);
  };
  return {
    press: async (locator) => (await reach(locator), page.keyboard.press("Enter")),
    hold: async (locator, effect) => (await reach(locator), await page.keyboard.down("Enter"), await effect(), page.keyboard.up("Enter")),
    type: async (locator, text) => (await reach(locator), await page.keyboard.press("Control+a"), page.keyboard.type(text)),
    chooseFirst: async (list) => (await reach(list), await page.keyboard.press("Home")),
    choose: async (list, name) => {
      const chosen = list.locator("[aria-selected=true]", { hasText: name });
      await reach(list);
      await page.keyboard.press("Home");
      for (let i = await list.locator(".row").count(); i > 0 && (await chosen.count()) === 0; --i) await page.keyboard.press("ArrowDown");
    },
    view: async (name) => {
      await reach(page.locator("xp-column [role=tab][aria-selected=true]"));
      const isThere = async () => (await page.locator(`#tab-${name}[aria-selected=true]`).count()) === 1;
      for (let i = await tabs(page).count(); i > 0 && !(await isThere()); --i) await page.keyboard.press("ArrowRight");
      if (!(await isThere())) throw new Error(`the arrow keys do not lead to ${name}`);
    },
    back: async () => {},
  };
}

export function byTouch(page) {
  return {
    press: (locator) => locator.tap(),
    hold: async (locator, effect) => {
      await locator.scrollIntoViewIfNeeded();
      await locator.tap({ trial: true }); // where it is stands still, and nothing lies over it
      const box = await locator.boundingBox();
      const session = await page.context().newCDPSession(page);
      await session.send("Input.dispatchTouchEvent", { type: "touchStart", touchPoints: [{ x: box.x + box.width / 2, y: box.y + box.height / 2 }] });
      await effect();
      await session.send("Input.dispatchTouchEvent", { type: "touchEnd", touchPoints: [] });
      await session.detach();
    },
    type: async (locator, text) => (await locator.tap(), locator.fill(text)),
    chooseFirst: (list) => list.locator(".row").first().tap(),
    choose: (list, name) => list.locator(".row", { hasText: name }).tap(),
    view: async (name) => (await page.getByRole("button", { name: /Clips, settings/ }).tap(), page.locator(`#tab-${name}`).tap()),
    back: () => page.getByRole("button", { name: "Back to the deck" }).tap(),
  };
}

/** The verbs one after the other, each seen to work on the recorder itself. */
export async function workEverything(page, hands, { xpctl, key }) {
  const button = (name) => page.getByRole("button", { name, exact: true });
  const clips = async () => JSON.parse(await xpctl("clips", "--json")).clips;
  const deck = async (field) => (await page.evaluate(async () => (await fetch("api/v1/state")).json()))[field];
  const is = (field, wanted) => until(`${field} ${wanted}`, async () => (await deck(field)) === wanted || undefined);
  const frameIs = (frame) => is("frame", frame);
  await xpctl("set", "audio_channels", "eight"); // what is wrong with it is told with the take
  await xpctl("set", "audio_input", "analog");
  await hands.press(key(page, "Record"));
  await is("status", "recording");
  await until("the alarm", async () => (await deck("alarms")) > 0 || undefined);
  await hands.view("alarms");
  await hands.press(button("Seen").first());
  await until("by whom it was seen", async () => /Seen by \S/.test(await page.locator("xp-alarms article").first().textContent()) || undefined);
  await until("it is in the history", async () => /embedded audio/.test(await page.locator("xp-alarms table").textContent()) || undefined);
  await hands.back();
  await until("a second", async () => (await deck("take_frames")) > 25 || undefined);
  await hands.hold(page.locator('xp-transport xp-key[verb="stop"] button'), () => is("status", "stopped"));
  await xpctl("set", "audio_input", "embedded");
  await xpctl("set", "audio_channels", "two");
  await is("alarms", 0);
  const moves = page.getByRole("button", { name: "Jog, shuttle, cue" });
  if (await moves.isVisible()) await hands.press(moves);
  await hands.press(key(page, "Play"));
  await is("status", "playing");
  await hands.press(key(page, "Still"));
  await is("status", "still");
  await hands.type(page.locator("xp-transport input"), "#12");
  await hands.press(button("Cue"));
  await frameIs(12);
  await hands.press(key(page, "+1"));
  await frameIs(13);
  await hands.press(key(page, "Reverse"));
  await until("an earlier frame", async () => (await deck("frame")) < 13 || undefined);
  await hands.press(key(page, "Still"));
  await hands.press(key(page, "Previous"));
  await frameIs(0);
  await hands.press(key(page, "Next"));

  await hands.view("clips");
  const [made] = (await clips()).slice(-1);
  await hands.chooseFirst(page.locator("xp-clips [role=listbox]"));
  await hands.press(button("Open"));
  await is("clip", made.name);
  await hands.press(button("Protect"));
  await hands.press(button("Unprotect"));
  await until("Delete… is free again", async () => (await button("Delete…").isEnabled()) || undefined);
  await hands.press(button("Copy…"));
  await hands.press(button("Copy"));
  await until("the copy", async () => (await deck("media")).find((one) => one.state !== "active").clips > 0 || undefined);
  await hands.back();
  await hands.press(key(page, "Stop")); // what is played cannot be renamed
  await is("status", "stopped");
  await hands.view("clips");
  const name = `worked_${Date.now()}`;
  await hands.chooseFirst(page.locator("xp-clips [role=listbox]"));
  await hands.press(button("Rename…"));
  await hands.type(page.getByLabel(/New name/), name);
  await hands.press(button("Rename"));
  await until("the name", async () => (await clips()).some((one) => one.name === `${name}.mov`) || undefined);
  await until("the row", async () => (await page.locator("xp-clips .row", { hasText: name }).count()) === 1 || undefined);
  // (Its copy has another name now, and is as old.)
  await hands.choose(page.locator("xp-clips [role=listbox]"), name);
  await hands.press(button("Delete…"));
  await hands.hold(button("Hold to delete"), () => until("it is gone", async () => !(await clips()).some((one) => one.name === `${name}.mov`) || undefined));
  await hands.back();

  await hands.view("control");
  for (const [label, field, wanted] of [["Take control", "owner", true], ["Lock", "lock", true], ["Unlock", "lock", false], ["Release control", "owner", false]]) {
    await hands.press(button(label));
    await until(label, async () => !!(await deck(field))?.name === wanted || undefined);
  }
  await hands.press(button("Local"));
  await is("mode", "local");
  await hands.press(button("Remote"));
  await until("the refusal", async () => /switched to local/.test(await page.locator(".notice").textContent()) || undefined);
  await xpctl("remote");
  await is("mode", "remote");
  await hands.back();
}

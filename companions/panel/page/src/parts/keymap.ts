// SPDX-License-Identifier: GPL-3.0-or-later
// Keys of the keyboard. What each does is the recorder's own sentence for its verb.
import type { Deck } from "../link/deck";
import { isRecording } from "../link/state";

export interface KeyLine {
  keys: string;
  verb: string;
  text: string;
}

export const keyLines: KeyLine[] = [
  { keys: "R", verb: "record", text: "" },
  { keys: "S", verb: "stop", text: "; in a take hold it for a second" },
  { keys: "L", verb: "play", text: "; again: twice as fast" },
  { keys: "J", verb: "play", text: ", backwards; again: twice as fast" },
  { keys: "K", verb: "still", text: "" },
  { keys: "K + L, K + J", verb: "play", text: ", at a quarter of the speed" },
  { keys: "Space", verb: "still", text: ", or play on" },
  { keys: "← →", verb: "step", text: ": one" },
  { keys: "Shift ← →", verb: "step", text: ": ten" },
  { keys: "Home, End", verb: "cue", text: ": the first, the last" },
  { keys: "C", verb: "cue", text: ": type where" },
  { keys: "[ ]", verb: "prev", text: ", or to the next" },
  { keys: "I, O", verb: "mark", text: ": in, out" },
  { keys: "P", verb: "replay", text: "" },
  { keys: "V", verb: "live", text: "" },
  { keys: "M", verb: "", text: "mark the frame that is shown" },
  { keys: "F", verb: "", text: "picture and timecode alone, and back" },
  { keys: "?", verb: "", text: "all keys and verbs; on a control: its verb" },
];

export interface KeyActions {
  holdStop(): void;
  releaseStop(): void;
  focusTimecode(): void;
  mark(): void;
  kiosk(): void;
  help(event: KeyboardEvent): void;
  tab(by: number): void;
}

const quarter = 0.25;

/** Turns keys into verbs while no field has the focus. Returns how to end it. */
export function listenToKeys(deck: Deck, actions: KeyActions): () => void {
  const down = new Set<string>();
  const speedOf = (): number => (deck.state && deck.state.status !== "stopped" ? deck.state.speed : 0);
  const run = (direction: 1 | -1): void => {
    if (down.has("k")) return deck.speed(direction * quarter);
    // Twice as fast as the deck runs: whatever else has moved or held it meanwhile counts.
    const now = deck.askedSpeed ?? speedOf();
    const next = Math.sign(now) === direction && Math.abs(now) >= 1 ? Math.min(64, Math.abs(now) * 2) : 1;
    deck.speed(direction * next);
  };
  const hold = (): void => deck.speed(0);
  const known = (verb: string, values = {}): void => void (deck.verb(verb) && deck.run(verb, values));
  const go = (frame: number): void => void deck.run("cue", { where: String(Math.max(0, frame)) });
  const table: Record<string, (event: KeyboardEvent) => void> = {
    r: () => void deck.run("record"),
    s: () => actions.holdStop(),
    l: () => run(1),
    j: () => run(-1),
    k: hold,
    " ": () => (isRecording(deck.state) ? actions.holdStop() : speedOf() !== 0 ? hold() : run(1)),
    arrowleft: (event) => deck.steps(event.shiftKey ? -10 : -1),
    arrowright: (event) => deck.steps(event.shiftKey ? 10 : 1),
    home: () => go(0),
    end: () => go((deck.state?.clip_frames ?? 1) - 1),
    "[": () => void deck.run("prev"),
    "]": () => void deck.run("next"),
    c: () => actions.focusTimecode(),
    m: () => actions.mark(),
    i: () => known("mark", { what: "in" }),
    o: () => known("mark", { what: "out" }),
    p: () => known("replay"),
    v: () => known("live"),
    f: () => actions.kiosk(),
    "?": (event) => actions.help(event),
  };
  const repeats = new Set(["arrowleft", "arrowright"]);
  const inField = (event: KeyboardEvent): boolean => {
    const target = event.composedPath()[0] as HTMLElement;
    return target instanceof HTMLInputElement || target instanceof HTMLTextAreaElement || target instanceof HTMLSelectElement;
  };
  const pressed = (event: KeyboardEvent): void => {
    if (event.ctrlKey || event.metaKey || event.altKey || inField(event)) return;
    const key = event.key.toLowerCase();
    const action = table[key];
    if (!action) return;
    event.preventDefault();
    if (event.repeat && !repeats.has(key)) return;
    down.add(key);
    action(event);
  };
  const released = (event: KeyboardEvent): void => {
    const key = event.key.toLowerCase();
    down.delete(key);
    if (key === "s" || key === " ") actions.releaseStop();
    if ((key === "j" || key === "l") && down.has("k")) hold();
  };
  const lost = (): void => {
    down.clear();
    actions.releaseStop();
  };
  window.addEventListener("keydown", pressed);
  window.addEventListener("keyup", released);
  window.addEventListener("blur", lost);
  return () => {
    window.removeEventListener("keydown", pressed);
    window.removeEventListener("keyup", released);
    window.removeEventListener("blur", lost);
  };
}

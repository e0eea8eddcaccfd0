// SPDX-License-Identifier: GPL-3.0-or-later
// Several recorders as one: takes that begin with the same frame, and how far those that run are apart.
import { type Deck, sentence } from "../link/deck";
import { isRecording } from "../link/state";

export interface Member {
  name: string;
  deck: Deck;
}

/** From the order to the first frame, ms: the way to every one of them, over whatever network; longer where they took long to say that they are ready. */
const ahead = { least: 1500, most: 5000, ofAsking: 3 };

/** Nothing, or why no take was begun: all are asked first. */
export async function recordTogether(members: Member[]): Promise<string> {
  const began = performance.now();
  const asked = await Promise.all(members.map(({ deck }) => deck.ready()));
  const wait = Math.min(ahead.most, Math.max(ahead.least, ahead.ofAsking * (performance.now() - began)));
  const hindered = members.flatMap(({ name }, i) => (asked[i] ? [`${name}: ${asked[i]}`] : []));
  if (hindered.length) return `No take was begun. ${hindered.join(" ")}`;
  // By the recorder's clock: that of the browser may be a day off.
  const offset = members[0].deck.clockOffset;
  if (offset === null) return "No take was begun. The recorder's clock is not known yet; try again in a moment.";
  const start = new Date(performance.now() + offset + wait).toISOString();
  const answers = await Promise.all(members.map(({ deck }) => deck.run("record", { start })));
  const failed = members.flatMap(({ name }, i) => (answers[i].done ? [] : [`${name}: ${sentence(answers[i].sentence)}`]));
  if (!failed.length) return "";
  const begun = members.filter((_, i) => answers[i].done);
  await stopTogether(begun);
  return `${failed.join(" ")} ${begun.length ? "The takes of the others were ended." : "No take was begun."}`;
}

export async function stopTogether(members: Member[]): Promise<void> {
  await Promise.all(members.map(({ deck }) => deck.run("stop")));
}

/** How far the first frames of their takes are apart; empty while fewer than two record. */
export function skewOf(members: Member[]): string {
  const takes = members.map(({ deck }) => deck.state).filter((state) => isRecording(state) && state?.take_start);
  if (takes.length < 2) return "";
  const starts = takes.map((state) => state?.take_start ?? 0);
  const microseconds = Math.max(...starts) - Math.min(...starts);
  const frames = Math.round((microseconds / 1e6) * Math.max(...takes.map((state) => state?.clip_rate ?? 0)));
  if (frames === 0) return "All begin with the same frame.";
  return `First frames ${frames} ${frames === 1 ? "frame" : "frames"} (${(microseconds / 1000).toFixed(0)} ms) apart.`;
}

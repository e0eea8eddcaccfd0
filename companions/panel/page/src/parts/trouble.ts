// SPDX-License-Identifier: GPL-3.0-or-later
// What is said over a picture because it cannot wait for somebody to look elsewhere.
import { type DeckState, isRecording } from "../link/state";

const soonFull = 60; // s

/** Of a recorder that runs and is heard; empty: nothing. */
export function trouble(state: DeckState | null): string {
  if (!state) return "";
  const left = state.medium_seconds_left;
  if (isRecording(state) && left > 0 && left < soonFull) return `Room for ${Math.floor(left)} s. The take ends then.`;
  if (isRecording(state) && !state.input_locked) return "No signal on the input.";
  if (state.status === "stopped" && state.input_format === "unknown") return "This picture cannot be recorded: its format is not known.";
  if (state.status === "stopped" && state.record_format === "not_recordable") return "This picture has a format that cannot be recorded.";
  return state.store_problem ? `The store cannot be reached: ${state.store_problem}` : "";
}

/** The input is on the output, and there is nothing on it. */
export const isDark = (state: DeckState | null): boolean => !!state?.running && state.status === "stopped" && state.input_format === "none";

// SPDX-License-Identifier: GPL-3.0-or-later
// What the recorder tells: names as the recorder's own interfaces have them.

export interface Medium {
  path: string;
  label: string;
  state: "active" | "next" | "mirror" | "usable" | "full" | "read_only";
  percent_free: number;
  bytes_free: number;
  bytes_total: number;
  clips: number;
  seconds_left: number;
}

export interface Alarm {
  name: string;
  level: "information" | "warning" | "error";
  message: string;
  since: string;
  advice: string;
  acknowledged_by?: string;
}

export interface HistoryLine {
  time: string;
  name: string;
  level: "information" | "warning" | "error" | "clear";
  message: string;
}

export interface Owner {
  name: string;
  front: string;
  address: string;
  since: string;
}

/** One moment of the recorder: the snapshot with all deltas applied. */
export interface DeckState {
  running: boolean;
  status: string;
  speed: number;
  tick: number;
  frame: number;
  /** Frames of what is played. */
  clip_frames: number;
  /** Frames of the take. */
  take_frames: number;
  recorded_up_to: number;
  take_copies: number;
  /** Of its first frame, in us since 1970; 0: none. */
  take_start?: number;
  /** Frames until the take begins that waits for its first frame; 0: none waits. */
  start_in?: number;
  safe_on_both: number;
  dropped_capture: number;
  dropped_playback: number;
  late_ticks: number;
  timecode: string;
  input_timecode: string;
  timecode_source: string;
  clip_rate: number;
  clip: string;
  path: string;
  input_format: string;
  input_locked: boolean;
  record_format: string;
  record_codec: string;
  media_format: string;
  record_inhibited: string;
  playback_source: string;
  media: Medium[];
  medium_seconds_left: number;
  alarms: number;
  alarm_list: Alarm[];
  owner: Partial<Owner>;
  lock: Partial<Owner>;
  mode: string;
  list_revision: string;
  /** Entry of the play list on the output; -1: none. */
  list_entry: number;
  store_problem: string;
  /** Somebody still records the clip that is played. */
  grows?: boolean;
  /** Frames from the output to the newest one of the clip that grows; -1: none grows. */
  live_distance?: number;
  /** Whose marks have changed last: empty for any; the count is another one each time. */
  marks_changed?: { clip?: string; count?: number } | null;
  /** Folder on a second medium that takes are written to as well. */
  mirror_path?: string;
}

export interface Mark {
  frame: number;
  timecode?: string;
  name?: string;
}

export interface Marks {
  in?: Mark | null;
  /** One behind the last frame. */
  out?: Mark | null;
  points?: Mark[];
}

/** Of an entry, or of what is played, which may be a part: NAME[FROM-TO). */
export const clipOf = (entry: string): string => entry.replace(/\[[^[\]]*\)$/, "");

/** What is known of one clip. */
export interface ClipDetails {
  frames?: number;
  marks?: Marks;
  told?: string;
}

export interface Argument {
  name: string;
  type: string;
  unit?: string;
  minimum?: number;
  maximum?: number;
  choices?: string[];
  required?: boolean;
  help: string;
}

/** A row of the recorder's table of verbs. */
export interface Verb {
  name: string;
  group?: string;
  help: string;
  arguments: Argument[];
  forms: Record<string, string>;
}

/** A setting with what the recorder knows about it. */
export interface Parameter {
  id: string;
  name: string;
  type: string;
  value: string;
  default: string;
  unit: string;
  help: string;
  group?: string;
  attributes?: string[];
  choices?: string[];
  minimum?: number;
  maximum?: number;
  keep?: string;
  told?: boolean;
}

export interface Clip {
  index: number;
  name: string;
  frames: number;
  date?: string;
  bytes?: number;
  is_protected?: boolean;
  second_copy?: { path: string; frames: number };
  /** Somebody records it now. */
  grows?: boolean;
  /** Name of its proxy. */
  proxy?: string;
}

export interface ListEntry {
  place: number;
  name: string;
  present: boolean;
}

/** The answer to a verb, in the recorder's own words. */
export interface Answer {
  done: boolean;
  /** Of HTTP, when it was not done. */
  status?: number;
  code: string;
  sentence: string;
  hint: string;
}

export const isRecording = (state: DeckState | null): boolean => state?.status === "recording";
/** Frames until the take begins that waits for its first one; -1: it waits for a picture; 0: none waits. */
export const waitOf = (state: DeckState | null): number => (isRecording(state) ? (state?.start_in ?? 0) : 0);

/** The frame of the clip that is on the output; -1: the input is, and what was played before says nothing. */
export const frameOf = (state: DeckState | null): number => (!state?.running || isRecording(state) || state.status === "stopped" ? -1 : Math.max(0, state.frame));

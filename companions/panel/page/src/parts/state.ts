// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html, nothing } from "lit";
import { customElement } from "lit/decorators.js";
import { placeName } from "../link/api";
import { frameOf, isRecording, waitOf } from "../link/state";
import { Part, shared } from "./part";
import { length, room, words } from "./text";

/** What the recorder does, with which clip, in which format, and how long it can go on. */
@customElement("xp-state")
export class XpState extends Part {
  static override styles = [
    shared,
    css`
      :host { background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); padding: 0.5rem 0.75rem; display: grid; grid-template-rows: auto 1fr auto; gap: 0.1rem; min-width: 0; }
      :host([recording]) { background: var(--red); color: var(--on-red); }
      :host([recording]) .dim, :host([recording]) .label, :host([recording]) .word, :host([recording]) .figure { color: var(--on-red); }
      .head { display: flex; align-items: baseline; gap: 0.75rem; min-width: 0; }
      .word { font-weight: 700; font-size: max(2rem, 2.6vw); line-height: 1.05; color: var(--bright); white-space: nowrap; letter-spacing: 0.01em; }
      .speed { font-size: 1.25rem; color: var(--bright); }
      .format { margin-left: auto; text-align: right; font-size: max(0.8125rem, 0.85vw); min-width: 0; }
      .middle { display: flex; gap: 0.75rem; align-items: baseline; justify-content: space-between; align-self: center; min-width: 0; }
      .clip { flex: 1 1 auto; font-size: max(1rem, 1.15vw); color: var(--bright); unicode-bidi: plaintext; }
      :host([recording]) .clip { color: var(--on-red); }
      .fields { display: grid; grid-template-columns: repeat(3, auto); justify-content: space-between; gap: 0.75rem; }
      .fields .label { font-size: max(0.6875rem, 0.7vw); }
      .fields .figure { font-size: max(1.0625rem, 1.1vw); color: var(--bright); line-height: 1.1; white-space: nowrap; }
      .inhibited { flex: 0 1 auto; color: var(--amber); font-size: 0.8125rem; }
      .none { color: var(--amber); }
      :host([recording]) .none { color: var(--on-red); }
      :host([stale]) .figure, :host([stale]) .clip, :host([stale]) .format, :host([stale]) .none { color: var(--dim); }
      @media (min-width: 1100px) {
        :host([big]) .word { font-size: 3.4vw; }
        :host([big]) .clip { font-size: 1.6vw; }
        :host([big]) .fields .figure { font-size: 1.5vw; }
        :host([big]) .label, :host([big]) .format { font-size: 1.1vw; }
      }
      @media (max-width: 1099px) {
        :host { padding: 0.5rem 0.6rem; }
        .word { font-size: 1.5rem; }
        .fields .figure { font-size: 0.9375rem; }
      }
    `,
  ];

  protected override view() {
    const state = this.deck.state;
    const recording = isRecording(state);
    const { stale } = this.deck;
    const waits = waitOf(state);
    this.toggleAttribute("recording", recording && !stale && !waits);
    this.toggleAttribute("stale", stale);
    if (!state) return html`<div class="head"><span class="word">Connecting</span></div>`;
    if (!state.running) return html`<div class="head"><span class="word" role="status">Recorder not running</span></div>`;
    const frame = frameOf(state);
    const stopped = !recording && frame < 0; // nothing plays: what matters is how long a take could be
    const frames = recording ? state.take_frames : stopped ? state.clip_frames : frame;
    const left = recording || stopped ? room(state.medium_seconds_left) : length(state.clip_frames - 1 - frame, state.clip_rate);
    const plays = state.status === "playing" && state.speed === 0;
    const field = (label: string, value: string) => html`<div><div class="label">${label}</div><div class="figure">${value}</div></div>`;
    return html`
      <div class="head">
        <span class="word" role="status">${this.word((stale ? "was " : "") + (waits ? "waiting" : plays ? "still" : state.status))}</span>
        ${!recording && state.speed !== 0 && state.status !== "stopped" ? html`<span class="speed figure">${String(state.speed).replace("-", "−")}×</span>` : nothing}
        <span class="format">${placeName ? html`<b><bdi>${placeName}</bdi></b> ` : nothing}<span class="dim">In</span> ${state.input_locked ? state.input_format : html`<b class="none">${state.input_format === "unknown" ? "unknown format" : "no signal"}</b>`}<br /><span class="dim">Rec</span> ${words(state.record_codec)}</span>
      </div>
      <div class="middle">
        <div class="clip cut" title=${state.clip}>${waits ? (waits > 0 ? `The take begins in ${length(waits, state.clip_rate)}` : "The take waits for a picture") : state.clip || "no clip"}</div>
        ${state.record_inhibited && !recording ? html`<div class="inhibited cut" title=${state.record_inhibited}>Take refused: ${state.record_inhibited}</div>` : nothing}
      </div>
      <div class="fields">
        ${field(recording ? "Take" : stopped ? "Clip" : "Played", length(Math.max(0, frames), state.clip_rate))}
        ${field(recording || stopped ? "Room left" : "To the end", left)}
        ${recording && (state.take_copies > 1 || state.safe_on_both > 0) ? field("Safe / on both", `${length(state.recorded_up_to, state.clip_rate)} / ${length(state.safe_on_both, state.clip_rate)}`) : recording ? field("Safe on disk", length(state.recorded_up_to, state.clip_rate)) : field(state.timecode_source === "generator" ? "Generator" : "Input timecode", state.input_timecode || "--:--:--:--")}
      </div>
    `;
  }

  private word(status: string): string {
    const text = words(status).replace(/ (fast|\d+x)$/, ""); // the speed stands beside it
    return text.charAt(0).toUpperCase() + text.slice(1);
  }
}

// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html } from "lit";
import { customElement } from "lit/decorators.js";
import { frameOf, isRecording } from "../link/state";
import { Part, shared } from "./part";
import { length } from "./text";

const early = 600; // seconds

/** Where in the clip the picture is; a touch goes there. */
@customElement("xp-position")
export class XpPosition extends Part {
  static override styles = [
    shared,
    css`
      :host { height: 1.5rem; display: grid; grid-template-columns: 6.5rem minmax(0, 1fr) 5.5rem; gap: 0.5rem; align-items: center; font-size: 0.75rem; color: var(--dim); }
      .length { text-align: right; }
      @media (max-width: 1099px) { :host { height: auto; grid-template-columns: 1fr auto; } .bar { grid-area: 1 / 1 / 2 / 3; height: 1.75rem !important; } .length { grid-column: 2; } }
      .bar { position: relative; height: 100%; background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); overflow: hidden; cursor: pointer; touch-action: none; }
      .bar[aria-disabled="true"] { cursor: default; }
      .done { position: absolute; inset: 0; background: var(--lifted); transform-origin: left; }
      .done.warn { background: var(--amber); opacity: 0.5; }
      .head { position: absolute; top: 0; bottom: 0; width: 0.1875rem; margin-left: -0.09rem; background: var(--bright); }
    `,
  ];

  private get frames(): number {
    return Math.max(1, this.deck.state?.clip_frames ?? 1);
  }

  /** Of the time that a take can last, how much it has lasted. */
  private get used(): number {
    const { take_frames: frames, clip_rate: rate, medium_seconds_left: left } = this.deck.state ?? { take_frames: 0, clip_rate: 25, medium_seconds_left: 0 };
    const done = frames / (rate || 25);
    return left > 0 ? done / (done + left) : 0;
  }

  private go(event: PointerEvent): void {
    const box = (event.currentTarget as HTMLElement).getBoundingClientRect();
    const part = Math.min(1, Math.max(0, (event.clientX - box.left) / box.width));
    this.cue(Math.round(part * (this.frames - 1)));
  }

  private cue(frame: number): void {
    const state = this.deck.state;
    if (!state?.running || isRecording(state)) return;
    void this.deck.run("cue", { where: String(Math.min(this.frames - 1, Math.max(0, frame))) });
  }

  private keydown(event: KeyboardEvent): void {
    const by = { PageUp: 0.1, PageDown: -0.1 }[event.key];
    if (by === undefined) return;
    event.preventDefault();
    this.cue((this.deck.state?.frame ?? 0) + Math.round(by * this.frames));
  }

  override updated(): void {
    const state = this.deck.state;
    const part = isRecording(state) ? this.used : Math.min(1, Math.max(0, frameOf(state)) / Math.max(1, this.frames - 1));
    (this.renderRoot.querySelector(".done") as HTMLElement | null)?.style.setProperty("transform", `scaleX(${part})`);
    (this.renderRoot.querySelector(".head") as HTMLElement | null)?.style.setProperty("left", `${part * 100}%`);
  }

  protected override view() {
    const state = this.deck.state;
    const recording = isRecording(state);
    const shown = frameOf(state);
    const frame = Math.max(0, shown);
    return html`<span class="cut figure">${recording ? "Room used" : shown < 0 ? "Frame -" : `Frame ${frame}`}</span><div
      class="bar" data-verb="cue" role="slider" tabindex="0" aria-label=${recording ? "Room used by the take" : "Position in the clip"} aria-valuemin="0" aria-valuemax=${this.frames - 1} aria-valuenow=${recording ? 0 : Math.min(frame, this.frames - 1)}
      aria-valuetext=${recording ? "recording" : `frame ${frame} of ${this.frames}`} aria-disabled=${recording ? "true" : "false"} @pointerdown=${this.go} @keydown=${this.keydown}
    >
      <div class="done ${recording && (state?.medium_seconds_left ?? 0) > 0 && (state?.medium_seconds_left ?? 0) < early ? "warn" : ""}"></div>
      <div class="head" ?hidden=${shown < 0}></div>
    </div><span class="length figure">${recording ? `${Math.floor(100 * this.used)} %` : length(this.frames, state?.clip_rate ?? 25)}</span>`;
  }
}

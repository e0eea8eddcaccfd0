// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html } from "lit";
import { customElement, state } from "lit/decorators.js";
import { isRecording } from "../link/state";
import { Part, shared } from "./part";

interface Mark {
  clip: string;
  frame: number;
  timecode: string;
  note: string;
}

const key = "xp-marks";
const most = 500;

/** Places in clips that somebody wants to find again; kept in this browser. */
@customElement("xp-marks")
export class XpMarks extends Part {
  @state() private marks: Mark[] = read();

  static override styles = [
    shared,
    css`
      :host { display: grid; grid-template-rows: auto minmax(0, 1fr); gap: var(--gap); height: 100%; min-height: 0; }
      .head { display: flex; gap: 0.5rem; align-items: center; }
      .rows { overflow-y: auto; }
      .row { display: grid; grid-template-columns: auto minmax(0, 1fr) auto; gap: 0.5rem; align-items: center; padding: 0.25rem 0; border-bottom: 1px solid var(--line); }
      .row input { width: 100%; }
      .clip { grid-column: 1 / -1; font-size: 0.75rem; color: var(--dim); }
      .empty { padding: 2rem 1rem; text-align: center; color: var(--dim); }
    `,
  ];

  add(timecode: string): void {
    const state = this.deck.state;
    if (!state?.clip) return;
    const frame = isRecording(state) ? state.take_frames : state.frame;
    this.keep([{ clip: state.clip, frame: Math.max(0, frame), timecode, note: "" }, ...this.marks].slice(0, most));
  }

  private keep(marks: Mark[]): void {
    this.marks = marks;
    localStorage.setItem(key, JSON.stringify(marks));
  }

  private async go(mark: Mark): Promise<void> {
    if (this.deck.state?.clip !== mark.clip && !(await this.deck.run("clip", { name: mark.clip })).done) return;
    await this.deck.run("cue", { where: String(mark.frame) });
  }

  protected override follows(): unknown[] {
    return [];
  }

  protected override view() {
    return html`
      <div class="head"><button @click=${() => this.dispatchEvent(new CustomEvent("xp-mark", { bubbles: true, composed: true }))}>Mark this frame</button><span class="dim">Kept in this browser</span></div>
      <div class="rows" tabindex="0" role="region" aria-label="Marks">
        ${this.marks.length === 0 ? html`<p class="empty">No marks. Key M sets one at the frame that is shown.</p>` : ""}
        ${this.marks.map(
          (mark, i) => html`<div class="row">
            <button class="figure" title="Go there" @click=${() => void this.go(mark)}>${mark.timecode}</button>
            <input aria-label="Note at ${mark.timecode}" placeholder="Note" .value=${mark.note} @change=${(event: Event) => this.keep(this.marks.map((one, k) => (k === i ? { ...one, note: (event.target as HTMLInputElement).value } : one)))} />
            <button class="small" aria-label="Take mark ${mark.timecode} away" @click=${() => this.keep(this.marks.filter((_, k) => k !== i))}>✕</button>
            <span class="clip cut"><bdi>${mark.clip}</bdi>, frame ${mark.frame}</span>
          </div>`,
        )}
      </div>
    `;
  }
}

function read(): Mark[] {
  try {
    const kept: unknown = JSON.parse(localStorage.getItem(key) ?? "[]");
    return Array.isArray(kept) ? (kept as Mark[]) : [];
  } catch {
    return [];
  }
}

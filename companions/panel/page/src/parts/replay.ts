// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html, nothing } from "lit";
import { customElement, state } from "lit/decorators.js";
import { Problem, get } from "../link/api";
import { type ClipDetails, type Mark, clipOf, frameOf } from "../link/state";
import { Part, shared } from "./part";
import "./strip";
import type { StripEvent } from "./strip";
import { length } from "./text";

const speeds: [string, number][] = [["−1×", -1], ["¼×", 0.25], ["½×", 0.5], ["1×", 1]];

/** What is worth seeing again: the part of the clip that is marked, points, the newest frame, the same moment elsewhere. */
@customElement("xp-replay")
export class XpReplay extends Part {
  @state() private details: ClipDetails = {};
  @state() private problem = "";
  @state() private angles: string[] = [];
  private known = "";
  private wanted: number | null = null;
  private cueing = false;

  static override styles = [
    shared,
    css`
      :host { display: grid; grid-template-columns: minmax(0, 1fr); grid-template-rows: auto auto auto auto minmax(4rem, 1fr) auto; gap: 0.6rem; height: 100%; min-height: 0; }
      .head, .ends, .acts, .angle { display: flex; gap: 0.25rem; align-items: center; }
      .head .cut { flex: 1; color: var(--bright); unicode-bidi: plaintext; text-align: left; }
      .ends { display: grid; grid-template-columns: minmax(0, 1fr) auto minmax(0, 1fr); gap: 0.5rem; }
      .ends button { padding: 0; display: grid; justify-items: center; align-content: center; gap: 0.1rem; line-height: 1.1; min-height: 3rem; }
      .ends span { text-align: center; }
      .acts > * { flex: 1 1 0; padding: 0 0.25rem; white-space: nowrap; }
      .acts .label { flex: 0 0 auto; padding-right: 0.35rem; }
      .part { cursor: grab; border-style: dashed; }
      .rows { overflow-y: auto; scrollbar-color: var(--edge) transparent; min-height: 0; }
      .row { display: grid; grid-template-columns: auto minmax(0, 1fr) auto; gap: 0.5rem; align-items: center; padding: 0.2rem 0; border-bottom: 1px solid var(--line); }
      .angle select { flex: 1 1 6rem; min-height: 2.75rem; }
      @media (max-width: 759px) { .acts, .angle { flex-wrap: wrap; } .acts .part, .angle :first-child { flex-basis: 100%; } }
      p { margin: 0; font-size: 0.875rem; }
      .empty { padding: 0.75rem 0; color: var(--dim); }
    `,
  ];

  override willUpdate(): void {
    const { state } = this.deck;
    const key = [this.clip, state?.path, state?.status === "recording", state?.marks_changed?.count].join("\n");
    if (key === this.known) return;
    this.known = key;
    void this.read();
  }

  private async read(): Promise<void> {
    const { clip } = this;
    if (!clip) return;
    const [details, clips] = await Promise.all([get<ClipDetails>(`clips/${encodeURIComponent(clip)}`), get<{ clips: { name: string }[] }>("clips?limit=1000")]);
    if (clip !== this.clip) return;
    this.problem = details instanceof Problem ? details.sentence : (details.told ?? "");
    this.details = details instanceof Problem ? {} : details;
    if (!(clips instanceof Problem)) this.angles = clips.clips.map((one) => one.name).filter((name) => name !== clip);
  }

  private async run(verb: string, values: Record<string, string | number> = {}): Promise<void> {
    await this.deck.run(verb, values);
    if (verb === "mark" || verb === "unmark") await this.read();
  }

  /** Of the places pointed at while one is on its way only the last counts. */
  private cue(frame: number): void {
    this.wanted = frame;
    if (this.cueing) return;
    this.cueing = true;
    void (async () => {
      while (this.wanted !== null) {
        const where = String(this.wanted);
        this.wanted = null;
        if (!(await this.deck.run("cue", { where })).done) this.wanted = null;
      }
      this.cueing = false;
    })();
  }

  private moved(event: StripEvent): void {
    if (event.what !== "cue") void this.run("mark", { what: event.what, where: String(event.frame) });
    else if (this.whole) this.cue(event.frame);
  }

  /** A point at what is on the output, under the next number that is free. */
  markPoint(): void {
    const names = new Set((this.details.marks?.points ?? []).map((point) => point.name));
    let number = 1;
    while (names.has(`point ${number}`)) number++;
    void this.run("mark", { what: `point ${number}` });
  }

  private async rename(point: Mark, to: string): Promise<void> {
    const name = to.trim();
    if (!name || name === point.name) return;
    if ((await this.deck.run("mark", { what: name, where: String(point.frame) })).done) await this.run("unmark", { what: point.name ?? "" });
  }

  private get clip(): string {
    return clipOf(this.deck.state?.clip ?? "");
  }

  private get frames(): number {
    const { state } = this.deck;
    return (this.whole && state?.clip_frames) || this.details.frames || 0;
  }

  /** Whether the frames that the deck counts are those of the clip: not so in a list, or in a part. */
  private get whole(): boolean {
    const { state } = this.deck;
    return state?.playback_source === "current_clip" && state.clip === this.clip && state.status !== "recording";
  }

  /** As a play list has it. */
  private get listed(): string {
    const { in: from, out } = this.details.marks ?? {};
    return `${this.clip}[${from?.frame ?? 0}-${out?.frame ?? this.frames})`;
  }

  protected override follows(): unknown[] {
    const { state } = this.deck;
    return [state?.clip, state?.frame, state?.clip_frames, state?.status, state?.live_distance, state?.grows, state?.playback_source, state?.marks_changed, this.deck.stale, this.deck.verbs];
  }

  protected override view() {
    const { state } = this.deck;
    const marks = this.details.marks ?? {};
    const dead = this.deck.stale || !state?.running || !state.clip;
    const rate = state?.clip_rate ?? 25;
    const { in: from, out } = marks;
    const marked = !!from || !!out;
    const long = (out?.frame ?? this.frames) - (from?.frame ?? 0);
    const distance = state?.live_distance ?? -1;
    return html`
      <div class="head"><span class="cut"><bdi>${state?.clip || "No clip"}</bdi></span>
        ${state?.grows ? html`<span class="dim figure">${distance >= 0 ? `${(distance / rate).toFixed(1)} s behind` : "being recorded"}</span>` : nothing}
        ${this.deck.verb("live") ? html`<button data-verb="live" title=${this.deck.verb("live")?.help ?? ""} aria-pressed=${state?.grows && distance >= 0 && distance < 1.5 * rate ? "true" : "false"} ?disabled=${this.deck.stale || !state?.running} @click=${() => void this.run("live")}>Live</button>` : nothing}
      </div>
      <xp-strip clip=${this.clip} .frames=${this.frames} .frame=${this.whole ? frameOf(state) : -1} .marks=${marks} ?disabled=${dead} @xp-strip=${(event: Event) => this.moved(event as StripEvent)}></xp-strip>
      <div class="ends">
        ${this.end("in", "Mark in", from, dead)}
        <span><span class="label">Part</span><br /><span class="figure">${length(Math.max(0, long), rate)}</span></span>
        ${this.end("out", "Mark out", out, dead)}
      </div>
      <div class="acts" role="group" aria-label="Replay">
        <span class="label">Replay</span>
        ${speeds.map(([label, speed]) => html`<button data-verb="replay" title=${this.deck.verb("replay")?.help ?? ""} ?disabled=${dead || !marked} @click=${() => void this.run("replay", { speed })}>${label}<span class="hidden"> replay</span></button>`)}
        <button class="part" draggable=${marked ? "true" : "false"} ?disabled=${dead || !marked} title="Drag it into the list, or press: it is added at the end" @click=${() => this.dispatchEvent(new CustomEvent("xp-add", { detail: [this.listed], bubbles: true, composed: true }))} @dragstart=${this.drag}>Part to list</button>
      </div>
      <div class="rows" role="region" tabindex="0" aria-label="Points">
        ${state?.playback_source && state.playback_source !== "current_clip" ? html`<p class="dim">A list is played. Replay and live play one clip: choose <a href="#/list">Current clip</a>.</p>` : nothing}
        ${this.problem ? html`<p role="alert">${this.problem}</p>` : nothing}
        ${(marks.points ?? []).map((point) => this.point(point, dead))}
        ${marks.points?.length ? nothing : html`<p class="empty">No points. Mark point (key M) marks the frame that is shown, I and O where the part begins and ends.</p>`}
      </div>
      <div class="angle" role="group" aria-label="Points and other clips">
        <button data-verb="mark" ?disabled=${dead} @click=${() => this.markPoint()}>Mark point</button>
        <select id="angle" aria-label="Other clip" ?disabled=${!this.angles.length}>${this.angles.map((name) => html`<option value=${name}>${name}</option>`)}</select>
        <button data-verb="angle" title=${this.deck.verb("angle")?.help ?? ""} ?disabled=${dead || !this.angles.length} @click=${() => void this.run("angle", { clip: this.renderRoot.querySelector<HTMLSelectElement>("#angle")?.value ?? "" })}>Same moment there</button>
      </div>
    `;
  }

  private end(what: "in" | "out", text: string, mark: Mark | null | undefined, dead: boolean) {
    return html`<button data-verb="mark" ?disabled=${dead} aria-label=${text} @click=${() => void this.run("mark", { what })} @dblclick=${() => void this.run("unmark", { what })}>
      <span class="figure">${mark?.timecode || (mark ? `Frame ${mark.frame}` : "-")}</span><span class="label">${text} (${what === "in" ? "I" : "O"})</span></button>`;
  }

  private point(point: Mark, dead: boolean) {
    const name = point.name ?? "";
    return html`<div class="row">
      <button class="figure" data-verb="cue" title="Go there" ?disabled=${dead} @click=${() => this.cue(point.frame)}>${point.timecode || point.frame}</button>
      <input aria-label="Name of the point at ${point.timecode}" .value=${name} maxlength="80" @change=${(event: Event) => void this.rename(point, (event.target as HTMLInputElement).value)} />
      <button class="small" data-verb="unmark" aria-label="Remove ${name}" ?disabled=${dead} @click=${() => void this.run("unmark", { what: name })}>✕</button>
    </div>`;
  }

  private readonly drag = (event: DragEvent): void => {
    event.dataTransfer?.setData("application/x-xp-clips", JSON.stringify([this.listed]));
    this.dispatchEvent(new CustomEvent("xp-dragclips", { bubbles: true, composed: true }));
  };
}

// SPDX-License-Identifier: GPL-3.0-or-later
import { LitElement, css, html, nothing } from "lit";
import { customElement, property, query, state } from "lit/decorators.js";
import type { Marks } from "../link/state";
import { shared } from "./part";
import "./sound";
import "./still";

const slots = 8;

/** Told when a place is pointed at ("cue"), or an end of the part is moved ("in", "out": as the mark has it). */
export class StripEvent extends Event {
  constructor(
    readonly what: "cue" | "in" | "out",
    readonly frame: number,
  ) {
    super("xp-strip");
  }
}

/** A clip from its first frame to its last: pictures, the marked part with ends to be moved, points, and where one is. */
@customElement("xp-strip")
export class XpStrip extends LitElement {
  @property() clip = "";
  @property({ type: Number }) frames = 1;
  @property({ type: Number }) frame = 0;
  @property({ attribute: false }) marks: Marks = {};
  @property({ type: Boolean }) disabled = false;
  @query(".strip") private strip!: HTMLElement;
  /** An end that is being moved, and where it is. */
  @state() private moved: { what: "in" | "out"; frame: number } | null = null;
  private scrubbing = false;
  private pictured = 0;

  static override styles = [
    shared,
    css`
      :host { padding: 0 0.6rem; }
      .strip { position: relative; height: 6.5rem; background: var(--ground); cursor: pointer; touch-action: none; box-shadow: var(--rim); }
      .pictures { position: absolute; inset: 0 0 2rem; display: grid; grid-auto-flow: column; grid-auto-columns: minmax(0, 1fr); }
      xp-still { border-right: 1px solid var(--ground); --fit: cover; }
      xp-sound { position: absolute; inset: auto 0 0; height: 2rem; }
      .out { position: absolute; top: 0; bottom: 0; background: rgb(0 0 0 / 0.72); }
      .part { position: absolute; top: 0; bottom: 0; border-block: 0.1875rem solid var(--bright); pointer-events: none; }
      .end { position: absolute; top: -0.25rem; bottom: -0.25rem; width: 2.75rem; margin-left: -1.375rem; cursor: ew-resize; touch-action: none; }
      .end::after { content: ""; position: absolute; top: 0; bottom: 0; left: 50%; width: 0.5rem; background: var(--bright); border-radius: 0.125rem; }
      .end.in::after { margin-left: -0.5rem; }
      .point { position: absolute; top: 0; width: 0; border: 0.4rem solid transparent; border-top: 0.6rem solid var(--bright); margin-left: -0.4rem; pointer-events: none; filter: drop-shadow(0 0 1px #000); }
      .head { position: absolute; top: -0.25rem; bottom: -0.25rem; width: 0.125rem; margin-left: -0.0625rem; background: var(--bright); outline: 1px solid #000; pointer-events: none; }
    `,
  ];

  private get length(): number {
    return Math.max(1, this.frames);
  }

  private at(event: PointerEvent): number {
    const box = this.strip.getBoundingClientRect();
    return Math.min(1, Math.max(0, (event.clientX - box.left) / box.width)) * this.length;
  }

  private down(event: PointerEvent): void {
    if (this.disabled || event.button !== 0) return;
    this.strip.setPointerCapture(event.pointerId);
    this.scrubbing = true;
    this.move(event);
  }

  private move(event: PointerEvent): void {
    const at = this.at(event);
    if (this.moved) this.moved = { what: this.moved.what, frame: this.bounded(this.moved.what, Math.round(at)) };
    else if (this.scrubbing) this.dispatchEvent(new StripEvent("cue", Math.min(this.length - 1, Math.floor(at))));
  }

  private up(): void {
    const { moved } = this;
    this.scrubbing = false;
    this.moved = null;
    if (moved) this.dispatchEvent(new StripEvent(moved.what, moved.frame));
  }

  private grip(event: PointerEvent, what: "in" | "out"): void {
    event.stopPropagation();
    if (this.disabled || event.button !== 0) return;
    this.strip.setPointerCapture(event.pointerId);
    this.moved = { what, frame: this.place(what) };
  }

  /** Of a mark that is not set: the end of the clip. `out` is one behind the last frame. */
  private place(what: "in" | "out"): number {
    if (this.moved?.what === what) return this.moved.frame;
    return (what === "in" ? this.marks.in?.frame : this.marks.out?.frame) ?? (what === "in" ? 0 : this.length);
  }

  private bounded(what: "in" | "out", frame: number): number {
    return what === "in" ? Math.min(Math.max(0, frame), this.place("out") - 1) : Math.max(Math.min(this.length, frame), this.place("in") + 1);
  }

  private keydown(event: KeyboardEvent, what: "in" | "out"): void {
    const by = { ArrowRight: 1, ArrowUp: 1, ArrowLeft: -1, ArrowDown: -1 }[event.key];
    if (by === undefined || this.disabled) return;
    event.preventDefault();
    event.stopPropagation();
    this.dispatchEvent(new StripEvent(what, this.bounded(what, this.place(what) + by * (event.shiftKey ? 10 : 1))));
  }

  override willUpdate(): void {
    // A clip that grows gets new pictures now and then only.
    if (this.frames < this.pictured || this.frames > this.pictured * 1.2) this.pictured = this.frames;
  }

  override updated(): void {
    const share = (frame: number): string => `${(100 * Math.min(frame, this.length)) / this.length}%`;
    const put = (name: string, left: string, right = ""): void => {
      const element = this.renderRoot.querySelector<HTMLElement>(name);
      element?.style.setProperty("left", left);
      if (right) element?.style.setProperty("right", right);
    };
    const [from, to] = [this.place("in"), this.place("out")];
    const rest = (frame: number): string => `${100 - (100 * Math.min(frame, this.length)) / this.length}%`;
    put(".out.before", "0", rest(from));
    put(".out.after", share(to), "0");
    put(".part", share(from), rest(to));
    put(".end.in", share(from));
    put(".end.to", share(to));
    put(".head", share(this.frame + 0.5));
    this.renderRoot.querySelectorAll<HTMLElement>(".point").forEach((point, i) => point.style.setProperty("left", share((this.marks.points?.[i]?.frame ?? 0) + 0.5)));
  }

  override render() {
    const name = encodeURIComponent(this.clip);
    const marked = this.marks.in || this.marks.out || this.moved;
    return html`<div class="strip" @pointerdown=${this.down} @pointermove=${this.move} @pointerup=${this.up} @pointercancel=${this.up}>
      <div class="pictures" aria-hidden="true">
        ${this.clip && this.frames > 0 ? Array.from({ length: slots }, (_, i) => html`<xp-still path="clips/${name}/frames/${Math.floor(((i + 0.5) * this.pictured) / slots)}"></xp-still>`) : nothing}
      </div>
      <xp-sound clip=${this.clip} .frames=${this.pictured}></xp-sound>
      <div class="out before"></div>
      <div class="out after"></div>
      <div class="part" ?hidden=${!marked}></div>
      ${(this.marks.points ?? []).map((point) => html`<div class="point" title=${point.name}></div>`)}
      ${(["in", "out"] as const).map(
        (what) => html`<div class="end ${what === "in" ? "in" : "to"}" role="slider" tabindex="0" data-verb="mark" aria-label=${what === "in" ? "In" : "Out"} aria-disabled=${this.disabled ? "true" : "false"}
          aria-valuemin="0" aria-valuemax=${this.length} aria-valuenow=${this.place(what)} @pointerdown=${(event: PointerEvent) => this.grip(event, what)} @keydown=${(event: KeyboardEvent) => this.keydown(event, what)}></div>`,
      )}
      <div class="head" ?hidden=${this.frame < 0}></div>
    </div>`;
  }
}

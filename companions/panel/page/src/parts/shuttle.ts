// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html } from "lit";
import { customElement, property, state } from "lit/decorators.js";
import { Part, shared } from "./part";

const speeds = [0, 0.1, 0.25, 0.5, 1, 2, 4, 8, 16, 32];

/** Spring shuttle: pulled from its middle it plays faster and faster, let go it holds the picture. */
@customElement("xp-shuttle")
export class XpShuttle extends Part {
  @property({ type: Boolean }) disabled = false;
  @state() private pulled = 0; // -1 to 1
  @state() private speed = 0;

  static override styles = [
    shared,
    css`
      .track { position: relative; height: 100%; min-height: 2.75rem; background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); touch-action: none; cursor: ew-resize; overflow: hidden; }
      .marks { position: absolute; inset: auto 0 0.2rem 0; display: flex; justify-content: space-between; padding: 0 0.5rem; font-size: 0.625rem; color: var(--dim); pointer-events: none; }
      .knob { position: absolute; top: 0.25rem; bottom: 1.1rem; width: 2.25rem; left: 50%; margin-left: -1.125rem; background: var(--lifted); border: 1px solid var(--edge); border-radius: var(--round); pointer-events: none; }
      .knob::after { content: ""; position: absolute; left: 50%; top: 20%; bottom: 20%; border-left: 2px solid var(--bright); margin-left: -1px; }
      .track[aria-disabled="true"] { cursor: default; }
      .now { position: absolute; top: 0.35rem; right: 0.6rem; font-size: 0.8125rem; color: var(--bright); pointer-events: none; }
    `,
  ];

  private pull(to: number): void {
    if (this.disabled) return;
    this.pulled = Math.min(1, Math.max(-1, to));
    const speed = Math.sign(this.pulled) * speeds[Math.round(Math.abs(this.pulled) * (speeds.length - 1))];
    if (speed === this.speed) return;
    this.speed = speed;
    this.deck.speed(speed);
  }

  private move(event: PointerEvent): void {
    const track = event.currentTarget as HTMLElement;
    if (event.type === "pointerdown") track.setPointerCapture(event.pointerId);
    if (!track.hasPointerCapture(event.pointerId)) return;
    const box = track.getBoundingClientRect();
    this.pull(((event.clientX - box.left) / box.width) * 2 - 1);
  }

  private let(): void {
    if (this.pulled === 0) return;
    this.pulled = 0;
    this.speed = 0;
    this.deck.speed(0);
  }

  private keydown(event: KeyboardEvent): void {
    const by = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
    if (by === undefined) return;
    event.preventDefault();
    event.stopPropagation();
    this.pull(this.pulled + by / (speeds.length - 1));
  }

  override updated(): void {
    (this.renderRoot.querySelector(".knob") as HTMLElement | null)?.style.setProperty("left", `calc(50% + ${this.pulled} * (50% - 1.25rem))`);
  }

  protected override view() {
    return html`<div class="track" data-verb="play" role="slider" tabindex="0" aria-label="Shuttle" aria-valuemin="-32" aria-valuemax="32" aria-valuenow=${this.speed}
      aria-valuetext=${this.speed === 0 ? "still" : `${this.speed} times`} aria-disabled=${this.disabled ? "true" : "false"} title="Shuttle: pull and let go; the picture then holds"
      @pointerdown=${this.move} @pointermove=${this.move} @pointerup=${this.let} @pointercancel=${this.let} @keydown=${this.keydown} @keyup=${this.let} @blur=${this.let}>
      <div class="marks" aria-hidden="true"><span>32</span><span>8</span><span>2</span><span>½</span><span>0</span><span>½</span><span>2</span><span>8</span><span>32</span></div>
      <div class="knob"></div>
    </div>`;
  }
}

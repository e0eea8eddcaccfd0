// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html, svg } from "lit";
import { customElement, property } from "lit/decorators.js";
import { Part, shared } from "./part";

const notches = 24; // frames a turn
const wheelNotch = 60;

/** Jog wheel: a frame a notch, by finger, pen, mouse wheel or arrow keys. */
@customElement("xp-jog")
export class XpJog extends Part {
  @property({ type: Boolean }) disabled = false;
  private angle = 0; // of the wheel, in turns
  private grip: number | null = null;
  private rest = 0;

  static override styles = [
    shared,
    css`
      :host { display: grid; place-items: center; min-height: 0; }
      svg { width: 100%; height: 100%; max-height: 100%; touch-action: none; cursor: grab; display: block; border-radius: 50%; aspect-ratio: 1; }
      svg:active { cursor: grabbing; }
      .rim { fill: var(--panel); stroke: var(--line); stroke-width: 1; }
      .disc { fill: var(--raised); stroke: var(--lifted); stroke-width: 1.5; }
      .dimple { fill: var(--ground); stroke: var(--lifted); stroke-width: 1; }
      .mark { stroke: var(--edge); stroke-width: 1; }
      .mark.big { stroke: var(--text); stroke-width: 1.5; }
    `,
  ];

  private turn(by: number): void {
    if (this.disabled) return;
    this.angle += by;
    (this.renderRoot.querySelector("#wheel") as SVGElement | null)?.setAttribute("transform", `rotate(${this.angle * 360} 60 60)`);
    this.rest += by * notches;
    const steps = Math.trunc(this.rest);
    if (steps === 0) return;
    this.rest -= steps;
    this.deck.steps(steps);
  }

  private at(event: PointerEvent): number {
    const box = (event.currentTarget as Element).getBoundingClientRect();
    return Math.atan2(event.clientY - box.top - box.height / 2, event.clientX - box.left - box.width / 2) / (2 * Math.PI);
  }

  private down(event: PointerEvent): void {
    (event.currentTarget as Element).setPointerCapture(event.pointerId);
    this.grip = this.at(event);
  }

  private move(event: PointerEvent): void {
    if (this.grip === null) return;
    const at = this.at(event);
    let by = at - this.grip;
    by -= Math.round(by);
    this.grip = at;
    this.turn(by);
  }

  private wheel(event: WheelEvent): void {
    event.preventDefault();
    const lines = event.deltaMode === WheelEvent.DOM_DELTA_LINE ? 20 : 1;
    this.turn((event.deltaY * lines) / wheelNotch / notches);
  }

  private keydown(event: KeyboardEvent): void {
    const by = { ArrowRight: 1, ArrowUp: 1, ArrowLeft: -1, ArrowDown: -1 }[event.key];
    if (by === undefined) return;
    event.preventDefault();
    event.stopPropagation();
    this.turn((by * (event.shiftKey ? 10 : 1)) / notches);
  }

  protected override view() {
    const marks = Array.from({ length: notches }, (_, i) => i);
    return html`<svg viewBox="0 0 120 120" data-verb="step" role="slider" tabindex="0" aria-label="Jog wheel, a frame a notch" aria-valuenow=${this.deck.state?.frame ?? 0} aria-valuemin="0"
      aria-valuemax=${Math.max(0, (this.deck.state?.clip_frames ?? 1) - 1)} aria-disabled=${this.disabled ? "true" : "false"}
      @pointerdown=${this.down} @pointermove=${this.move} @pointerup=${() => (this.grip = null)} @pointercancel=${() => (this.grip = null)} @wheel=${this.wheel} @keydown=${this.keydown}>
      <circle class="rim" cx="60" cy="60" r="58.5" />
      <g id="wheel" transform="rotate(0 60 60)">
        ${marks.map((i) => this.mark(i))}
        <circle class="disc" cx="60" cy="60" r="46" />
        <circle class="dimple" cx="60" cy="30" r="10.5" />
      </g>
    </svg>`;
  }

  private mark(i: number) {
    const angle = (i / notches) * 2 * Math.PI - Math.PI / 2;
    const [x, y] = [Math.cos(angle), Math.sin(angle)];
    return svgLine(60 + x * 50, 60 + y * 50, 60 + x * 55.5, 60 + y * 55.5, i % 6 === 0 ? "mark big" : "mark");
  }
}

const svgLine = (x1: number, y1: number, x2: number, y2: number, name: string) => svg`<line class=${name} x1=${x1} y1=${y1} x2=${x2} y2=${y2} />`;

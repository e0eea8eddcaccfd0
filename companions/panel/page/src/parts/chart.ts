// SPDX-License-Identifier: GPL-3.0-or-later
import { LitElement, css, html } from "lit";
import { customElement, property, query } from "lit/decorators.js";
import type { Deck } from "../link/deck";
import { shared } from "./part";

const seconds = 60;
const perSecond = 4;

/** The last minute of one figure; a gap where nothing was heard. */
@customElement("xp-chart")
export class XpChart extends LitElement {
  @property() label = "";
  @property() unit = "";
  @property({ attribute: false }) value: number | null = null;
  @property({ attribute: false }) warnAbove = Infinity;
  @property({ attribute: false }) deck!: Deck;
  @query("canvas") private canvas!: HTMLCanvasElement;

  private past: (number | null)[] = [];
  private timer = 0;

  static override styles = [
    shared,
    css`
      :host { display: block; position: relative; min-width: 0; }
      canvas { position: absolute; inset: 0; width: 100%; height: 100%; }
      .over { position: relative; padding: 0.35rem 0.75rem; display: grid; gap: 0.1rem; align-content: center; height: 100%; white-space: nowrap; pointer-events: none; }
      .label { font-size: var(--label-size, 0.6875rem); }
      .figure { font-size: var(--figure-size, 0.9375rem); line-height: 1.1; color: var(--bright); }
      .warn .figure, .warn .label { color: var(--amber); }
      small { font-weight: 400; font-size: var(--label-size, 0.6875rem); color: var(--dim); }
    `,
  ];

  override connectedCallback(): void {
    super.connectedCallback();
    this.timer = window.setInterval(() => this.sample(), 1000 / perSecond);
  }

  override disconnectedCallback(): void {
    super.disconnectedCallback();
    clearInterval(this.timer);
  }

  private sample(): void {
    this.past.push(this.deck.stale ? null : this.value);
    if (this.past.length > seconds * perSecond) this.past.shift();
    this.draw();
  }

  private draw(): void {
    const context = this.canvas?.getContext("2d");
    if (!context || !this.clientWidth) return;
    const scale = window.devicePixelRatio;
    const width = Math.round(this.clientWidth * scale), height = Math.round(this.clientHeight * scale);
    if (this.canvas.width !== width || this.canvas.height !== height) [this.canvas.width, this.canvas.height] = [width, height];
    const style = getComputedStyle(this);
    context.clearRect(0, 0, width, height);
    const usual = Number.isFinite(this.warnAbove) ? this.warnAbove * 1.25 : 1;
    const top = Math.max(usual, ...this.past.map((value) => value ?? 0));
    const pitch = width / (seconds * perSecond);
    const first = seconds * perSecond - this.past.length;
    this.past.forEach((value, i) => {
      if (value === null) return;
      const tall = Math.max(scale, (value / top) * (height - 2 * scale));
      context.fillStyle = style.getPropertyValue(value > this.warnAbove ? "--amber" : "--edge");
      context.globalAlpha = value > this.warnAbove ? 0.45 : 0.35;
      context.fillRect((first + i) * pitch, height - tall, Math.ceil(pitch), tall);
    });
    context.globalAlpha = 1;
  }

  override render() {
    const warn = (this.value ?? 0) > this.warnAbove;
    const text = this.value === null ? "-" : this.value >= 100 || Number.isInteger(this.value) ? this.value.toFixed(0) : this.value.toFixed(1);
    return html`<canvas aria-hidden="true"></canvas>
      <div class="over ${warn ? "warn" : ""}"><div class="label">${this.label}</div><div class="figure">${warn ? "! " : ""}${text} <small>${this.unit}</small></div></div>`;
  }
}

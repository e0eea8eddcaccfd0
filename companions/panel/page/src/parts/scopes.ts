// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html, nothing } from "lit";
import { customElement, property, state } from "lit/decorators.js";
import { Problem, request } from "../link/api";
import { Part, shared } from "./part";
import { type Kind, drawGrid, names, readScopes, standardOf, tileOf, type Tile } from "./scopedraw";

const every = 160; // ms
const share = 4; // a busy browser paints scopes a fifth of its time at most: the picture goes first

/** Waveform, parade and vectorscope from the ten bits of the output; the recorder makes them only while this is in sight. */
@customElement("xp-scopes")
export class XpScopes extends Part {
  /** The one that fills the view; empty: all three. */
  @property() only = "";
  @state() private problem = "";
  @state() private live = false;
  @state() private lines = 1080;
  private timer = 0;
  private observer = new ResizeObserver(() => this.grids());

  static override styles = [
    shared,
    css`
      :host { height: 100%; }
      .all { height: 100%; display: grid; grid-template: minmax(0, 1.05fr) minmax(0, 1fr) / minmax(0, 1fr) auto; gap: 0.5rem; }
      .all.one { grid-template: minmax(0, 1fr) / minmax(0, 1fr); }
      figure { margin: 0; display: grid; grid-template-rows: auto minmax(0, 1fr); gap: 0.2rem; min-height: 0; min-width: 0; }
      .all:not(.one) figure:first-of-type { grid-column: 1 / -1; }
      figcaption a { font-size: 0.75rem; color: var(--dim); text-decoration: none; display: block; min-height: 1.5rem; line-height: 1.5rem; }
      .tile { position: relative; background: #000; min-height: 0; overflow: hidden; border-radius: 2px; }
      .square { height: 100%; aspect-ratio: 1; max-width: 100%; justify-self: center; }
      canvas { position: absolute; inset: 0; width: 100%; height: 100%; }
      .idle canvas:not(.grid) { opacity: 0.25; }
      p { grid-column: 1 / -1; }
      @media (max-width: 759px) {
        .all, .all.one { grid-template: repeat(3, auto) / minmax(0, 1fr); height: auto; max-height: 100%; overflow-y: auto; }
        .tile { height: 12rem; }
        .square { height: auto; width: 100%; }
      }
    `,
  ];

  override connectedCallback(): void {
    super.connectedCallback();
    this.timer = window.setInterval(() => void this.look(), every);
  }

  override disconnectedCallback(): void {
    super.disconnectedCallback();
    clearInterval(this.timer);
    this.observer.disconnect();
  }

  private looking = false;
  private rest = 0;
  private async look(): Promise<void> {
    if (this.looking || document.hidden || performance.now() < this.rest) return;
    this.looking = true;
    const response = await request("GET", "scopes");
    if (response instanceof Problem) this.problem = response.sentence;
    else if (response.status === 200) {
      const scopes = readScopes(await response.arrayBuffer());
      this.problem = scopes ? "" : "The scopes cannot be read.";
      if (scopes) this.lines = scopes.lines;
      const begun = performance.now();
      if (scopes) for (const kind of this.kinds) this.paint(kind, scopes[kind]);
      this.rest = performance.now() + share * (performance.now() - begun);
    }
    this.live = !this.problem;
    this.looking = false;
  }

  private get kinds(): Kind[] {
    const all = Object.keys(names) as Kind[];
    return all.includes(this.only as Kind) ? [this.only as Kind] : all;
  }

  private paint(kind: Kind, tile: Tile): void {
    const canvas = this.renderRoot.querySelector<HTMLCanvasElement>(`#${kind}`);
    const context = canvas?.getContext("2d", { alpha: false });
    if (!canvas || !context) return;
    const size = [canvas.clientWidth, canvas.clientHeight].map((side) => Math.max(1, Math.round(side * devicePixelRatio)));
    if (canvas.width !== size[0] || canvas.height !== size[1]) [canvas.width, canvas.height] = size;
    context.globalCompositeOperation = "source-over";
    context.fillStyle = "#000";
    context.fillRect(0, 0, size[0], size[1]);
    // A trace is a line of light: wider than the one level it lies on, or it vanishes where the scope is small.
    context.globalCompositeOperation = "lighter";
    const image = tileOf(kind, tile, size[1]);
    const wide = 0.6 * devicePixelRatio;
    const spots = kind === "vectorscope" ? [[-wide, -wide], [wide, -wide], [-wide, wide], [wide, wide], [0, 0]] : [[0, -wide], [0, 0], [0, wide]];
    for (const [x, y] of spots) {
      context.globalAlpha = x || y ? 0.6 : 1;
      context.drawImage(image, x, y, size[0], size[1]);
    }
    context.globalAlpha = 1;
  }

  private grids(): void {
    for (const canvas of this.renderRoot.querySelectorAll<HTMLCanvasElement>("canvas.grid")) drawGrid(canvas, canvas.dataset["kind"] as Kind, this.lines);
  }

  override updated(): void {
    for (const tile of this.renderRoot.querySelectorAll(".tile")) this.observer.observe(tile);
    this.grids();
  }

  protected override follows(): unknown[] {
    return [this.deck.frozen > 0];
  }

  protected override view() {
    const idle = !this.live || this.deck.frozen > 0;
    return html`<div class="all ${this.kinds.length === 1 ? "one" : ""} ${idle ? "idle" : ""}">
      ${this.kinds.map(
        (kind) => html`<figure>
          <figcaption><a href=${this.only === kind ? "#/scopes" : `#/scopes/${kind}`}>${names[kind]}${kind === "vectorscope" ? `, ${standardOf(this.lines)}` : ""} <span aria-hidden="true">${this.only === kind ? "−" : "+"}</span><span class="hidden">${this.only === kind ? ", show all scopes" : ", larger"}</span></a></figcaption>
          <div class="tile ${kind === "vectorscope" ? "square" : ""}"><canvas id=${kind} role="img" aria-label=${names[kind]}></canvas><canvas class="grid" data-kind=${kind} aria-hidden="true"></canvas></div>
        </figure>`,
      )}
      ${this.problem ? html`<p role="alert">${this.problem}</p>` : nothing}
    </div>`;
  }
}

// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html, nothing } from "lit";
import { customElement, state } from "lit/decorators.js";
import { Problem, request } from "../link/api";
import { Part, shared } from "./part";

const version = 1;
const every = 160; // ms

interface Tile {
  columns: number;
  rows: number;
  values: Uint8Array;
}

interface Scopes {
  waveform: Tile;
  parade: Tile;
  vectorscope: Tile;
}

type Kind = keyof Scopes;
/** Red, green and blue of a trace of this intensity. */
type Colour = (value: number, column: number, columns: number) => [number, number, number];

const grey: Colour = (value) => [value, value, value];
const third: Colour = (value, column, columns) => {
  const channel = Math.floor((column * 3) / columns);
  const low = value * 0.3;
  return [channel === 0 ? value : low, channel === 1 ? value : low, channel === 2 ? value : value * 0.36];
};
const colours: Record<Kind, Colour> = { waveform: grey, parade: third, vectorscope: grey };
const names: Record<Kind, string> = { waveform: "Waveform, per cent", parade: "Parade: red, green, blue", vectorscope: "Vectorscope, boxes at 75 per cent" };

// Where the colours of bars at 75 % lie, as shares of the scope, with their names.
const boxes = ([["R", 1, 0, 0], ["Yl", 1, 1, 0], ["G", 0, 1, 0], ["Cy", 0, 1, 1], ["B", 0, 0, 1], ["Mg", 1, 0, 1]] as const).map(([name, red, green, blue]) => {
  const luma = 0.2126 * red + 0.7152 * green + 0.0722 * blue;
  const share = (difference: number, range: number): number => (512 + (0.75 * 896 * (difference - luma)) / range) / 1024;
  return { name, x: share(blue, 1.8556), y: 1 - share(red, 1.5748) };
});

/** Waveform, parade and vectorscope from the ten bits of the output; the recorder makes them only while this is in sight. */
@customElement("xp-scopes")
export class XpScopes extends Part {
  @state() private problem = "";
  private timer = 0;

  static override styles = [
    shared,
    css`
      :host { height: 100%; display: grid; grid-template: minmax(0, 1.1fr) minmax(0, 1fr) / minmax(0, 1fr) minmax(0, 1fr); gap: 0.5rem; }
      figure { margin: 0; display: grid; grid-template-rows: auto minmax(0, 1fr); gap: 0.2rem; min-height: 0; }
      figure:first-of-type { grid-column: 1 / -1; }
      figcaption { font-size: 0.75rem; color: var(--dim); }
      .tile { position: relative; background: #000; min-height: 0; overflow: hidden; }
      canvas { position: absolute; inset: 0; width: 100%; height: 100%; }
      .square canvas { object-fit: contain; }
      p { grid-column: 1 / -1; }
      @media (max-width: 759px) { :host { grid-template: repeat(3, minmax(12rem, 1fr)) / minmax(0, 1fr); overflow-y: auto; } }
    `,
  ];

  override connectedCallback(): void {
    super.connectedCallback();
    this.timer = window.setInterval(() => void this.look(), every);
  }

  override disconnectedCallback(): void {
    super.disconnectedCallback();
    clearInterval(this.timer);
  }

  private looking = false;
  private async look(): Promise<void> {
    if (this.looking || document.hidden) return;
    this.looking = true;
    const response = await request("GET", "scopes");
    if (response instanceof Problem) this.problem = response.sentence;
    else if (response.status === 200) {
      const scopes = readScopes(await response.arrayBuffer());
      this.problem = scopes ? "" : "The scopes cannot be read.";
      if (scopes) for (const kind of Object.keys(names) as Kind[]) this.paint(kind, scopes[kind]);
    }
    this.looking = false;
  }

  private paint(kind: Kind, tile: Tile): void {
    const canvas = this.renderRoot.querySelector<HTMLCanvasElement>(`#${kind}`);
    const context = canvas?.getContext("2d", { alpha: false });
    if (!canvas || !context) return;
    if (canvas.width !== tile.columns || canvas.height !== tile.rows) [canvas.width, canvas.height] = [tile.columns, tile.rows];
    const image = context.createImageData(tile.columns, tile.rows);
    const colour = colours[kind];
    for (let i = 0; i < tile.values.length; ++i) {
      const value = tile.values[i];
      if (value) image.data.set(colour(value, i % tile.columns, tile.columns), 4 * i);
      image.data[4 * i + 3] = 255;
    }
    context.putImageData(image, 0, 0);
  }

  override updated(): void {
    for (const canvas of this.renderRoot.querySelectorAll<HTMLCanvasElement>("canvas.grid")) this.grid(canvas);
  }

  private grid(canvas: HTMLCanvasElement): void {
    const size = Math.round(480 * devicePixelRatio);
    if (canvas.width === size) return;
    canvas.width = canvas.height = size;
    const context = canvas.getContext("2d");
    if (!context) return;
    const unit = size / 480;
    context.strokeStyle = context.fillStyle = "#8d959d";
    context.lineWidth = unit;
    context.font = `${13 * unit}px sans-serif`;
    if (canvas.dataset["kind"] === "vectorscope") {
      context.globalAlpha = 0.6;
      context.beginPath();
      context.arc(size / 2, size / 2, size * 0.4375, 0, 2 * Math.PI);
      context.moveTo(size / 2, size * 0.04);
      context.lineTo(size / 2, size * 0.96);
      context.moveTo(size * 0.04, size / 2);
      context.lineTo(size * 0.96, size / 2);
      context.stroke();
      context.globalAlpha = 1;
      for (const box of boxes) {
        context.strokeRect(box.x * size - 9 * unit, box.y * size - 9 * unit, 18 * unit, 18 * unit);
        context.fillText(box.name, box.x * size + 12 * unit, box.y * size - 10 * unit);
      }
      return;
    }
    for (const share of [0, 25, 50, 75, 100]) {
      const y = (1 - (64 + 8.76 * share) / 1024) * size;
      context.globalAlpha = share % 100 === 0 ? 0.8 : 0.35;
      context.fillRect(0, y, size, unit);
      context.globalAlpha = 1;
    }
  }

  protected override follows(): unknown[] {
    return [];
  }

  protected override view() {
    return html`${(Object.keys(names) as Kind[]).map(
      (kind) => html`<figure><figcaption>${names[kind]}</figcaption><div class="tile ${kind === "vectorscope" ? "square" : ""}"><canvas id=${kind} width="512" height="256" role="img" aria-label=${names[kind]}></canvas><canvas class="grid" data-kind=${kind} aria-hidden="true"></canvas></div></figure>`,
    )}${this.problem ? html`<p role="alert">${this.problem}</p>` : nothing}`;
  }
}

function readScopes(bytes: ArrayBuffer): Scopes | null {
  const view = new DataView(bytes);
  if (bytes.byteLength < 16 || view.getUint16(0, true) !== version) return null;
  const [columns, parade, levels] = [2, 4, 6].map((at) => view.getUint16(at, true));
  if (bytes.byteLength !== 16 + levels * (columns + 3 * parade + levels)) return null;
  let at = 16;
  const tile = (wide: number): Tile => {
    const values = new Uint8Array(bytes, at, wide * levels);
    at += wide * levels;
    return { columns: wide, rows: levels, values };
  };
  return { waveform: tile(columns), parade: tile(3 * parade), vectorscope: tile(levels) };
}

// SPDX-License-Identifier: GPL-3.0-or-later
// The tiles of the scopes as the recorder sends them, and their graticules.

export interface Tile {
  columns: number;
  rows: number;
  values: Uint8Array;
}

export interface Scopes {
  /** Lines of the picture: they say which colours it has. */
  lines: number;
  waveform: Tile;
  parade: Tile;
  vectorscope: Tile;
}

export type Kind = "waveform" | "parade" | "vectorscope";
export const names: Record<Kind, string> = { waveform: "Waveform, per cent", parade: "Parade, per cent", vectorscope: "Vectorscope, 75 %" };

const version = 2;
const headerSize = 24;
const standardLines = 576;
// A single sample is just seen; where many lie, each adds to what is painted beside it, and levels of bars are white.
const faintest = 12, steep = 0.55;
const skin = (123 * Math.PI) / 180;
const black = 64, white = 940, codes = 1024;

export function readScopes(bytes: ArrayBuffer): Scopes | null {
  const view = new DataView(bytes);
  if (bytes.byteLength < headerSize || view.getUint16(0, true) !== version) return null;
  const [columns, parade, levels] = [2, 4, 6].map((at) => view.getUint16(at, true));
  if (bytes.byteLength !== headerSize + levels * (columns + 3 * parade + levels)) return null;
  let at = headerSize;
  const tile = (wide: number): Tile => {
    const values = new Uint8Array(bytes, at, wide * levels);
    at += wide * levels;
    return { columns: wide, rows: levels, values };
  };
  return { lines: view.getUint16(16, true), waveform: tile(columns), parade: tile(3 * parade), vectorscope: tile(levels) };
}

type Colour = [number, number, number];
const grey: Colour = [0.8, 0.9, 0.85];
const thirds: Colour[] = [[1, 0.32, 0.28], [0.3, 0.95, 0.4], [0.38, 0.55, 1]];

/** In the vectorscope a trace has the colour that it stands for. */
function hue(x: number, y: number): Colour {
  const blue = (x - 0.5) * 1.8556, red = (0.5 - y) * 1.5748;
  const light: Colour = [0.75 + red * 0.9, 0.75 - 0.1873 * blue - 0.4681 * red, 0.75 + blue * 0.9];
  return light.map((part) => Math.min(1, Math.max(0.3, part))) as Colour;
}

interface Painted {
  canvas: OffscreenCanvas;
  image: ImageData;
  /** Red, green and blue of each cell in full light. */
  colours: Uint8Array;
}
const kept = new Map<Kind, Painted>();

function begin(kind: Kind, { columns, rows }: Tile): Painted {
  const known = kept.get(kind);
  if (known?.image.width === columns && known.image.height === rows) return known;
  const colours = new Uint8Array(3 * columns * rows);
  for (let i = 0; i < columns * rows; ++i) {
    const column = i % columns;
    const colour = kind === "parade" ? thirds[Math.floor((column * 3) / columns)] : kind === "vectorscope" ? hue(column / columns, i / columns / rows) : grey;
    colours.set(colour.map((part) => part * 255), 3 * i);
  }
  const made = { canvas: new OffscreenCanvas(columns, rows), image: new ImageData(columns, rows), colours };
  kept.set(kind, made);
  return made;
}

/** As a picture, a pixel a column and level, for a scope so many pixels high: what is made smaller loses light. */
export function tileOf(kind: Kind, tile: Tile, height: number): OffscreenCanvas {
  const { canvas, image, colours } = begin(kind, tile);
  const boost = Math.max(1, tile.rows / height) ** 1.5;
  const light = Array.from({ length: 256 }, (_, value) => ((faintest + value * steep) * boost) / 255);
  const { data } = image;
  data.fill(0);
  for (let i = 0; i < tile.values.length; ++i) {
    const value = tile.values[i];
    if (!value) continue;
    for (let part = 0; part < 3; ++part) data[4 * i + part] = colours[3 * i + part] * light[value];
    data[4 * i + 3] = 255;
  }
  canvas.getContext("2d")?.putImageData(image, 0, 0);
  return canvas;
}

/** What the colour differences of a picture with so many lines are made from. */
const weights = (lines: number): { red: number; blue: number; name: string } => (lines <= standardLines ? { red: 0.299, blue: 0.114, name: "BT.601" } : { red: 0.2126, blue: 0.0722, name: "BT.709" });
export const standardOf = (lines: number): string => weights(lines).name;

/** Where the colours of bars at 75 % lie, as shares of the scope, with their names. */
function boxes(lines: number): { name: string; x: number; y: number }[] {
  const of = weights(lines);
  return ([["R", 1, 0, 0], ["Yl", 1, 1, 0], ["G", 0, 1, 0], ["Cy", 0, 1, 1], ["B", 0, 0, 1], ["Mg", 1, 0, 1]] as const).map(([name, red, green, blue]) => {
    const luma = of.red * red + (1 - of.red - of.blue) * green + of.blue * blue;
    const share = (difference: number, weight: number): number => (512 + (0.75 * 896 * (difference - luma)) / (2 - 2 * weight)) / codes;
    return { name, x: share(blue, of.blue), y: 1 - share(red, of.red) };
  });
}

/** Lines, boxes and their names, in the size in which the scope is shown. */
export function drawGrid(canvas: HTMLCanvasElement, kind: Kind, lines: number): void {
  const scale = devicePixelRatio;
  const width = canvas.clientWidth, height = canvas.clientHeight;
  if (!width || !height) return;
  if (canvas.width !== Math.round(width * scale) || canvas.height !== Math.round(height * scale)) [canvas.width, canvas.height] = [Math.round(width * scale), Math.round(height * scale)];
  const context = canvas.getContext("2d");
  if (!context) return;
  const style = getComputedStyle(canvas);
  const text = 0.6875 * parseFloat(getComputedStyle(document.documentElement).fontSize);
  context.setTransform(scale, 0, 0, scale, 0, 0);
  context.clearRect(0, 0, width, height);
  context.font = `${text}px ${style.fontFamily}`;
  context.fillStyle = context.strokeStyle = "#a5adb5";
  context.textBaseline = "middle";
  if (kind === "vectorscope") vectorGrid(context, width, height, text, lines);
  else levelGrid(context, width, height, text, kind === "parade");
}

function levelGrid(context: CanvasRenderingContext2D, width: number, height: number, text: number, isParade: boolean): void {
  for (const share of [0, 25, 50, 75, 100]) {
    const y = (1 - (black + ((white - black) * share) / 100) / codes) * height;
    context.globalAlpha = share % 100 === 0 ? 0.6 : 0.28;
    context.fillRect(0, y, width, 1);
    context.globalAlpha = 1;
    // Names keep clear of what lies on their lines.
    const label = String(share);
    const place = share === 100 ? y - 0.65 * text : y + 0.75 * text;
    if (!isParade || share % 100 === 0) context.fillText(label, 4, share === 0 ? Math.min(place, height - 0.6 * text) : place);
  }
  if (!isParade) return;
  context.globalAlpha = 0.4;
  for (const third of [1, 2]) context.fillRect((width * third) / 3, 0, 1, height);
  context.globalAlpha = 1;
}

function vectorGrid(context: CanvasRenderingContext2D, width: number, height: number, text: number, lines: number): void {
  const side = Math.min(width, height);
  const [left, top] = [(width - side) / 2, (height - side) / 2];
  const [x, y] = [left + side / 2, top + side / 2];
  context.lineWidth = 1;
  context.globalAlpha = 0.4;
  context.beginPath();
  context.arc(x, y, side * 0.4375, 0, 2 * Math.PI);
  context.moveTo(x, top + side * 0.04);
  context.lineTo(x, top + side * 0.96);
  context.moveTo(left + side * 0.04, y);
  context.lineTo(left + side * 0.96, y);
  // Skin of every colour lies near this line.
  const [along, up] = [Math.cos(skin), -Math.sin(skin)].map((part) => part * side * 0.4375);
  context.moveTo(x, y);
  context.lineTo(x + along, y + up);
  context.stroke();
  const half = Math.max(5, side * 0.028);
  context.textAlign = "center";
  for (const box of boxes(lines)) {
    const [bx, by] = [left + box.x * side, top + box.y * side];
    context.globalAlpha = 0.8;
    context.strokeRect(bx - half, by - half, 2 * half, 2 * half);
    context.globalAlpha = 1;
    // Towards the middle, where no trace of bars runs out of the picture.
    const away = (half + 0.9 * text) / Math.hypot(box.x - 0.5, box.y - 0.5);
    context.fillText(box.name, bx + (0.5 - box.x) * away, by + (0.5 - box.y) * away);
  }
}

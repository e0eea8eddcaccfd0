// SPDX-License-Identifier: GPL-3.0-or-later
import { LitElement, css, html } from "lit";
import { customElement, property, query } from "lit/decorators.js";
import { follow } from "./follow";

const floor = -60; // dB of full scale at the foot
const fall = 20 / 1.7; // dB a second, as a peak programme meter
const holdFor = 1500;
const warm = -9;
const reference = -18;
const marks = [0, -6, -12, -18, -24, -30, -40, -50];

interface Channel {
  level: number;
  peak: number;
  peakAt: number;
}

const decibels = (value: number): number => (value > 0 ? Math.max(floor, 20 * Math.log10(value)) : floor);

/**
 * Peak meters with hold: `show(peaks)` with 0 to 1 of full scale a channel, once a frame. With `for`, the id of an
 * <xp-picture>, it follows its frames. `channels` at most are drawn; `flat` lays them down.
 */
@customElement("xp-meter")
export class XpMeter extends LitElement {
  @property({ type: Number }) channels = 8;
  @property({ type: Boolean }) flat = false;
  /** What it shows is not live. */
  @property({ type: Boolean, reflect: true }) stale = false;
  @property({ attribute: "for" }) picture = "";
  @query("canvas") private canvas!: HTMLCanvasElement;

  private state: Channel[] = [];
  private shown = 0;
  private loudest = floor;
  private release = (): void => {};
  private observer = new ResizeObserver(() => this.draw());

  static override styles = css`
    :host { display: block; position: relative; }
    canvas { position: absolute; inset: 0; width: 100%; height: 100%; }
    :host([stale]) canvas { opacity: 0.3; }
  `;

  override connectedCallback(): void {
    super.connectedCallback();
    this.release = follow(this, this.picture, (frame) => this.show(frame.meters));
    this.observer.observe(this);
  }

  override disconnectedCallback(): void {
    super.disconnectedCallback();
    this.release();
    this.observer.disconnect();
  }

  show(peaks: number[]): void {
    const now = performance.now();
    const fallen = this.shown ? (fall * Math.min(now - this.shown, 1000)) / 1000 : 0;
    this.shown = now;
    this.loudest = floor;
    for (let i = 0; i < this.channels; ++i) {
      const level = decibels(peaks[i] ?? 0);
      const channel = (this.state[i] ??= { level: floor, peak: floor, peakAt: 0 });
      channel.level = Math.max(level, channel.level - fallen);
      if (level >= channel.peak) [channel.peak, channel.peakAt] = [level, now];
      else if (now - channel.peakAt > holdFor) channel.peak = Math.max(channel.level, channel.peak - fallen);
      this.loudest = Math.max(this.loudest, channel.level);
    }
    this.draw();
  }

  private draw(): void {
    const canvas = this.canvas;
    const context = canvas?.getContext("2d");
    if (!context || !this.clientWidth) return;
    const scale = window.devicePixelRatio;
    const width = Math.round(this.clientWidth * scale), height = Math.round(this.clientHeight * scale);
    if (canvas.width !== width || canvas.height !== height) [canvas.width, canvas.height] = [width, height];
    const style = getComputedStyle(this);
    const colour = (name: string, other: string): string => style.getPropertyValue(name).trim() || other;
    context.clearRect(0, 0, width, height);
    const em = parseFloat(style.fontSize) * scale;
    const text = 0.62 * em;
    const labels = this.flat ? 1.1 * text : 2 * text;
    const foot = this.flat ? 1.2 * text : 1.5 * text;
    const length = this.flat ? width - foot : height - foot - text / 2;
    const breadth = (this.flat ? height : width) - labels;
    const pitch = breadth / this.channels;
    const bar = Math.max(1, Math.floor(pitch * 0.68));
    const place = (level: number): number => Math.round(((Math.max(level, floor) - floor) / -floor) * length);
    context.font = `${text}px ${colour("--sans", "sans-serif")}`;
    context.textBaseline = "middle";
    const fill = (along: number, across: number, by: number, thick: number): void => {
      if (this.flat) context.fillRect(foot + along, across, by, thick);
      else context.fillRect(labels + across, height - foot - along - by, thick, by);
    };
    for (let i = 0; i < this.channels; ++i) {
      const across = Math.round(i * pitch);
      const channel = this.state[i] ?? { level: floor, peak: floor, peakAt: 0 };
      context.fillStyle = colour("--raised", "#1b1e21");
      fill(0, across, length, bar);
      context.fillStyle = colour("--text", "#c9ced3");
      fill(0, across, place(Math.min(channel.level, warm)), bar);
      if (channel.level > warm) {
        context.fillStyle = colour("--amber", "#f0a830");
        fill(place(warm), across, place(channel.level) - place(warm), bar);
      }
      if (channel.peak > floor) {
        context.fillStyle = channel.peak > warm ? colour("--amber", "#f0a830") : colour("--bright", "#fff");
        fill(place(channel.peak) - Math.ceil(scale), across, 2 * Math.ceil(scale), bar);
      }
      context.fillStyle = colour("--dim", "#8d959d");
      context.textAlign = "center";
      if (pitch < text) continue;
      if (this.flat) context.fillText(String(i + 1), text / 2, across + bar / 2);
      else context.fillText(String(i + 1), labels + across + bar / 2, height - foot / 2);
    }
    context.textAlign = this.flat ? "center" : "right";
    for (const mark of marks) {
      context.fillStyle = colour(mark === reference ? "--bright" : "--dim", "#8d959d");
      if (this.flat) context.fillText(String(-mark), Math.min(foot + place(mark), width - text / 2), height - labels / 2);
      else context.fillText(String(-mark), labels - 0.45 * text, height - foot - place(mark));
      context.fillStyle = colour("--ground", "#000");
      fill(place(mark), 0, Math.max(1, Math.round(scale)), breadth);
    }
  }

  override render() {
    const told = this.loudest <= floor ? "silent" : `${this.loudest.toFixed(0)} decibels of full scale`;
    return html`<canvas role="img" aria-label="Sound levels: ${told}"></canvas>`;
  }
}

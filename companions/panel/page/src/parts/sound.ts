// SPDX-License-Identifier: GPL-3.0-or-later
import { LitElement, css, html } from "lit";
import { customElement, property, query } from "lit/decorators.js";
import { Problem, get } from "../link/api";

const columns = 480;
const floor = -48; // dB of full scale at the middle line
const warm = -9;
const askAgainAfter = 1500; // ms
const busy = 429;
const mostTries = 8;

/** How loud a clip is from its first frame to its last, as far as `frames` goes; nothing where it has no sound. */
@customElement("xp-sound")
export class XpSound extends LitElement {
  @property() clip = "";
  /** Another number asks anew: a clip that grows, or was made again. */
  @property({ type: Number }) frames = 0;
  @query("canvas") private canvas!: HTMLCanvasElement;
  private peaks: number[] = [];
  private tries = 0;
  private observer = new ResizeObserver(() => this.draw());

  static override styles = css`
    :host { display: block; position: relative; background: var(--ground); }
    canvas { position: absolute; inset: 0; width: 100%; height: 100%; }
  `;

  override connectedCallback(): void {
    super.connectedCallback();
    this.observer.observe(this);
  }

  override disconnectedCallback(): void {
    super.disconnectedCallback();
    this.observer.disconnect();
  }

  override willUpdate(changes: Map<string, unknown>): void {
    if (changes.has("clip")) this.peaks = [];
    this.tries = 0;
    if (this.clip && this.frames > 0) void this.ask();
  }

  override updated(): void {
    this.draw();
  }

  private async ask(): Promise<void> {
    const { clip, frames } = this;
    const answer = await get<{ peaks: number[] }>(`clips/${encodeURIComponent(clip)}/waveform?columns=${columns}`);
    if (clip !== this.clip || frames !== this.frames || !this.isConnected) return;
    if (answer instanceof Problem) {
      // One clip at a time is read for all who look.
      if (answer.status === busy && ++this.tries < mostTries) setTimeout(() => void this.ask(), askAgainAfter);
      return;
    }
    this.peaks = answer.peaks;
    this.draw();
  }

  private draw(): void {
    const context = this.canvas?.getContext("2d");
    if (!context || !this.clientWidth) return;
    const scale = devicePixelRatio;
    const width = Math.round(this.clientWidth * scale), height = Math.round(this.clientHeight * scale);
    if (this.canvas.width !== width || this.canvas.height !== height) [this.canvas.width, this.canvas.height] = [width, height];
    context.clearRect(0, 0, width, height);
    const style = getComputedStyle(this);
    const [quiet, loud, line] = ["--text", "--amber", "--line"].map((name) => style.getPropertyValue(name));
    const middle = height / 2;
    context.fillStyle = line;
    context.fillRect(0, Math.round(middle), width, Math.max(1, Math.round(scale)));
    this.peaks.forEach((peak, i) => {
      const level = peak > 0 ? 20 * Math.log10(peak) : floor;
      if (level <= floor) return;
      const half = Math.max(scale / 2, (1 - level / floor) * (middle - scale));
      const from = Math.round((i * width) / this.peaks.length), to = Math.round(((i + 1) * width) / this.peaks.length);
      context.fillStyle = level > warm ? loud : quiet;
      context.fillRect(from, middle - half, Math.max(1, to - from), 2 * half);
    });
  }

  override render() {
    return html`<canvas role="img" aria-label="Sound of the clip"></canvas>`;
  }
}

// SPDX-License-Identifier: GPL-3.0-or-later
import { LitElement, css, html } from "lit";
import { customElement, property, query } from "lit/decorators.js";
import { PictureLink, type PictureFrame } from "../link/pictures";
import { FrameEvent } from "./follow";

/**
 * The picture on the recorder's output, with `auto` from its own link. Tells "xp-frame" with each one that it paints, so
 * that what belongs to the frame is shown with it.
 */
@customElement("xp-picture")
export class XpPicture extends LitElement {
  @property({ type: Boolean }) auto = false;
  @property({ type: Boolean, reflect: true }) stale = false;
  @query("canvas") private canvas!: HTMLCanvasElement;
  readonly link = new PictureLink();
  last: PictureFrame | null = null;

  static override styles = css`
    :host { display: block; position: relative; background: #000; overflow: hidden; }
    canvas { display: block; width: 100%; height: 100%; object-fit: contain; }
    :host([stale]) canvas { filter: grayscale(1) brightness(0.45); }
  `;

  override connectedCallback(): void {
    super.connectedCallback();
    this.link.onframe = (frame) => this.paint(frame);
    if (this.auto) this.link.start();
  }

  override disconnectedCallback(): void {
    super.disconnectedCallback();
    this.link.stop();
  }

  paint(frame: PictureFrame): void {
    const canvas = this.canvas;
    if (!canvas) return;
    const { height } = frame.image;
    const width = frame.aspect > 0 ? Math.round(height * frame.aspect) : frame.image.width;
    if (canvas.width !== width || canvas.height !== height) {
      canvas.width = width;
      canvas.height = height;
    }
    canvas.getContext("2d", { alpha: false })?.drawImage(frame.image, 0, 0, width, height);
    frame.image.close();
    this.last = frame;
    this.dispatchEvent(new FrameEvent(frame));
  }

  override render() {
    return html`<canvas width="960" height="540" role="img" aria-label="Picture on the output"></canvas>`;
  }
}

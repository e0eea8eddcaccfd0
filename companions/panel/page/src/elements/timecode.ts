// SPDX-License-Identifier: GPL-3.0-or-later
import { LitElement, css, html, nothing } from "lit";
import { customElement, property } from "lit/decorators.js";
import { follow } from "./follow";

/**
 * A timecode in figures of one width. `value` as the recorder writes it; `age` in milliseconds when it is not live any
 * more; `recording` colours it. With `for`, the id of an <xp-picture>, it shows the timecode of each of its frames.
 * Takes the font size of its surroundings.
 */
@customElement("xp-timecode")
export class XpTimecode extends LitElement {
  @property() value = "--:--:--:--";
  @property({ type: Number }) age = 0;
  @property({ type: Boolean, reflect: true }) recording = false;
  @property({ attribute: "for" }) picture = "";

  private release = (): void => {};

  static override styles = css`
    :host { display: inline-block; font-family: var(--sans, sans-serif); font-weight: 700; font-variant-numeric: tabular-nums;
      line-height: 1; white-space: pre; position: relative; color: var(--bright, #f5f7f8); letter-spacing: -0.01em; }
    :host([recording]) { color: var(--red-text, #ff5f54); }
    .stale { color: var(--edge, #5d656d); }
    .age { font-family: var(--sans, sans-serif); font-size: max(0.16em, 12px); letter-spacing: 0; color: var(--on-amber, #141006); background: var(--amber, #f0a830); position: absolute; right: 0; bottom: 0; padding: 0.1em 0.4em; border-radius: 0.15em; }
  `;

  override connectedCallback(): void {
    super.connectedCallback();
    this.release = follow(this, this.picture, (frame) => (this.value = frame.timecode));
  }

  override disconnectedCallback(): void {
    super.disconnectedCallback();
    this.release();
  }

  override render() {
    const stale = this.age > 0;
    return html`<span role="timer" aria-live="off" class=${stale ? "stale" : ""}>${this.value || "--:--:--:--"}</span>${this.age >= 1
        ? html`<span class="age">${(this.age / 1000).toFixed(1)} s old</span>`
        : nothing}`;
  }
}

// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html, nothing } from "lit";
import { customElement, property, state } from "lit/decorators.js";
import { Problem, address, request } from "../link/api";
import { Part, shared } from "./part";

const lookAgain = 2000; // ms
const notThere = 404;

/** A clip seen in this browser, beside what the deck does: its proxy, which is made when there is none. */
@customElement("xp-watch")
export class XpWatch extends Part {
  @property() clip = "";
  @state() private source = "";
  @state() private problem = "";
  @state() private isMissing = false;
  @state() private isMade = false;
  private timer = 0;

  static override styles = [
    shared,
    css`
      :host { display: grid; gap: 0.4rem; width: 100%; }
      video { width: 100%; aspect-ratio: 16 / 9; max-height: 40vh; background: #000; display: block; }
      p { margin: 0; font-size: 0.875rem; }
      [role="alert"] { padding: 0; }
      div { display: flex; gap: 0.5rem; align-items: center; }
      div p { flex: 1; }
    `,
  ];

  override disconnectedCallback(): void {
    super.disconnectedCallback();
    clearTimeout(this.timer);
    if (this.source.startsWith("blob:")) URL.revokeObjectURL(this.source);
  }

  override willUpdate(changes: Map<string, unknown>): void {
    if (!changes.has("clip")) return;
    this.source = this.problem = "";
    this.isMissing = this.isMade = false;
    if (this.clip) void this.look();
  }

  private get path(): string {
    return `clips/${encodeURIComponent(this.clip)}/proxy`;
  }

  private async look(): Promise<void> {
    const { clip } = this;
    const answer = await request("HEAD", this.path);
    if (clip !== this.clip || !this.isConnected) return;
    this.isMissing = answer instanceof Problem && answer.status === notThere;
    this.problem = answer instanceof Problem && !this.isMissing ? answer.sentence : "";
    if (answer instanceof Problem) {
      if (this.isMissing && this.isMade) this.timer = window.setTimeout(() => void this.look(), lookAgain);
      return;
    }
    this.isMade = false;
    this.source = address(this.path);
  }

  /** A film asks without the session's token: where looking needs one it is fetched whole. */
  private async fetchWhole(): Promise<void> {
    if (this.source.startsWith("blob:")) return void (this.problem = "This browser cannot show the proxy.");
    const { clip } = this;
    const response = await request("GET", this.path);
    if (response instanceof Problem) return void (this.problem = response.sentence);
    const made = URL.createObjectURL(await response.blob());
    if (clip === this.clip && this.isConnected) this.source = made;
    else URL.revokeObjectURL(made);
  }

  private async make(): Promise<void> {
    this.isMade = (await this.deck.run("export", { clip: this.clip, to: this.clip.replace(/[.][^.]*$/, "") + ".mp4", proxy: 1 })).done;
    if (this.isMade) await this.look();
  }

  protected override follows(): unknown[] {
    return [this.deck.verbs, this.deck.stale];
  }

  protected override view() {
    if (this.problem) return html`<p role="alert">${this.problem}</p>`;
    if (this.source) return html`<video controls preload="metadata" src=${this.source} aria-label="Proxy of ${this.clip}" @error=${() => void this.fetchWhole()}></video>`;
    if (!this.isMissing) return html`<p class="dim">The proxy is looked for.</p>`;
    if (this.isMade) return html`<p role="status">The proxy is being made; it is shown here when it is complete.</p>`;
    return html`<div><p>No proxy of it yet. Watching one here leaves the deck alone.</p>${this.deck.verb("export") ? html`<button class="small" data-verb="export" @click=${() => void this.make()}>Make a proxy</button>` : nothing}</div>`;
  }
}

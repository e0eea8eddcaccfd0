// SPDX-License-Identifier: GPL-3.0-or-later
import { LitElement, css, html, nothing } from "lit";
import { customElement, property, state } from "lit/decorators.js";
import { Problem, request } from "../link/api";

const atOnce = 2;
const mostKept = 400;
const askAgainAfter = 2000; // ms
const mostTries = 4;

const kept = new Map<string, string>();
const waiting: (() => Promise<void>)[] = [];
let running = 0;

/** A few at once: the recorder's panel has other questions to answer. */
function queue(work: () => Promise<void>): void {
  waiting.push(work);
  const next = (): void => {
    const one = running < atOnce ? waiting.shift() : undefined;
    if (!one) return;
    running++;
    void one().finally(() => {
      running--;
      next();
    });
  };
  next();
}

function keep(path: string, picture: Blob): string {
  const [oldest] = kept.keys();
  if (kept.size >= mostKept) {
    URL.revokeObjectURL(kept.get(oldest) ?? "");
    kept.delete(oldest);
  }
  const made = URL.createObjectURL(picture);
  kept.set(path, made);
  return made;
}

/** A small picture that the recorder makes, asked for with this session's right to look; black until it is there. */
@customElement("xp-still")
export class XpStill extends LitElement {
  @property() path = "";
  @state() private shown = "";
  private tries = 0;

  static override styles = css`
    :host { display: block; background: #000; overflow: hidden; }
    img { width: 100%; height: 100%; object-fit: var(--fit, contain); display: block; }
  `;

  override willUpdate(changes: Map<string, unknown>): void {
    if (!changes.has("path")) return;
    this.tries = 0;
    this.shown = kept.get(this.path) ?? "";
    if (this.path && !this.shown) this.ask(this.path);
  }

  private ask(path: string): void {
    queue(async () => {
      if (path !== this.path || !this.isConnected) return;
      const response = await request("GET", path);
      if (response instanceof Problem) {
        // It may not have been made yet.
        if (++this.tries < mostTries) setTimeout(() => path === this.path && this.ask(path), askAgainAfter);
        return;
      }
      const made = kept.get(path) ?? keep(path, await response.blob());
      if (path === this.path) this.shown = made;
    });
  }

  override render() {
    return this.shown ? html`<img alt="" draggable="false" src=${this.shown} @error=${() => (this.shown = "")} />` : nothing;
  }
}

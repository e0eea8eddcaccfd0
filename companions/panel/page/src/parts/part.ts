// SPDX-License-Identifier: GPL-3.0-or-later
import { LitElement, css, html, nothing } from "lit";
import { property } from "lit/decorators.js";
import type { Deck } from "../link/deck";

/** A part of the panel: draws itself anew when the deck changes. One that fails says so and leaves the others alone. */
export abstract class Part extends LitElement {
  @property({ attribute: false }) deck!: Deck;
  private unsubscribe = (): void => {};
  private followed: unknown[] = [];

  override connectedCallback(): void {
    super.connectedCallback();
    this.unsubscribe = this.deck.subscribe(() => {
      const now = this.follows();
      if (now && this.followed.length === now.length && now.every((one, i) => one === this.followed[i])) return;
      this.followed = now ?? [];
      this.requestUpdate();
    });
  }

  override disconnectedCallback(): void {
    super.disconnectedCallback();
    this.unsubscribe();
  }

  /** What this part is made of: it is drawn anew when one of these is another one. Null: with every change. */
  protected follows(): unknown[] | null {
    return null;
  }

  protected abstract view(): unknown;

  protected override render(): unknown {
    try {
      return this.view() ?? nothing;
    } catch (error) {
      return html`<p role="alert">This part cannot be shown (${String(error)}). The others are not affected.</p>`;
    }
  }
}

/** A sentence of the recorder's, what one types in its own type. */
export const prose = (text: string): unknown => text.split("`").map((part, i) => (i % 2 ? html`<code>${part}</code>` : part));

export const shared = css`
  * { box-sizing: border-box; }
  :host { display: block; color: var(--text); font-size: 1rem; }
  button, input, select, textarea { font: inherit; color: inherit; }
  button {
    background: var(--raised); border: 1px solid var(--line); border-radius: var(--round); min-height: 2.75rem; padding: 0 0.75rem;
    color: var(--text); cursor: pointer; touch-action: manipulation;
  }
  button:hover { background: var(--lifted); }
  [aria-pressed="true"], [aria-pressed="true"]:hover { background: var(--bright); color: var(--on-bright); border-color: var(--bright); }
  a { color: var(--bright); }
  button:disabled { color: var(--off); cursor: default; background: var(--panel); border-style: var(--off-border); }
  button.small { min-height: 1.9rem; padding: 0 0.5rem; font-size: 0.8125rem; }
  @media (pointer: coarse) { button.small { min-height: 2.75rem; } }
  input, select, textarea {
    background: var(--ground); border: 1px solid var(--edge); border-radius: var(--round); min-height: 2.25rem; padding: 0 0.6rem; min-width: 0;
  }
  :focus-visible { outline: 2px solid var(--focus); outline-offset: 1px; }
  h2 { font-size: 0.8125rem; font-weight: 700; color: var(--bright); margin: 0; }
  code { font-family: ui-monospace, monospace; font-size: 0.92em; }
  .dim { color: var(--dim); }
  .figure { font-weight: 700; font-variant-numeric: tabular-nums; }
  .label { font-size: 0.6875rem; color: var(--dim); letter-spacing: 0.02em; }
  .cut { overflow: hidden; text-overflow: ellipsis; white-space: nowrap; }
  [role="alert"] { color: var(--amber); padding: 0.75rem; margin: 0; }
  [hidden] { display: none !important; }
  .hidden { position: absolute; width: 1px; height: 1px; overflow: hidden; clip-path: inset(50%); white-space: nowrap; }
`;

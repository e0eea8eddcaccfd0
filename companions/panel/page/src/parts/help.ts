// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html, nothing } from "lit";
import { customElement, property, query } from "lit/decorators.js";
import { sentence, title } from "../link/deck";
import { keyLines } from "./keymap";
import { Part, shared } from "./part";
import "./verbform";

/** The map of keys, and every verb: to be done, and with its forms for programs. */
@customElement("xp-help")
export class XpHelp extends Part {
  /** Only this verb; empty: the whole map. */
  @property() only = "";
  @query("dialog") private dialog!: HTMLDialogElement;

  static override styles = [
    shared,
    css`
      dialog { background: var(--panel); color: var(--text); border: 1px solid var(--edge); border-radius: 0.5rem; padding: 0 1.25rem 1.25rem; width: min(60rem, calc(100vw - 2rem)); max-height: calc(100vh - 2rem); box-sizing: border-box; overflow-y: auto; scrollbar-color: var(--edge) transparent; }
      dialog::backdrop { background: rgb(0 0 0 / 0.6); }
      header { display: flex; align-items: center; gap: 1rem; position: sticky; top: 0; background: var(--panel); padding: 0.75rem 0 0.5rem; z-index: 1; }
      header button { margin-left: auto; }
      h2 { font-size: 1.125rem; }
      h3 { font-size: 1rem; color: var(--bright); margin: 0.5rem 0 0; }
      dl { display: grid; grid-template-columns: auto minmax(0, 1fr) auto minmax(0, 1fr); gap: 0.35rem 1rem; margin: 0.5rem 0 1rem; font-size: 0.875rem; align-items: baseline; }
      dt { color: var(--bright); white-space: nowrap; }
      dd { margin: 0; }
      details { border-top: 1px solid var(--line); }
      summary { min-height: 2.75rem; display: flex; gap: 0.75rem; align-items: center; cursor: pointer; font-size: 0.9375rem; }
      summary::before { content: "+"; color: var(--dim); width: 0.75rem; }
      details[open] summary::before { content: "−"; }
      summary b { color: var(--bright); min-width: 9rem; }
      p { margin: 0 0 0.25rem; font-size: 0.875rem; }
      @media (max-width: 759px) { dl { grid-template-columns: auto minmax(0, 1fr); } summary b { min-width: 7rem; } }
    `,
  ];

  show(only: string): void {
    this.only = only;
    void this.updateComplete.then(() => this.dialog.open || this.dialog.showModal());
  }

  protected override follows(): unknown[] {
    return [this.deck.verbs];
  }

  protected override view() {
    const one = this.deck.verb(this.only);
    return html`<dialog aria-label=${one ? title(one.name) : "Keys and verbs"} @keydown=${(event: Event) => event.stopPropagation()}>
      <header><h2>${one ? title(one.name) : "Keys and verbs"}</h2><button @click=${() => this.dialog.close()}>Close</button></header>
      ${one ? html`<p>${sentence(one.help)}</p><xp-verb .deck=${this.deck} .verb=${one}></xp-verb>` : this.map()}
    </dialog>`;
  }

  private map() {
    const { deck } = this;
    return html`<dl>${keyLines.filter((line) => !line.verb || deck.verb(line.verb)).map((line) => html`<dt>${line.keys}</dt><dd>${deck.verb(line.verb)?.help ?? ""}${line.text}</dd>`)}</dl>
      <h3>Verbs</h3>
      <p class="dim">Each opens to be done from here, and to be copied as programs say it.</p>
      ${deck.verbs.map(
        (verb) => html`<details @toggle=${() => this.requestUpdate()}><summary><b>${title(verb.name)}</b><span class="dim">${verb.help}</span></summary>${this.isOpen(verb.name) ? html`<xp-verb .deck=${deck} .verb=${verb}></xp-verb>` : nothing}</details>`,
      )}`;
  }

  /** What nobody looks at is not made. */
  private isOpen(name: string): boolean {
    const at = this.deck.verbs.findIndex((verb) => verb.name === name);
    return this.renderRoot.querySelectorAll("details")[at]?.open ?? false;
  }
}

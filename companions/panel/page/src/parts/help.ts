// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html, nothing } from "lit";
import { customElement, property, query } from "lit/decorators.js";
import type { Verb } from "../link/state";
import { keyLines } from "./keymap";
import { Part, shared } from "./part";
import { words } from "./text";

const names: Record<string, string> = { http: "HTTP", line: "Line", osc: "OSC", shell: "Shell" };

/** The map of keys, and every verb with its forms for programs. */
@customElement("xp-help")
export class XpHelp extends Part {
  /** Only this verb; empty: the whole map. */
  @property() only = "";
  @query("dialog") private dialog!: HTMLDialogElement;

  static override styles = [
    shared,
    css`
      dialog { background: var(--panel); color: var(--text); border: 1px solid var(--edge); border-radius: 0.5rem; padding: 1.25rem; width: min(60rem, calc(100vw - 2rem)); max-height: calc(100vh - 2rem); box-sizing: border-box; overflow-y: auto; }
      dialog::backdrop { background: rgb(0 0 0 / 0.6); }
      header { display: flex; align-items: center; gap: 1rem; position: sticky; top: 0; background: var(--panel); padding-bottom: 0.5rem; }
      header button { margin-left: auto; }
      h2 { font-size: 1.125rem; }
      h3 { font-size: 1rem; color: var(--bright); margin: 1rem 0 0.25rem; }
      dl { display: grid; grid-template-columns: auto minmax(0, 1fr) auto minmax(0, 1fr); gap: 0.35rem 1rem; margin: 0.5rem 0 1rem; font-size: 0.875rem; align-items: baseline; }
      dt { color: var(--bright); white-space: nowrap; }
      dd { margin: 0; }
      @media (max-width: 759px) { dl { grid-template-columns: auto minmax(0, 1fr); } }
      .form { display: grid; grid-template-columns: 3.5rem minmax(0, 1fr) auto; gap: 0.5rem; align-items: center; padding: 0.15rem 0; }
      code { font-family: ui-monospace, monospace; font-size: 0.8125rem; background: var(--ground); padding: 0.35rem 0.5rem; overflow-x: auto; white-space: pre; user-select: all; }
      p { margin: 0 0 0.25rem; font-size: 0.875rem; }
    `,
  ];

  show(only: string): void {
    this.only = only;
    void this.updateComplete.then(() => this.dialog.open || this.dialog.showModal());
  }

  /** Without the clipboard, which plain HTTP on a network has not, the text is selected and copied as of old. */
  private copy(event: Event): void {
    const button = event.currentTarget as HTMLElement;
    const code = button.parentElement?.querySelector("code");
    if (!code) return;
    const selection = getSelection();
    selection?.selectAllChildren(code);
    let copied = false;
    if (navigator.clipboard) void navigator.clipboard.writeText(code.textContent ?? "").catch(() => {});
    else copied = document.execCommand("copy");
    button.textContent = navigator.clipboard || copied ? "Copied" : "Selected";
  }

  protected override follows(): unknown[] {
    return [this.deck.verbs];
  }

  protected override view() {
    const rows = this.only ? this.deck.verbs.filter((verb) => verb.name === this.only) : this.deck.verbs;
    return html`<dialog aria-label=${this.only ? words(this.only) : "Keys and verbs"} @keydown=${(event: Event) => event.stopPropagation()}>
      <header><h2>${this.only ? `${words(this.only)}, from elsewhere` : "Keys and verbs"}</h2><button @click=${() => this.dialog.close()}>Close</button></header>
      ${this.only
        ? nothing
        : html`<dl>${keyLines.filter((line) => !line.verb || this.deck.verb(line.verb)).map((line) => html`<dt>${line.keys}</dt><dd>${this.deck.verb(line.verb)?.help ?? ""}${line.text}</dd>`)}</dl>`}
      ${rows.map((verb) => this.verb(verb))}
    </dialog>`;
  }

  private verb(verb: Verb) {
    return html`<h3>${words(verb.name)}</h3>
      <p>${verb.help}</p>
      ${verb.arguments.map((argument) => html`<p class="dim">${words(argument.name)}${argument.unit ? ` (${argument.unit})` : ""}: ${argument.help}</p>`)}
      ${Object.entries(verb.forms).map(([front, text]) => html`<div class="form"><span class="dim">${names[front] ?? front}</span><code tabindex="0">${text}</code><button class="small" aria-label="Copy the ${names[front] ?? front} form of ${words(verb.name)}" @click=${this.copy}>Copy</button></div>`)}`;
  }
}

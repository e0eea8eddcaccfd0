// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html, nothing } from "lit";
import { customElement, property, state } from "lit/decorators.js";
import { live } from "lit/directives/live.js";
import { title } from "../link/deck";
import type { Parameter } from "../link/state";
import { Part, shared } from "./part";
import { words } from "./text";

/** What changes with the work itself, such as the medium in use, has no default to go back to. */
const isChanged = (row: Parameter): boolean => row.keep === "always" && row.value !== row.default;

/** Every setting, made from what the recorder knows about it. */
@customElement("xp-settings")
export class XpSettings extends Part {
  /** Name of the setting that the address points at. */
  @property() target = "";
  @state() private search = "";
  @state() private changedOnly = false;
  @state() private text: string | null = null;
  private arrived = false;

  static override styles = [
    shared,
    css`
      :host { display: grid; grid-template-rows: auto minmax(0, 1fr) auto; gap: var(--gap); height: 100%; min-height: 0; }
      .tools { display: grid; grid-template-columns: minmax(0, 1fr) auto; gap: 0.5rem; align-items: center; }
      label { font-size: 0.8125rem; display: flex; gap: 0.4rem; align-items: center; min-height: 2.25rem; }
      input[type="checkbox"] { width: 1.1rem; height: 1.1rem; min-height: 0; accent-color: var(--text); }
      .rows { overflow-y: auto; scrollbar-color: var(--edge) transparent; min-height: 8rem; }
      .row { display: grid; grid-template-columns: minmax(0, 1fr) 11rem; gap: 0.1rem 0.75rem; padding: 0.5rem 0.25rem; border-bottom: 1px solid var(--line); align-items: center; }
      .row.target { background: var(--lifted); }
      .row .name { color: var(--bright); }
      .row .help { grid-column: 1 / -1; font-size: 0.75rem; color: var(--dim); }
      .row select, .row input { width: 100%; }
      .differs { font-size: 0.75rem; color: var(--text); }
      .differs button { min-height: 1.5rem; padding: 0 0.4rem; font-size: 0.75rem; margin-left: 0.4rem; }
      textarea { width: 100%; height: 100%; resize: none; font-family: ui-monospace, monospace; font-size: 0.8125rem; padding: 0.5rem; }
      .acts { display: flex; gap: 0.25rem; flex-wrap: wrap; }
    `,
  ];

  override connectedCallback(): void {
    super.connectedCallback();
    void this.deck.readParameters(); // others may have changed some
  }

  private get rows(): Parameter[] {
    const wanted = this.search.trim().toLowerCase();
    return [...this.deck.parameters.values()].filter(
      (row) => !row.told && row.keep !== "command" && (!this.changedOnly || isChanged(row)) && (!wanted || `${row.name} ${words(row.name)} ${row.help}`.toLowerCase().includes(wanted)),
    );
  }

  override updated(changes: Map<string, unknown>): void {
    if (changes.has("target")) this.arrived = false;
    const target = this.arrived ? null : this.renderRoot.querySelector(".target"); // its row comes with the settings
    if (!target) return;
    target.scrollIntoView({ block: "center" });
    this.arrived = true;
  }

  private async write(row: Parameter, value: string): Promise<void> {
    await this.deck.set(row.name, value);
    await this.deck.readParameters();
  }

  private async apply(): Promise<void> {
    for (const line of (this.text ?? "").split("\n")) {
      const match = /^\s*([a-z0-9_]+)\s*=\s?(.*)$/.exec(line);
      if (!match) continue;
      const row = this.deck.parameters.get(match[1]);
      if (row?.value === match[2]) continue;
      if (!(await this.deck.set(match[1], match[2])).done) return;
    }
    this.text = null;
    await this.deck.readParameters();
  }

  protected override follows(): unknown[] {
    return [this.deck.parameters];
  }

  protected override view() {
    const rows = this.rows;
    return html`
      <div class="tools">
        <input type="search" aria-label="Search settings" placeholder="Search settings" .value=${this.search} @input=${(event: InputEvent) => (this.search = (event.target as HTMLInputElement).value)} />
        <label><input type="checkbox" .checked=${this.changedOnly} @change=${(event: Event) => (this.changedOnly = (event.target as HTMLInputElement).checked)} />Changed</label>
      </div>
      ${this.text === null
        ? html`<div class="rows" role="region" tabindex="0" aria-label="Settings">${rows.map((row) => this.row(row))}${rows.length ? nothing : html`<p class="dim">No setting of this kind.</p>`}</div>`
        : html`<textarea aria-label="Settings as text" spellcheck="false" .value=${this.text} @input=${(event: InputEvent) => (this.text = (event.target as HTMLTextAreaElement).value)}></textarea>`}
      <div class="acts">
        ${this.text === null
          ? html`<button class="small" @click=${() => (this.text = rows.map((row) => `${row.name} = ${row.value}`).join("\n"))}>As text</button>`
          : html`<button class="small" @click=${() => void this.apply()}>Set all of these</button><button class="small" @click=${() => (this.text = null)}>Leave</button>`}
      </div>
    `;
  }

  private row(row: Parameter) {
    const differs = isChanged(row);
    return html`<div class="row ${row.name === this.target ? "target" : ""}" id=${row.name}>
      <div class="name" title=${row.name}>${title(row.name)}${row.unit ? html` <span class="dim">(${row.unit})</span>` : nothing}</div>
      ${this.field(row)}
      <div class="help">${row.help}
        ${differs ? html`<span class="differs">Default: ${words(row.default) || "empty"}.<button @click=${() => void this.write(row, row.default)}>Set to default</button></span>` : nothing}
      </div>
    </div>`;
  }

  private field(row: Parameter) {
    const write = (event: Event): void => void this.write(row, (event.target as HTMLInputElement | HTMLSelectElement).value);
    if (row.choices?.length)
      return html`<select aria-label=${words(row.name)} .value=${live(row.value)} @change=${write}>${row.choices.map((choice) => html`<option value=${choice} ?selected=${choice === row.value}>${words(choice)}</option>`)}</select>`;
    if (row.minimum !== undefined)
      return html`<input type="number" aria-label=${words(row.name)} min=${row.minimum} max=${row.maximum ?? nothing} .value=${live(row.value)} @change=${write} />`;
    return html`<input type="text" aria-label=${words(row.name)} spellcheck="false" .value=${live(row.value)} @change=${write} />`;
  }
}

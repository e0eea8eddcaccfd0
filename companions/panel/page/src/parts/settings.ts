// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html, nothing } from "lit";
import { customElement, property, state } from "lit/decorators.js";
import { live } from "lit/directives/live.js";
import { sentence, sentences, title } from "../link/deck";
import type { Parameter } from "../link/state";
import { Part, prose, shared } from "./part";
import { words } from "./text";

const lookAgain = 4000; // ms
const setShownFor = 3000; // ms
const unbounded = 0xffffffff;

/** What changes with the work itself, such as the medium in use, has no default to go back to. */
const isChanged = (row: Parameter): boolean => row.keep === "always" && row.value !== row.default;

/** A line a setting, also of those that hold several lines. */
const asLine = (value: string): string => value.replaceAll("\\", "\\\\").replaceAll("\n", "\\n");
const fromLine = (line: string): string => line.replaceAll(/\\(.)/g, (_, one: string) => (one === "n" ? "\n" : one));

/** Every setting, made from what the recorder knows about it. */
@customElement("xp-settings")
export class XpSettings extends Part {
  /** Name of the setting that the address points at. */
  @property() target = "";
  @state() private search = "";
  @state() private group = "";
  @state() private changedOnly = false;
  @state() private text: string | null = null;
  @state() private refused = { name: "", told: "" };
  @state() private set = "";
  private arrived = false;
  private timer = 0;

  static override styles = [
    shared,
    css`
      :host { display: grid; grid-template-rows: auto minmax(8rem, 1fr) auto; gap: var(--gap); height: 100%; min-height: 0; }
      .tools { display: grid; grid-template-columns: minmax(0, 1fr) minmax(0, 11rem) auto; gap: 0.5rem; align-items: center; }
      .tools label { font-size: 0.8125rem; display: flex; gap: 0.4rem; align-items: center; min-height: 2.25rem; }
      input[type="checkbox"] { width: 1.1rem; height: 1.1rem; min-height: 0; accent-color: var(--text); }
      .rows { overflow-y: auto; scrollbar-color: var(--edge) transparent; min-height: 0; position: relative; }
      h2 { position: sticky; top: 0; z-index: 1; background: var(--panel); padding: 0.5rem 0.25rem 0.4rem; border-bottom: 1px solid var(--line); }
      .row { display: grid; grid-template-columns: minmax(0, 1fr) 11rem; gap: 0.2rem 0.75rem; padding: 0.45rem 0.25rem; border-bottom: 1px solid var(--line); align-items: center; scroll-margin-top: 2.5rem; }
      .row.target { background: var(--lifted); }
      .row .name { color: var(--bright); overflow-wrap: anywhere; }
      .row .help { grid-column: 1 / -1; font-size: 0.8125rem; line-height: 1.35; color: var(--dim); }
      .range { color: var(--text); }
      .row .about { grid-column: 1 / -1; display: flex; flex-wrap: wrap; gap: 0 0.75rem; align-items: center; font-size: 0.8125rem; color: var(--dim); min-height: 1.5rem; }
      .row .about:empty { display: none; }
      .about button { min-height: 1.5rem; padding: 0 0.5rem; font-size: 0.75rem; }
      .about .differs { color: var(--text); }
      .row [role="alert"] { grid-column: 1 / -1; padding: 0; font-size: 0.875rem; }
      .row.refused { box-shadow: inset 0.1875rem 0 0 var(--amber); padding-left: 0.6rem; }
      .field { position: relative; min-width: 0; }
      .field > * { width: 100%; }
      .field .unit { position: absolute; right: 0.7rem; top: 0; bottom: 0; width: auto; display: grid; align-items: center; color: var(--dim); font-size: 0.8125rem; pointer-events: none; }
      .field.has-unit input { padding: 0 3.75rem 0 0.4rem; }
      .field textarea { font: inherit; min-height: 4.5rem; padding: 0.35rem 0.6rem; resize: vertical; }
      input[type="number"] { appearance: textfield; }
      input::-webkit-inner-spin-button { display: none; }
      .text { width: 100%; height: 100%; resize: none; font-family: ui-monospace, monospace; font-size: 0.8125rem; padding: 0.5rem; }
      .acts { display: flex; gap: 0.25rem; flex-wrap: wrap; align-items: center; }
      .acts .dim { margin-left: auto; font-size: 0.8125rem; }
      .may { margin: 0; font-size: 0.875rem; }
      @media (max-width: 759px) { .tools { grid-template-columns: minmax(0, 1fr) auto; } .tools input { grid-column: 1 / -1; } .row { grid-template-columns: minmax(0, 1fr) minmax(0, 10rem); } }
      @media (pointer: coarse) { .about button { min-height: 2.75rem; } }
    `,
  ];

  override connectedCallback(): void {
    super.connectedCallback();
    void this.deck.readParameters(); // others may have changed some
    this.timer = window.setInterval(() => this.isTypedInto || document.hidden || void this.deck.readParameters(), lookAgain);
  }

  override disconnectedCallback(): void {
    super.disconnectedCallback();
    clearInterval(this.timer);
  }

  /** What is half typed is not written over. */
  private get isTypedInto(): boolean {
    return /^(input|textarea|select)$/.test((this.renderRoot as ShadowRoot).activeElement?.localName ?? "");
  }

  private get settable(): Parameter[] {
    return [...this.deck.parameters.values()].filter((row) => !row.told && row.keep !== "command");
  }

  private get rows(): Parameter[] {
    const wanted = this.search.trim().toLowerCase();
    return this.settable.filter(
      (row) =>
        (!this.group || row.group === this.group) && (!this.changedOnly || isChanged(row)) && (!wanted || `${row.name} ${words(row.name)} ${row.help}`.toLowerCase().includes(wanted)),
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
    const answer = await this.deck.set(row.name, value);
    this.refused = answer.done ? { name: "", told: "" } : { name: row.name, told: sentences(answer) };
    this.set = answer.done ? row.name : "";
    if (answer.done) setTimeout(() => (this.set = this.set === row.name ? "" : this.set), setShownFor);
    await this.deck.readParameters();
  }

  private async apply(): Promise<void> {
    for (const line of (this.text ?? "").split("\n")) {
      const match = /^\s*([a-z0-9_]+)\s*=\s?(.*)$/.exec(line);
      if (!match) continue;
      const value = fromLine(match[2]);
      if (this.deck.parameters.get(match[1])?.value === value) continue;
      const answer = await this.deck.set(match[1], value);
      if (answer.done) continue;
      this.refused = { name: match[1], told: `${title(match[1])}: ${sentences(answer)}` };
      return;
    }
    this.leave();
    await this.deck.readParameters();
  }

  private leave(): void {
    this.text = null;
    this.refused = { name: "", told: "" };
  }

  protected override follows(): unknown[] {
    return [this.deck.parameters, this.deck.me, this.deck.state?.media];
  }

  private get may(): boolean {
    return this.deck.me.role === "engineer";
  }

  protected override view() {
    const rows = this.rows;
    const groups = [...new Set(this.settable.map((row) => row.group ?? ""))];
    return html`
      <div class="tools">
        <input type="search" aria-label="Search settings" placeholder="Search settings" .value=${this.search} @input=${(event: InputEvent) => (this.search = (event.target as HTMLInputElement).value)} />
        <select aria-label="Group of settings" @change=${(event: Event) => (this.group = (event.target as HTMLSelectElement).value)}>
          <option value="">All groups</option>${groups.map((group) => html`<option value=${group} ?selected=${group === this.group}>${title(group)}</option>`)}
        </select>
        <label title="Only what differs from its default"><input type="checkbox" .checked=${this.changedOnly} @change=${(event: Event) => (this.changedOnly = (event.target as HTMLInputElement).checked)} />Changed</label>
      </div>
      ${this.text === null ? this.list(rows, groups) : this.asText()}
      <div class="acts">
        ${this.text === null
          ? html`<button class="small" title="To be kept, or put in elsewhere" @click=${() => (this.text = rows.map((row) => `${row.name} = ${asLine(row.value)}`).join("\n"))}>As text</button><span class="dim">${rows.length === this.settable.length ? `${rows.length} settings` : `${rows.length} of ${this.settable.length}`}</span>`
          : html`<button class="small" ?disabled=${!this.may} @click=${() => void this.apply()}>Set all of these</button><button class="small" @click=${() => this.leave()}>Leave</button>`}
      </div>
    `;
  }

  private list(rows: Parameter[], groups: string[]) {
    return html`<div class="rows" role="region" tabindex="0" aria-label="Settings">
      ${this.may ? nothing : html`<p class="may dim">Only an engineer changes settings: log in under <a href="#/control">Control</a>.</p>`}
      ${groups.map((group) => {
        const own = rows.filter((row) => (row.group ?? "") === group);
        return own.length ? html`<h2>${title(group)}</h2>${own.map((row) => this.row(row))}` : nothing;
      })}
      ${rows.length ? nothing : html`<p class="dim">${this.settable.length ? "No setting of this kind." : "The settings are being asked for."}</p>`}
    </div>`;
  }

  private asText() {
    return html`<div><textarea class="text" aria-label="Settings as text" spellcheck="false" .value=${this.text ?? ""} @input=${(event: InputEvent) => (this.text = (event.target as HTMLTextAreaElement).value)}></textarea>
      ${this.refused.told ? html`<p role="alert">${this.refused.told} The lines above it are set.</p>` : nothing}</div>`;
  }

  private row(row: Parameter) {
    const refused = row.name === this.refused.name;
    const range = rangeOf(row);
    return html`<div class="row ${row.name === this.target ? "target" : ""} ${refused ? "refused" : ""}" id=${row.name}>
      <div class="name" title=${row.name}>${title(row.name)}</div>
      <div class="field ${row.unit && !row.choices?.length ? "has-unit" : ""}">${this.field(row, refused)}${row.unit && !row.choices?.length ? html`<span class="unit">${row.unit}</span>` : nothing}</div>
      ${refused ? html`<p role="alert" id="refused">Not set. ${prose(this.refused.told)}</p>` : nothing}
      <div class="help">${prose(sentence(row.help))}${range ? html` <span class="range">${range}.</span>` : nothing}${row.keep === "until_restart" ? " Kept until the machine restarts." : nothing}</div>
      <div class="about">${isChanged(row)
        ? html`<span class="differs">Default: ${words(row.default) || "empty"}</span><button ?disabled=${!this.may} @click=${() => void this.write(row, row.default)}>Set to default</button>`
        : nothing}${row.name === this.set ? html`<span class="differs" role="status">✓ Set</span>` : nothing}</div>
    </div>`;
  }

  private field(row: Parameter, refused: boolean) {
    const write = (event: Event): void => void this.write(row, (event.target as HTMLInputElement | HTMLSelectElement).value);
    const label = words(row.name);
    const invalid = refused ? "true" : nothing;
    const choices = this.choices(row);
    if (choices.length)
      return html`<select aria-label=${label} aria-invalid=${invalid} ?disabled=${!this.may} .value=${live(row.value)} @change=${write}>${choices.map(([value, text]) => html`<option value=${value} ?selected=${value === row.value}>${text}</option>`)}</select>`;
    if (row.attributes?.includes("lines")) return html`<textarea aria-label=${label} aria-invalid=${invalid} ?disabled=${!this.may} spellcheck="false" .value=${live(row.value)} @change=${write}></textarea>`;
    const isNumber = row.minimum !== undefined && !row.attributes?.includes("timecode_preset");
    return html`<input type=${isNumber ? "number" : "text"} aria-label=${label} aria-invalid=${invalid} ?disabled=${!this.may} min=${row.minimum ?? nothing} max=${row.maximum ?? nothing} spellcheck="false" .value=${live(row.value)} @change=${write} />`;
  }

  /** Of a folder: the media there are. */
  private choices(row: Parameter): [string, string][] {
    if (row.choices?.length) return row.choices.map((choice) => [choice, words(choice)]);
    const media = this.deck.state?.media ?? [];
    if (!row.attributes?.includes("folder") || !media.length) return [];
    const known: [string, string][] = media.map((medium) => [medium.path, medium.label ? `${medium.label} (${medium.path})` : medium.path]);
    if (row.value && !media.some((medium) => medium.path === row.value)) known.unshift([row.value, `${row.value} (not here)`]);
    return [["", "none"], ...known];
  }
}

function rangeOf(row: Parameter): string {
  if (row.minimum === undefined || row.choices?.length || row.attributes?.includes("timecode_preset")) return "";
  const unit = row.unit ? ` ${row.unit}` : "";
  if (row.maximum === undefined || row.maximum >= unbounded) return row.minimum > 0 ? `From ${row.minimum}${unit}` : "";
  return `${row.minimum} to ${row.maximum}${unit}`;
}

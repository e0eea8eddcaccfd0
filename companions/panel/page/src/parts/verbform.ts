// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html, nothing } from "lit";
import { customElement, property, state } from "lit/decorators.js";
import { sentences, title } from "../link/deck";
import type { Argument, Verb } from "../link/state";
import "./key";
import { isFinal } from "./key";
import { Part, shared } from "./part";
import { words } from "./text";

const names: Record<string, string> = { http: "HTTP", line: "Line", osc: "OSC", shell: "Shell" };

/** A verb with a field for each of its arguments, and its forms for programs with what is in the fields. */
@customElement("xp-verb")
export class XpVerb extends Part {
  @property({ attribute: false }) verb!: Verb;
  @state() private values: Record<string, string> = {};
  @state() private told = "";
  @state() private copied = "";

  static override styles = [
    shared,
    css`
      :host { padding: 0.25rem 0 0.75rem; }
      form { display: flex; flex-wrap: wrap; gap: 0.5rem; align-items: end; margin: 0.25rem 0 0.5rem; }
      label { display: grid; gap: 0.15rem; font-size: 0.75rem; color: var(--dim); flex: 0 1 14rem; }
      label > * { font-size: 1rem; color: var(--text); min-height: 2.75rem; }
      xp-key { min-width: 8rem; min-height: 2.75rem; }
      output { font-size: 0.875rem; flex-basis: 100%; }
      .form { display: grid; grid-template-columns: 3.5rem minmax(0, 1fr) 5rem; gap: 0.5rem; align-items: center; padding: 0.125rem 0; }
      code { font-family: ui-monospace, monospace; font-size: 0.8125rem; background: var(--ground); padding: 0.35rem 0.5rem; overflow-x: auto; white-space: pre; user-select: all; border-radius: 2px; }
      p { margin: 0 0 0.25rem; font-size: 0.875rem; }
    `,
  ];

  override willUpdate(changes: Map<string, unknown>): void {
    if (!changes.has("verb")) return;
    this.values = {};
    this.told = this.copied = "";
  }

  protected override follows(): unknown[] {
    return [this.deck.stale, this.deck.state?.media, this.deck.state?.alarm_list, this.deck.pending];
  }

  protected override view() {
    const { verb } = this;
    const missing = verb.arguments.some((argument) => argument.required && !this.values[argument.name]);
    const hold = isFinal(verb.name);
    return html`
      ${verb.arguments.map((argument) => html`<p class="dim">${title(argument.name)}: ${argument.help}</p>`)}
      <form @submit=${(event: Event) => event.preventDefault()}>
        ${verb.arguments.map((argument) => html`<label>${title(argument.name)}${argument.unit ? ` (${argument.unit})` : ""}${this.field(argument)}</label>`)}
        <xp-key verb=${verb.name} label=${hold ? `Hold to ${words(verb.name)}` : title(verb.name)} ?hold=${hold} ?pending=${this.deck.pending.has(verb.name)} ?disabled=${missing || this.deck.stale}
          @press=${() => void this.run()} @toobrief=${() => (this.told = "Hold the key for a second.")}></xp-key>
        <output>${this.told}</output>
      </form>
      ${Object.entries(verb.forms).map(
        ([front, text]) => html`<div class="form"><span class="dim">${names[front] ?? front}</span><code tabindex="0">${this.filled(front, text)}</code>
          <button class="small" aria-label="Copy the ${names[front] ?? front} form of ${words(verb.name)}" @click=${(event: Event) => this.copy(event, front)}>${this.copied === front ? "Copied" : "Copy"}</button></div>`,
      )}`;
  }

  private field(argument: Argument) {
    const set = (event: Event): void => void (this.values = { ...this.values, [argument.name]: (event.target as HTMLInputElement).value });
    const value = this.values[argument.name] ?? "";
    const choices = this.choices(argument);
    if (choices.length)
      return html`<select @change=${set}>${["", ...choices].map((choice) => html`<option value=${choice} ?selected=${choice === value}>${choice}</option>`)}</select>`;
    if (argument.minimum !== undefined)
      return html`<input type="number" min=${argument.minimum} max=${argument.maximum ?? nothing} step=${argument.type === "integer" ? 1 : "any"} .value=${value} @input=${set} />`;
    return html`<input type="text" autocomplete="off" spellcheck="false" maxlength="4096" .value=${value} @input=${set} />`;
  }

  private choices(argument: Argument): string[] {
    const state = this.deck.state;
    if (argument.choices) return argument.choices;
    if (argument.type === "medium") return (state?.media ?? []).map((medium) => medium.label || medium.path);
    if (argument.name === "alarm") return (state?.alarm_list ?? []).map((alarm) => alarm.name);
    return [];
  }

  private async run(): Promise<void> {
    this.told = "";
    const given = Object.fromEntries(Object.entries(this.values).filter(([, value]) => value !== ""));
    const answer = await this.deck.run(this.verb.name, given);
    this.told = answer.done ? "Done." : sentences(answer);
  }

  /** The names of the arguments give way to what has been typed. */
  private filled(front: string, form: string): string {
    let text = form;
    for (const [name, value] of Object.entries(this.values)) {
      if (value === "") continue;
      const written = front === "http" ? encodeURIComponent(value) : front === "shell" && /[^\w.:+,/-]/.test(value) ? `'${value.replaceAll("'", "'\\''")}'` : value;
      text = text.replace(new RegExp(`\\[?\\b${name.toUpperCase()}\\b\\]?`), () => written);
    }
    return text;
  }

  /** Without the clipboard, which plain HTTP on a network has not, the text is selected and copied as of old. */
  private copy(event: Event, front: string): void {
    const code = (event.currentTarget as HTMLElement).parentElement?.querySelector("code");
    if (!code) return;
    getSelection()?.selectAllChildren(code);
    const done = document.execCommand("copy");
    if (!done && navigator.clipboard) void navigator.clipboard.writeText(code.textContent ?? "").catch(() => {});
    this.copied = front;
  }
}

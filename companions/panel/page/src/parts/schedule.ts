// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html, nothing } from "lit";
import { customElement, state } from "lit/decorators.js";
import { Problem, get } from "../link/api";
import { sentence } from "../link/deck";
import type { Parameter } from "../link/state";
import { Part, shared } from "./part";

const lookAgain = 3000; // ms
const none = "-";

interface Planned {
  number: string;
  from: string;
  until: string;
  runs: boolean;
}

/** Takes that the recorder begins and ends by itself, and a form for one more. */
@customElement("xp-schedule")
export class XpSchedule extends Part {
  @state() private lines: string[] = [];
  private timer = 0;

  static override styles = [
    shared,
    css`
      :host { display: grid; gap: 0.4rem; border-top: 1px solid var(--line); padding-top: 0.6rem; margin-top: 0.25rem; }
      .take { display: grid; grid-template-columns: minmax(0, 1fr) auto; gap: 0.75rem; align-items: center; border-bottom: 1px solid var(--line); padding: 0.2rem 0; }
      .take .figure { color: var(--bright); }
      form { display: grid; grid-template-columns: minmax(0, 1fr) minmax(0, 1fr) auto; gap: 0.25rem 0.5rem; align-items: end; }
      label { display: grid; gap: 0.15rem; font-size: 0.75rem; color: var(--dim); }
      label input { font-size: 1rem; color: var(--text); min-height: 2.75rem; }
      p { margin: 0; font-size: 0.875rem; }
    `,
  ];

  override connectedCallback(): void {
    super.connectedCallback();
    void this.read();
    this.timer = window.setInterval(() => document.hidden || void this.read(), lookAgain);
  }

  override disconnectedCallback(): void {
    super.disconnectedCallback();
    clearInterval(this.timer);
  }

  private async read(): Promise<void> {
    const row = await get<Parameter>("params/record_schedule");
    if (!(row instanceof Problem)) this.lines = row.value.split("\n").filter(Boolean);
  }

  private async plan(event: Event): Promise<void> {
    event.preventDefault();
    const form = event.target as HTMLFormElement;
    const given = Object.fromEntries([...new FormData(form)].filter(([, value]) => value !== "")) as Record<string, string>;
    if ((await this.deck.run("schedule", given)).done) form.reset();
    await this.read();
  }

  private async takeOut(number: string): Promise<void> {
    await this.deck.run("unschedule", { number: Number(number) });
    await this.read();
  }

  protected override follows(): unknown[] {
    return [this.deck.verbs, this.deck.stale, this.deck.state?.status];
  }

  protected override view() {
    const verb = this.deck.verb("schedule");
    if (!verb) return nothing;
    const takes = this.lines.map((line) => planned(line, this.deck.zone));
    return html`
      <h2>Takes to come</h2>
      ${takes.map(
        (take) => html`<div class="take"><span><span class="figure">${take.from}</span> ${take.until ? html`to <span class="figure">${take.until}</span>` : "until somebody stops it"}${take.runs ? ", is being recorded" : ""}</span>
          <button class="small" data-verb="unschedule" aria-label="Take number ${take.number} out of the schedule" @click=${() => void this.takeOut(take.number)}>Take out</button></div>`,
      )}
      ${takes.length ? nothing : html`<p class="dim">None is planned.</p>`}
      <form data-verb="schedule" @submit=${this.plan}>
        ${verb.arguments.map((argument, i) => html`<label title=${sentence(argument.help)}>${["From", "Until"][i] ?? argument.name}<input name=${argument.name} autocomplete="off" spellcheck="false" maxlength="40" placeholder=${["10:00:00", "10:30:00"][i] ?? nothing} /></label>`)}
        <button title=${sentence(verb.help)} ?disabled=${this.deck.stale}>Plan take</button>
      </form>
    `;
  }
}

/** A line of the recorder's: number, begin, end, their timecodes, and by whom it has been begun. */
function planned(line: string, zone: string): Planned {
  const [number, start, end, startTimecode, endTimecode, recorder] = line.split(" ");
  const from = time(start, startTimecode, zone);
  const until = end === none || !end ? "" : time(end, endTimecode, zone);
  const sameDay = from.slice(0, 10) === until.slice(0, 10);
  return { number, from, until: sameDay ? until.slice(11) : until, runs: !!recorder && recorder !== none };
}

/** On the recorder's clock, in which it was typed: whoever looks may be in another time zone. */
function time(moment: string, timecode: string, zone: string): string {
  const [day, clock] = atZone(new Date(moment), zone).split(" ");
  const fraction = /[.](\d*?)0*Z$/.exec(moment)?.[1] ?? "";
  return `${day} ${timecode && timecode !== none ? timecode : clock + (fraction && `.${fraction}`)}`;
}

/** As 2026-11-26 10:00:00 (that is how Swedes write it); a zone that this browser does not know is its own. */
function atZone(at: Date, zone: string): string {
  const options = { dateStyle: "short", timeStyle: "medium" } as const;
  try {
    return at.toLocaleString("sv-SE", { ...options, timeZone: zone || undefined });
  } catch {
    return at.toLocaleString("sv-SE", options);
  }
}

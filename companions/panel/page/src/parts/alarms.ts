// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html, nothing } from "lit";
import { customElement, state } from "lit/decorators.js";
import { Problem, get } from "../link/api";
import { sentence, title } from "../link/deck";
import type { Alarm, HistoryLine } from "../link/state";
import { Part, prose, shared } from "./part";

const pause = 1000; // ms
const signs: Record<string, string> = { error: "✕", warning: "!", information: "i", clear: "✓" };

/** What is wrong now, since when, why, and what to do; and what has been. */
@customElement("xp-alarms")
export class XpAlarms extends Part {
  @state() private history: HistoryLine[] = [];
  @state() private problem = "";
  private known = "";

  static override styles = [
    shared,
    css`
      :host { height: 100%; overflow-y: auto; scrollbar-color: var(--edge) transparent; }
      section { display: grid; gap: 0.5rem; padding-bottom: 1rem; }
      article { background: var(--raised); border-left: 0.25rem solid var(--edge); padding: 0.6rem 0.75rem; display: grid; gap: 0.25rem; border-radius: 0 var(--round) var(--round) 0; }
      article.warning, article.error { border-color: var(--amber); }
      article header { display: grid; gap: 0.1rem; }
      header b { color: var(--bright); }
      .warning header b, .error header b { color: var(--amber); }
      header span { font-size: 0.75rem; color: var(--dim); white-space: nowrap; }
      article button { justify-self: start; }
      p { margin: 0; font-size: 0.9375rem; }
      .calm { color: var(--dim); padding: 0.75rem 0; }
      table { width: 100%; border-collapse: collapse; font-size: 0.8125rem; }
      td { padding: 0.25rem 0.5rem 0.25rem 0; vertical-align: top; border-bottom: 1px solid var(--line); }
      td:first-child { white-space: nowrap; color: var(--dim); width: 1%; }
      td:nth-child(2) { width: 1.5rem; text-align: center; }
    `,
  ];

  override willUpdate(): void {
    if (this.reading) return; // what changes meanwhile is asked for when it is free again
    const key = (this.deck.state?.alarm_list ?? []).map((alarm) => alarm.name + alarm.since + (alarm.acknowledged_by ?? "")).join();
    if (key === this.known && this.wasRead) return;
    this.known = key;
    void this.read();
  }

  private reading = false;
  private wasRead = false;
  private async read(): Promise<void> {
    this.reading = true;
    const answer = await get<{ history: HistoryLine[] }>("alarms/history");
    if (answer instanceof Problem) this.problem = answer.sentence;
    else {
      this.problem = "";
      this.wasRead = true;
      this.history = answer.history;
    }
    setTimeout(() => {
      this.reading = false;
      this.requestUpdate();
    }, pause);
  }

  protected override follows(): unknown[] {
    return [this.deck.state?.alarm_list, this.deck.verbs];
  }

  protected override view() {
    const alarms = this.deck.state?.alarm_list ?? [];
    return html`
      <section aria-label="Now">
        <h2>Now</h2>
        ${alarms.length ? alarms.map((alarm) => this.alarm(alarm)) : html`<p class="calm">Nothing is wrong.</p>`}
      </section>
      <section aria-label="History">
        <h2>History</h2>
        ${this.problem ? html`<p role="alert">${this.problem}</p>` : nothing}
        ${this.wasRead && !this.history.length ? html`<p class="calm">No alarm has been raised so far.</p>` : nothing}
        <table>
          <tbody>
            ${[...this.history].reverse().slice(0, 200).map(
              (line) => html`<tr><td>${line.time.replace("T", " ").slice(0, 19)}</td><td aria-label=${line.level}>${signs[line.level] ?? ""}</td><td>${title(line.name)}${line.message ? html`: <bdi>${line.message}</bdi>` : nothing}</td></tr>`,
            )}
          </tbody>
        </table>
      </section>
    `;
  }

  private alarm(alarm: Alarm) {
    return html`<article class=${alarm.level}>
      <header><b>${signs[alarm.level]} ${title(alarm.name)}</b><span>${title(alarm.level)} since ${alarm.since.replace("T", " ").slice(0, 19)}</span></header>
      <p><bdi>${alarm.message}</bdi></p>
      <p class="dim">${prose(sentence(alarm.advice))}</p>
      ${alarm.acknowledged_by
        ? html`<p class="dim">Seen by <bdi>${alarm.acknowledged_by}</bdi>.</p>`
        : this.deck.verb("acknowledge")
          ? html`<button class="small" data-verb="acknowledge" @click=${() => void this.deck.run("acknowledge", { alarm: alarm.name })}>Seen</button>`
          : nothing}
    </article>`;
  }
}

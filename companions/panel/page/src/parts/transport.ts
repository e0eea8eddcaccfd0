// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html, nothing } from "lit";
import { customElement, query } from "lit/decorators.js";
import { isRecording } from "../link/state";
import "./jog";
import "./key";
import { Part, shared } from "./part";
import "./position";
import "./shuttle";

interface KeyRow {
  verb: string;
  label: string;
  icon: string;
  values?: Record<string, string | number>;
  wide?: boolean;
  lit?: (status: string, speed: number) => boolean;
}

const plays = (status: string): boolean => status !== "stopped" && status !== "recording";

// What a deck's front has, in its order; what a key says and whether it is there comes from the recorder's verbs.
const main: KeyRow[] = [
  { verb: "record", label: "Record", icon: "record", wide: true, lit: (status) => status === "recording" },
  { verb: "stop", label: "Stop", icon: "stop", wide: true, lit: (status) => status === "stopped" },
  { verb: "play", label: "Reverse", icon: "reverse", values: { speed: -1 }, lit: (status, speed) => plays(status) && speed < 0 },
  { verb: "still", label: "Still", icon: "still", lit: (status, speed) => plays(status) && speed === 0 },
  { verb: "play", label: "Play", icon: "play", wide: true, values: { speed: 1 }, lit: (status, speed) => plays(status) && speed > 0 },
  { verb: "prev", label: "Previous", icon: "prev" },
  { verb: "next", label: "Next", icon: "next" },
];
const steps = [-10, -1, 1, 10];

/** Transport, position, speed, jog and the field for a timecode. */
@customElement("xp-transport")
export class XpTransport extends Part {
  @query("#where") private where!: HTMLInputElement;

  static override styles = [
    shared,
    css`
      :host { display: grid; grid-template-columns: minmax(0, 1fr) auto; grid-template-rows: auto 1fr 1fr; gap: var(--gap); }
      xp-position { grid-column: 1 / -1; }
      .keys { display: grid; grid-template-columns: 1.5fr 1.5fr 1fr 1fr 1.5fr 1fr 1fr; gap: 0.25rem; min-height: 3.75rem; }
      .second { display: grid; grid-template-columns: auto minmax(8rem, 1fr) auto; gap: 0.75rem; align-items: stretch; min-height: 3.25rem; }
      .steps { display: grid; grid-template-columns: repeat(4, 2.75rem); gap: 0.25rem; }
      xp-jog { grid-column: 2; grid-row: 2 / 4; width: 8.5rem; align-self: stretch; }
      form { display: grid; grid-template-columns: 9.5rem auto; gap: 0.25rem; align-items: stretch; }
      form input { font-size: 1.125rem; font-weight: 700; text-align: center; padding: 0 0.25rem; min-height: 2.75rem; }
      form button { padding: 0 0.7rem; }
      @media (max-width: 1099px) {
        :host { grid-template-columns: minmax(0, 1fr); grid-template-rows: none; }
        .keys { grid-template-columns: repeat(10, 1fr); }
        .keys xp-key { min-height: 3.25rem; grid-column: span 2; }
        .keys xp-key.wide { grid-column: span 5; min-height: 4.25rem; }
        .keys xp-key.wide.third { grid-column: span 2; min-height: 3.25rem; }
        :host(:not([more])) .second, :host(:not([more])) xp-jog { display: none; }
        .second { grid-template-columns: minmax(0, 1fr); gap: 0.5rem; }
        .steps { grid-template-columns: repeat(4, 1fr); min-height: 2.75rem; }
        xp-shuttle { min-height: 3.25rem; }
        form { grid-template-columns: minmax(0, 1fr) auto; }
        xp-jog { grid-column: 1; grid-row: auto; width: 11rem; height: 11rem; justify-self: center; }
      }
    `,
  ];

  focusTimecode(): void {
    this.where.focus();
    this.where.select();
  }

  protected override follows(): unknown[] {
    const { state } = this.deck;
    return [state?.running, state?.status, state?.speed, this.deck.stale, this.deck.pending, this.deck.verbs];
  }

  protected override view() {
    const state = this.deck.state;
    const recording = isRecording(state);
    const dead = !state?.running || this.deck.stale;
    return html`
      <xp-position .deck=${this.deck}></xp-position>
      <div class="keys" role="toolbar" aria-label="Transport">${main.map((row, i) => this.key(row, recording, dead, i === 4))}</div>
      <div class="second">
        <div class="steps" role="group" aria-label="Step">
          ${steps.map(
            (by) => html`<xp-key verb="step" label=${by > 0 ? `+${by}` : `−${-by}`} hint=${`${Math.abs(by)} frame${Math.abs(by) > 1 ? "s" : ""} ${by > 0 ? "on" : "back"}`}
              ?disabled=${dead} @press=${() => this.deck.steps(by)}></xp-key>`,
          )}
        </div>
        <xp-shuttle .deck=${this.deck} ?disabled=${dead}></xp-shuttle>
        <form data-verb="cue" @submit=${this.cue}>
          <input id="where" aria-label="Timecode or frame to cue to" placeholder="hh:mm:ss:ff" autocomplete="off" spellcheck="false" inputmode="numeric" maxlength="32" />
          <button ?disabled=${dead} title=${this.deck.verb("cue")?.help ?? nothing}>Cue</button>
        </form>
      </div>
      <xp-jog .deck=${this.deck} ?disabled=${dead}></xp-jog>
    `;
  }

  private key(row: KeyRow, recording: boolean, dead: boolean, third: boolean) {
    const verb = this.deck.verb(row.verb);
    if (this.deck.verbs.length && !verb) return nothing;
    const state = this.deck.state;
    const lit = !dead && !!state && !!row.lit?.(state.status, state.speed);
    return html`<xp-key
      class="${row.wide ? "wide" : ""} ${third ? "third" : ""}"
      verb=${row.verb}
      label=${row.verb === "stop" && recording ? "Hold to stop" : row.label}
      hint=${`${row.label}: ${verb?.help ?? ""}`}
      icon=${row.icon}
      ?red=${row.verb === "record"}
      ?lit=${lit}
      ?toggle=${!!row.lit}
      ?pending=${this.deck.pending.has(row.verb)}
      ?hold=${row.verb === "stop" && recording}
      ?disabled=${dead}
      @press=${() => void this.deck.run(row.verb, row.values)}
      @toobrief=${() => this.deck.tell({ kind: "lost", title: "Still recording", text: "To end the take, hold the key for a second." })}
    ></xp-key>`;
  }

  private cue(event: Event): void {
    event.preventDefault();
    const where = readTimecode(this.where.value);
    if (!where) return;
    // The keys move the deck again at once; a refusal gives the field back.
    this.where.blur();
    void this.deck.run("cue", { where }).then((answer) => answer.done || this.where.focus());
  }
}

/** What people type: 10:00:04:12, 10000412 or 412 (counted from the right), or a frame with #. */
export function readTimecode(text: string): string {
  const typed = text.trim();
  if (typed.startsWith("#")) return typed.slice(1).trim();
  if (!/^\d{1,8}$/.test(typed)) return typed.replaceAll(".", ":");
  return typed.padStart(8, "0").replace(/^(..)(..)(..)(..)$/, "$1:$2:$3:$4");
}

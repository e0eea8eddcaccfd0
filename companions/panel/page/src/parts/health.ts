// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html, nothing } from "lit";
import { customElement, property } from "lit/decorators.js";
import { Part, shared } from "./part";
import "./chart";
import { title } from "../link/deck";
import type { Alarm } from "../link/state";
import { room } from "./text";

const levels = ["information", "warning", "error"];

/** Everything that tells of trouble before a frame is lost, in one line. */
@customElement("xp-health")
export class XpHealth extends Part {
  /** Milliseconds from the capture of a picture to its being painted; null: not known. */
  @property({ attribute: false }) delay: number | null = null;

  static override styles = [
    shared,
    css`
      :host { background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); min-width: 0; }
      .strip { display: flex; height: 100%; align-items: stretch; overflow: hidden; }
      .cell { padding: 0.35rem 0.75rem; display: grid; align-content: center; gap: 0.1rem; border-right: 1px solid var(--line); min-width: 0; white-space: nowrap; }
      .cell:last-child { border-right: 0; margin-left: auto; }
      .figure { font-size: var(--figure-size, 0.9375rem); line-height: 1.1; color: var(--bright); }
      .warn .figure, .warn .label { color: var(--amber); }
      xp-chart { flex: 1 1 8rem; min-width: 6.5rem; border-right: 1px solid var(--line); }
      a.cell { text-decoration: none; max-width: 16rem; }
      a.cell .figure { overflow: hidden; text-overflow: ellipsis; }
      @media (min-width: 1100px) { :host([big]) { --figure-size: 1.7vw; --label-size: 0.9vw; } :host([big]) .cell { padding: 0.4vw 1vw; } }
      .label { font-size: var(--label-size, 0.6875rem); }
      .strip.stale > :not(:first-child) .figure { color: var(--dim); }
      :host([big]) .optional { display: none; }
      @media (max-width: 1100px) { .optional { display: none; } }
      @media (max-width: 1099px) {
        .strip { display: grid; grid-template-columns: 1fr 1fr; height: auto; }
        .cell, .cell:last-child { border: 0; margin: 0; overflow: hidden; }
        xp-chart { border: 0; height: 3rem; }
      }
    `,
  ];

  private cell(label: string, value: unknown, warn = false, name = "") {
    return html`<div class="cell ${warn ? "warn" : ""} ${name}"><div class="label">${label}</div><div class="figure">${warn ? "! " : nothing}${value}</div></div>`;
  }

  private alarms(list: Alarm[]) {
    const [worst] = [...list].sort((a, b) => levels.indexOf(b.level) - levels.indexOf(a.level));
    const warn = !!worst && worst.level !== "information";
    return html`<a class="cell ${warn ? "warn" : ""}" href="#/alarms" title=${worst?.message ?? ""}><div class="label">Alarms</div><div class="figure">${!worst ? "none" : html`${warn ? "! " : nothing}${title(worst.name)}${list.length > 1 ? ` +${list.length - 1}` : nothing}`}</div></a>`;
  }

  protected override view() {
    const { state, counters, frozen } = this.deck;
    const low = !!state && state.medium_seconds_left > 0 && state.medium_seconds_left < 600;
    const lost = (state?.dropped_capture ?? 0) + (state?.dropped_playback ?? 0);
    const owner = state?.owner?.name;
    return html`<div class="strip ${this.deck.stale ? "stale" : ""}" role="group" aria-label="Health">
      ${frozen
        ? this.cell("Lens to screen", `${(frozen / 1000).toFixed(1)} s ago`, true)
        : this.cell("Lens to screen", this.delay === null ? "-" : `${Math.round(this.delay)} ms`, (this.delay ?? 0) > 250)}
      ${this.cell("Room", state ? room(state.medium_seconds_left) : "-", low)}
      ${this.cell("Lost frames", lost, lost > 0)}
      ${this.alarms(state?.alarm_list ?? [])}
      <xp-chart label="Writer queue" unit="frames" .value=${counters["writer_queue"] ?? null} .warnAbove=${24} .deck=${this.deck}></xp-chart>
      <xp-chart label="Write latency p99" unit="ms" .value=${counters["write_latency_p99"] === undefined ? null : counters["write_latency_p99"] / 1000} .warnAbove=${250} .deck=${this.deck}></xp-chart>
      <xp-chart class="optional" label="Frames lost" unit="" .value=${state ? lost : null} .warnAbove=${0.5} .deck=${this.deck}></xp-chart>
      ${this.cell("In control", owner ? html`<bdi>${owner}</bdi>` : "everybody")}
    </div>`;
  }
}

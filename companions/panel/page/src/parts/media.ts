// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html, nothing } from "lit";
import { customElement } from "lit/decorators.js";
import { type Medium, isRecording } from "../link/state";
import { Part, shared } from "./part";
import "./schedule";
import { bytes, room, words } from "./text";

const early = 600; // seconds

/** The media in the order in which they fill, with the time that is left on each and in sum. */
@customElement("xp-media")
export class XpMedia extends Part {
  static override styles = [
    shared,
    css`
      :host { height: 100%; overflow-y: auto; display: grid; align-content: start; gap: 0.5rem; scrollbar-color: var(--edge) transparent; }
      .sum { display: flex; justify-content: space-between; align-items: baseline; padding: 0 0 0.25rem; }
      .sum { gap: 0.75rem; }
      .sum .figure { white-space: nowrap; font-size: 1.5rem; color: var(--bright); }
      .warn, .warn.figure { color: var(--amber) !important; }
      article { background: var(--raised); border-radius: var(--round); padding: 0.5rem 0.75rem; display: grid; gap: 0.4rem; }
      article.active { box-shadow: inset 0.1875rem 0 0 var(--bright); }
      header { display: flex; gap: 0.75rem; align-items: baseline; }
      header b { color: var(--bright); font-size: 1.125rem; }
      header .figure { margin-left: auto; font-size: 1.125rem; color: var(--bright); }
      .bar { height: 0.5rem; background: var(--ground); position: relative; }
      .bar i { position: absolute; inset: 0; background: var(--text); transform-origin: left; }
      .bar.warn i { background: var(--amber); }
      p { margin: 0; font-size: 0.875rem; }
      .sub { display: flex; flex-wrap: wrap; gap: 0.25rem 1.25rem; font-size: 0.8125rem; color: var(--dim); }
    `,
  ];

  override updated(): void {
    const media = this.deck.state?.media ?? [];
    this.renderRoot.querySelectorAll<HTMLElement>(".bar i").forEach((bar, i) => bar.style.setProperty("transform", `scaleX(${1 - (media[i]?.percent_free ?? 0) / 100})`));
  }

  protected override follows(): unknown[] {
    return [this.deck.state?.status, this.deck.state?.media, this.deck.state?.medium_seconds_left, this.deck.parameters];
  }

  protected override view() {
    const state = this.deck.state;
    const media = state?.media ?? [];
    const left = state?.medium_seconds_left ?? 0;
    const next = media.find((medium) => medium.state === "next");
    const active = media.find((medium) => medium.state === "active");
    const mirror = media.find((medium) => medium.state === "mirror");
    const goesOn = this.deck.parameters.get("rollover_enabled")?.value !== "off";
    return html`
      <div class="sum"><span>${isRecording(state) ? "This take can go on for" : "A take that begins now can last"}</span><span class="figure ${left > 0 && left < early ? "warn" : ""}">${room(left)}</span></div>
      ${media.map((medium) => this.medium(medium))}
      ${media.length === 0 ? html`<p role="alert">No medium: nothing can be recorded.</p>` : nothing}
      <p class="dim">${mirror
        ? html`Takes are written to <b>${active?.label || active?.path}</b> and <b>${mirror.label || mirror.path}</b> at once. <a href="#/settings/mirror_media_path">Change it</a>`
        : next && goesOn
        ? html`When the active medium is full, a take goes on on <b>${next.label || next.path}</b>.`
        : next
          ? html`Rollover is off: a take ends when the active medium is full. <a href="#/settings/rollover_enabled">Change it</a>`
          : "No medium comes next: a take ends when the active one is full."}</p>
      <xp-schedule .deck=${this.deck}></xp-schedule>
    `;
  }

  private medium(medium: Medium) {
    const warn = medium.seconds_left > 0 && medium.seconds_left < early && medium.state !== "read_only";
    return html`<article class=${medium.state}>
      <header><b><bdi>${medium.label || medium.path}</bdi></b><span>${words(medium.state)}</span><span class="figure ${warn ? "warn" : ""}">${room(medium.seconds_left)}</span></header>
      <div class="bar ${warn ? "warn" : ""}" role="img" aria-label="${(100 - medium.percent_free).toFixed(0)} percent used"><i></i></div>
      <div class="sub"><span>${bytes(medium.bytes_free)} free of ${bytes(medium.bytes_total)}</span><span>${medium.clips} clips</span><span><bdi>${medium.path}</bdi></span></div>
    </article>`;
  }
}

// SPDX-License-Identifier: GPL-3.0-or-later
import { LitElement, css, html, nothing } from "lit";
import { customElement, property, query } from "lit/decorators.js";
import "../elements/picture";
import "../elements/timecode";
import type { FrameEvent } from "../elements/follow";
import type { XpPicture } from "../elements/picture";
import type { XpTimecode } from "../elements/timecode";
import { place } from "../link/api";
import { Deck, title } from "../link/deck";
import { isRecording, waitOf } from "../link/state";
import "./key";
import { shared } from "./part";
import { room } from "./text";
import { isDark, trouble } from "./trouble";

/** One recorder on a wall of several: picture, timecode, state, time left, alarms, record and stop. With links of its own. */
@customElement("xp-tile")
export class XpTile extends LitElement {
  /** Which recorder: "", "channels/2", "machines/NAME". */
  @property() at = "";
  @property() name = "";
  /** What the others know of one that does not answer. */
  @property() told = "";
  @query("xp-picture") private picture!: XpPicture;
  @query("xp-timecode") private timecode!: XpTimecode;
  /** One of those that are worked together. */
  @property({ type: Boolean, reflect: true }) ganged = false;
  deck: Deck | null = null;

  static override styles = [
    shared,
    css`
      :host { position: relative; display: grid; grid-template: minmax(0, 1fr) auto auto / minmax(0, 1fr); background: var(--panel); border: 0.25rem solid var(--line); border-radius: var(--round); min-height: 0; min-width: 0; overflow: hidden; container-type: inline-size; }
      :host([recording]) { border-color: var(--red); }
      xp-picture { min-height: 0; min-width: 0; }
      .banner { position: absolute; inset: 0 0 auto 0; background: var(--amber); color: var(--on-amber); font-weight: 700; padding: 0.4rem 0.75rem; text-align: center; }
      .head { display: grid; grid-template-columns: minmax(0, 1fr) auto; gap: 0 1rem; align-items: center; padding: 0.4rem 0.75rem 0; }
      .name { font-weight: 700; color: var(--bright); font-size: max(1rem, 3.2cqw); }
      .word { font-size: max(0.875rem, 2.6cqw); }
      :host([recording]) .word { background: var(--red); color: var(--on-red); border-radius: var(--round); padding: 0 0.5em; font-weight: 700; justify-self: start; }
      .gang { display: flex; align-items: center; gap: 0.4rem; min-height: 2.75rem; }
      .gang input { width: 1.25rem; height: 1.25rem; margin: 0; accent-color: var(--bright); }
      .alarms { color: var(--amber); font-weight: 700; }
      xp-timecode { font-size: 9cqw; grid-row: 1 / 3; grid-column: 2; }
      .foot { display: grid; grid-template-columns: minmax(0, 1fr) auto auto auto auto; gap: 0.25rem 0.5rem; padding: 0.4rem 0.5rem 0.5rem 0.75rem; align-items: center; }
      .about { display: flex; gap: 0.75rem; min-width: 0; white-space: nowrap; }
      xp-key { width: 6.5rem; height: 2.75rem; }
      .foot a { display: grid; place-content: center; min-height: 2.75rem; padding: 0 0.75rem; }
      @media (max-width: 759px) { xp-picture { aspect-ratio: 16 / 9; } }
      @container (max-width: 27rem) {
        .foot { grid-template-columns: auto minmax(0, 1fr) minmax(0, 1fr) auto; padding-left: 0.5rem; }
        .about { grid-column: 1 / -1; padding-left: 0.25rem; }
        xp-key { width: auto; }
        .foot a { padding: 0 0.25rem; }
      }
    `,
  ];

  private get within(): string {
    return this.at && `${this.at}/`;
  }

  override connectedCallback(): void {
    super.connectedCallback();
    this.deck = new Deck(this.within);
    this.deck.subscribe(() => this.requestUpdate());
    this.deck.onlink = () => this.picture.link.renew();
    this.deck.start();
  }

  override disconnectedCallback(): void {
    super.disconnectedCallback();
    this.deck?.stop();
  }

  override firstUpdated(): void {
    this.picture.link.at = this.within;
    this.picture.link.start();
    this.picture.addEventListener("xp-frame", (event) => {
      this.deck?.pictureSeen();
      this.timecode.value = (event as FrameEvent).frame.timecode;
    });
  }

  private readonly gang = (event: Event): void => {
    this.ganged = (event.target as HTMLInputElement).checked;
    this.dispatchEvent(new Event("xp-gang", { bubbles: true, composed: true }));
  };

  /** This page about that recorder. */
  private get link(): string {
    const at = [place, this.at].filter(Boolean).join("/");
    return `${location.pathname}${at ? `?at=${encodeURI(at)}` : ""}#/clips`;
  }

  private banner(deck: Deck, down: boolean): string {
    if (deck.stale) return `${this.told || `No link for ${(deck.frozen / 1000).toFixed(0)} s.`} Nothing here is live.`;
    if (down) return "The recorder is not running.";
    if (deck.frozen) return `No pictures for ${(deck.frozen / 1000).toFixed(0)} s.`;
    if (deck.notice) return `${deck.notice.title}. ${deck.notice.text}`;
    return isDark(deck.state) ? "No signal on the input." : trouble(deck.state);
  }

  override render() {
    const deck = this.deck;
    if (!deck) return nothing;
    const { state } = deck;
    const recording = isRecording(state) && !deck.stale;
    const down = state?.running === false;
    const dead = deck.stale || !state?.running;
    const waits = waitOf(state) !== 0;
    this.toggleAttribute("recording", recording && !waits);
    const banner = this.banner(deck, down);
    const word = !state ? "Connecting" : down ? "Not running" : title((deck.stale ? "was " : "") + (waits ? "waiting" : state.status));
    return html`
      <xp-picture ?stale=${deck.frozen > 0 || down}></xp-picture>
      ${banner ? html`<div class="banner" role="alert">${banner}</div>` : nothing}
      <div class="head">
        <span class="name cut"><bdi>${this.name}</bdi></span>
        <xp-timecode ?recording=${recording && !waits} .age=${down ? Number.EPSILON : deck.frozen}></xp-timecode>
        <span class="word" role="status">${word}</span>
      </div>
      <div class="foot">
        <span class="about">${state && !dead ? html`<bdi class="cut">${state.clip || "no clip"}</bdi><span>${room(state.medium_seconds_left)} left</span>${state.alarms ? html`<span class="alarms">! ${state.alarms} ${state.alarms === 1 ? "alarm" : "alarms"}</span>` : nothing}` : nothing}</span>
        <label class="gang"><input type="checkbox" .checked=${this.ganged} @change=${this.gang} />Gang<span class="hidden"> ${this.name}</span></label>
        <xp-key verb="record" label="Record" red ?lit=${recording} toggle ?pending=${deck.pending.has("record")} ?disabled=${dead} @press=${() => void deck.run("record")}></xp-key>
        <xp-key verb="stop" label=${recording ? "Hold to stop" : "Stop"} ?hold=${recording} ?pending=${deck.pending.has("stop")} ?disabled=${dead} @press=${() => void deck.run("stop")}
          @toobrief=${() => deck.tell({ kind: "lost", title: "Still recording", text: "To end the take, hold the key for a second." })}></xp-key>
        <a href=${this.link}>Open<span class="hidden"> ${this.name}</span></a>
      </div>
    `;
  }
}

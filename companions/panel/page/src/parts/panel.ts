// SPDX-License-Identifier: GPL-3.0-or-later
import { LitElement, css, html, nothing } from "lit";
import { customElement, query, state } from "lit/decorators.js";
import "../elements/meter";
import "../elements/picture";
import "../elements/timecode";
import type { FrameEvent } from "../elements/follow";
import type { XpMeter } from "../elements/meter";
import type { XpPicture } from "../elements/picture";
import type { XpTimecode } from "../elements/timecode";
import { placeName } from "../link/api";
import { Deck } from "../link/deck";
import { isRecording, waitOf } from "../link/state";
import { ages } from "../link/age";
import "./column";
import type { XpColumn } from "./column";
import "./health";
import "./login";
import "./help";
import type { XpHelp } from "./help";
import { type FormsEvent, XpKey } from "./key";
import { listenToKeys } from "./keymap";
import { prose, shared } from "./part";
import "./state";
import "./transport";
import type { XpTransport } from "./transport";
import { isDark, trouble } from "./trouble";

const narrow = matchMedia("(max-width: 1099px)");
const leadsToAView = (): boolean => /^#\/(?!kiosk|wall)\w/.test(location.hash);

/** The whole panel on one screen. */
@customElement("xp-panel")
export class XpPanel extends LitElement {
  private readonly deck = new Deck();
  private readonly age = ages();
  @state() private kiosk = location.hash.startsWith("#/kiosk");
  @state() private delay: number | null = null;
  @state() private open = narrow.matches && leadsToAView();
  @state() private more = false;
  @query("xp-timecode") private timecode!: XpTimecode;
  @query("xp-meter") private meter!: XpMeter;
  @query("xp-picture") private picture!: XpPicture;
  @query("xp-column") private column!: XpColumn;
  @query("xp-help") private help!: XpHelp;
  @query("xp-transport") private transport!: XpTransport;
  private end = (): void => {};
  private spoken = 0;

  static override styles = [
    shared,
    css`
      :host { box-sizing: border-box; display: grid; height: 100vh; height: 100dvh; padding: var(--gap); gap: var(--gap); overflow: hidden;
        grid-template-columns: minmax(0, 1fr) min(31rem, 38.75vw); grid-template-rows: auto minmax(0, 1fr) auto 3.25rem; grid-template-areas: "time state" "view column" "keys column" "health health"; }
      .time { grid-area: time; display: flex; align-items: center; justify-content: center; background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); min-width: 0; overflow: hidden; padding: 0.3rem 0; }
      xp-timecode { font-size: min(9.7vw, 15.52rem); }
      xp-state { grid-area: state; }
      .view { grid-area: view; display: grid; grid-template-columns: auto minmax(0, 20rem); justify-content: center; gap: var(--gap); min-height: 0; container-type: size; }
      .frame { position: relative; border: 0.25rem solid var(--line); border-radius: var(--round); background: #000; box-sizing: border-box; width: min(100cqw - 8rem, (100cqh - 0.5rem) * 16 / 9 + 0.5rem); max-height: 100%; aspect-ratio: auto; height: min(100cqh, (100cqw - 8.5rem) * 9 / 16 + 0.5rem); align-self: center; }
      .frame.recording { border-color: var(--red); }
      xp-picture { position: absolute; inset: 0; }
      .banner { position: absolute; inset: auto 0 0 0; background: var(--amber); color: var(--on-amber); font-weight: 700; padding: 0.5rem 0.75rem; text-align: center; }
      .nosignal { position: absolute; inset: 0; display: grid; place-content: center; justify-items: center; gap: 0.4rem; font-size: max(1.25rem, 3.2cqw); font-weight: 700; color: var(--bright); }
      .nosignal a { font-size: 0.9375rem; font-weight: 400; color: var(--text); min-height: 2.75rem; line-height: 2.75rem; }
      .leave { position: absolute; inset: 0 0 auto auto; background: var(--panel); color: var(--text); padding: 0 1rem; line-height: 2.75rem; opacity: 0; }
      .frame:hover .leave, .leave:focus-visible { opacity: 1; }
      @media (hover: none) { .leave { opacity: 1; } }
      .login { position: absolute; inset: 0; display: grid; place-content: center; background: var(--panel); padding: 1rem; }
      .sound { display: grid; grid-template-rows: minmax(0, 1fr) auto; background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); min-width: 0; }
      xp-meter { margin: 0.4rem; }
      .loudness { display: grid; grid-template-columns: auto 1fr 1fr; gap: 0.4rem; align-items: baseline; padding: 0 0.6rem 0.4rem; font-size: 0.8125rem; text-align: right; color: var(--bright); white-space: nowrap; }
      .loudness.stale .figure { color: var(--dim); }
      xp-transport { grid-area: keys; }
      xp-column { grid-area: column; min-height: 0; }
      xp-health { grid-area: health; }
      .notice { grid-area: view; align-self: end; justify-self: center; max-width: 36rem; margin: 0.75rem; background: var(--bright); color: var(--on-bright); border-radius: var(--round); padding: 0.6rem 0.75rem; display: flex; gap: 1rem; align-items: center; justify-content: space-between; z-index: 4; box-shadow: 0 0.5rem 2rem rgb(0 0 0 / 0.6); }
      .notice a { color: inherit; font-weight: 700; }
      .notice button { background: transparent; color: inherit; border-color: currentColor; }
      .more { display: none; }
      xp-help { position: absolute; }

      :host([kiosk]) { grid-template-columns: minmax(0, 1fr) minmax(24rem, 32vw); grid-template-rows: auto minmax(0, 1fr) auto; grid-template-areas: "time state" "view view" "health health"; }
      :host([kiosk]) xp-transport, :host([kiosk]) xp-column { display: none; }
      :host([kiosk]) xp-timecode { font-size: 10.8vw; }
      :host([kiosk]) xp-health { min-height: 3.25rem; }

      @media (max-width: 1099px) {
        :host { height: auto; min-height: 100dvh; overflow: visible; grid-template-columns: minmax(0, 1fr); grid-template-rows: none; grid-template-areas: "state" "time" "view" "keys" "more" "column" "health"; padding: 0.375rem; gap: 0.375rem; align-content: start; }
        xp-timecode { font-size: min(16vw, 7rem); }
        .view { grid-template-columns: minmax(0, 1fr); container-type: normal; }
        .frame { box-sizing: content-box; width: calc(min(100%, 56vh * 16 / 9) - 0.5rem); height: auto; max-height: none; aspect-ratio: 16 / 9; justify-self: center; }
        xp-meter { height: 5rem; }
        .more { grid-area: more; display: grid; grid-template-columns: 1fr 1fr; gap: 0.25rem; }
        .more button { min-height: 3rem; }
        .notice { position: fixed; inset: auto 0.5rem 0.5rem; margin: 0; }
        xp-column { display: none; }
        xp-column.open { display: block; position: fixed; inset: 0; z-index: 3; }
        :host([kiosk]) { grid-template-columns: minmax(0, 1fr); grid-template-rows: none; grid-template-areas: "state" "time" "view" "health"; }
        :host([kiosk]) xp-timecode { font-size: min(16vw, 7rem); }
        :host([kiosk]) .more { display: none; }
      }
      @media (min-width: 760px) and (max-width: 1099px) {
        :host(:not([kiosk])) { grid-template-columns: minmax(0, 1fr) 19.5rem; grid-template-areas: "time state" "view view" "keys keys" "more more" "column column" "health health"; }
        :host(:not([kiosk])) xp-timecode { font-size: calc((100vw - 21rem) * 0.158); }
        .frame { width: calc(min(100%, 44vh * 16 / 9) - 0.5rem); }
      }
      @media (max-width: 359px) { .time { overflow-x: auto; } }
    `,
  ];

  override connectedCallback(): void {
    super.connectedCallback();
    this.deck.subscribe(() => this.requestUpdate());
    this.deck.onlink = () => this.picture.link.renew();
    this.deck.start();
    addEventListener("hashchange", this.moved);
    this.addEventListener("xp-forms", (event) => this.help.show((event as FormsEvent).verb));
    this.addEventListener("contextmenu", this.menu);
    this.end = listenToKeys(this.deck, {
      holdStop: () => this.stopKey?.begin(),
      releaseStop: () => this.stopKey?.end(),
      focusTimecode: () => this.transport.focusTimecode(),
      mark: () => this.column.mark(),
      kiosk: () => (location.hash = this.kiosk ? "#/clips" : "#/kiosk"),
      help: (event) => this.help.show(this.verbUnder(event)),
      tab: (by) => this.column.turn(by),
    });
  }

  override disconnectedCallback(): void {
    super.disconnectedCallback();
    removeEventListener("hashchange", this.moved);
    this.deck.stop();
    this.end();
  }

  /** The second button of the mouse, or a long touch, asks what a control is called elsewhere; a held key or wheel is no question. */
  private readonly menu = (event: MouseEvent): void => {
    const path = event.composedPath();
    const verb = this.verbUnder(event);
    if (!verb || path[0] instanceof HTMLInputElement) return;
    event.preventDefault();
    const held = path.some((one) => (one instanceof XpKey ? one.isHeld : one instanceof Element && one.getAttribute("role") === "slider" && (event as PointerEvent).pointerType === "touch"));
    if (!held) this.help.show(verb);
  };

  /** The verb of the control that an event comes from. */
  private verbUnder(event: Event): string {
    for (const one of event.composedPath()) {
      if (one === this) break;
      const verb = one instanceof HTMLElement || one instanceof SVGElement ? (one.dataset["verb"] ?? one.getAttribute("verb")) : null;
      if (verb) return verb;
    }
    return "";
  }

  private readonly moved = (): void => {
    this.kiosk = location.hash.startsWith("#/kiosk");
    if (narrow.matches && leadsToAView()) this.open = true;
  };

  /** Where the column lies over the deck, a page that is loaded again begins with the deck. */
  private close(): void {
    this.open = false;
    history.replaceState(null, "", location.pathname + location.search);
  }

  private get stopKey(): XpKey | null {
    return this.transport.renderRoot.querySelector<XpKey>('xp-key[verb="stop"]');
  }

  override firstUpdated(): void {
    this.picture.link.start();
    this.picture.addEventListener("xp-frame", (event) => this.painted(event as FrameEvent));
  }

  /** Timecode and meters change in the moment in which their picture does. */
  private painted(event: FrameEvent): void {
    const { frame } = event;
    this.deck.pictureSeen();
    this.timecode.value = frame.timecode;
    this.meter.show(frame.meters);
    if (frame.loudness && this.spoken++ % 4 === 0) this.tellLoudness(frame.loudness);
    if (this.deck.clockOffset === null || !frame.captured || frame.isRepeat) return;
    const median = this.age.add(performance.now() + this.deck.clockOffset - frame.captured);
    if (median !== null) this.delay = median;
  }

  /** Figures that change with every frame cannot be read. */
  private tellLoudness(loudness: [number, number]): void {
    ["#momentary", "#short"].forEach((id, i) => {
      const place = this.renderRoot.querySelector(id);
      if (place) place.textContent = loudness[i] <= -70 ? "-" : loudness[i].toFixed(1).replace("-", "−");
    });
  }

  override updated(): void {
    this.toggleAttribute("kiosk", this.kiosk);
    document.title = this.pageTitle();
  }

  private pageTitle(): string {
    const { state, stale } = this.deck;
    const name = placeName || "Recorder";
    if (stale || !state) return `! ${name}`;
    return isRecording(state) && !waitOf(state) ? `● ${placeName} Recording ${state.clip}` : `${name}: ${state.status.replaceAll("_", " ")}`;
  }

  private banner(down: boolean) {
    const { deck } = this;
    const seconds = (deck.frozen / 1000).toFixed(1);
    const text = deck.stale
      ? `No link to the recorder for ${seconds} s. Nothing here is live.`
      : down
        ? "The recorder is not running."
        : deck.frozen
          ? `No pictures for ${seconds} s. Picture, timecode and meters are not live.`
          : trouble(deck.state);
    return text ? html`<div class="banner" role="alert">${text}</div>` : nothing;
  }

  override render() {
    const { deck } = this;
    const recording = isRecording(deck.state) && !deck.stale && !waitOf(deck.state);
    const down = deck.state?.running === false;
    return html`
      <h1 class="hidden">Recorder</h1>
      <div class="time"><xp-timecode ?recording=${recording} .age=${down ? Number.EPSILON : deck.frozen}></xp-timecode></div>
      <xp-state .deck=${deck} ?big=${this.kiosk}></xp-state>
      <div class="view">
        <div class="frame ${recording ? "recording" : ""}">
          <xp-picture id="picture" ?stale=${deck.frozen > 0 || down}></xp-picture>
          ${!deck.frozen && isDark(deck.state) ? html`<div class="nosignal">No signal on the input<a href="#/settings/video_input">Choose another input</a></div>` : nothing}
          ${this.kiosk ? html`<a class="leave" href="#">Back to the deck</a>` : nothing}
          ${this.banner(down)} ${deck.me.role === "nobody" ? html`<div class="login"><xp-login .deck=${deck}></xp-login></div>` : nothing}
        </div>
        <div class="sound">
        <xp-meter ?stale=${deck.frozen > 0 || down} ?flat=${narrow.matches}></xp-meter>
        <div class="loudness ${deck.frozen > 0 || down ? "stale" : ""}" title="Loudness in LUFS: momentary (the last 400 ms) and short-term (the last three seconds)"><span class="label">LUFS</span><span><span class="label">M</span> <span id="momentary" class="figure">-</span></span><span><span class="label">S</span> <span id="short" class="figure">-</span></span></div>
        </div>
      </div>
      <xp-transport .deck=${deck} ?more=${this.more}></xp-transport>
      <div class="more">
        <button aria-expanded=${this.more ? "true" : "false"} @click=${() => (this.more = !this.more)}>Jog, shuttle, cue</button>
        <button @click=${() => (this.open = true)}>Clips, settings…${deck.state?.alarms ? html` <b>! ${deck.state.alarms}</b>` : nothing}</button>
      </div>
      <xp-column class=${this.open ? "open" : ""} .deck=${deck} @xp-close=${() => this.close()}></xp-column>
      <xp-health .deck=${deck} .delay=${down ? null : this.delay} ?big=${this.kiosk}></xp-health>
      <xp-help .deck=${deck}></xp-help>
      ${deck.notice
        ? html`<div class="notice" role="alert"><span><b>${deck.notice.title}.</b> ${prose(deck.notice.text)}${deck.notice.link ? html` <a href=${deck.notice.link.href}>${deck.notice.link.text}</a>` : nothing}</span><button class="small" @click=${() => deck.tell(null)}>Close</button></div>`
        : nothing}
    `;
  }
}

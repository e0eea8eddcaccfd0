// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html, nothing } from "lit";
import { customElement, query, state } from "lit/decorators.js";
import "./alarms";
import "./clips";
import "./control";
import "./list";
import type { XpList } from "./list";
import "./media";
import { Part, shared } from "./part";
import "./replay";
import type { XpReplay } from "./replay";
import "./scopes";
import "./settings";

const views = ["clips", "list", "replay", "media", "scopes", "settings", "alarms", "control"] as const;
type View = (typeof views)[number];

/** The column that changes. Its view stands in the address, so that one can send it to somebody. */
@customElement("xp-column")
export class XpColumn extends Part {
  @state() private chosen: View = "clips";
  @state() private detail = "";
  @query("xp-list") private list!: XpList | null;
  @query("xp-replay") private replay!: XpReplay | null;

  static override styles = [
    shared,
    css`
      :host { background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); }
      .whole { display: grid; grid-template-rows: auto minmax(0, 1fr); height: 100%; }
      .tabs { display: grid; grid-auto-flow: column; grid-auto-columns: minmax(0, auto); border-bottom: 1px solid var(--line); }
      .tabs button { border: 0; background: transparent; padding: 0 0.2rem; border-radius: 0; font-size: 0.8125rem; border-bottom: 0.1875rem solid transparent; color: var(--dim); }
      .tabs button[aria-selected="true"] { color: var(--bright); border-bottom-color: var(--bright); }
      .tabs .up { color: var(--amber); }
      .body { padding: 0.75rem; min-height: 0; overflow: hidden auto; scrollbar-color: var(--edge) transparent; }
      .close { display: none; }
      @media (max-width: 1099px) {
        :host { border-radius: 0; }
        .whole { grid-template-rows: auto auto minmax(0, 1fr); }
        .tabs { grid-auto-flow: row; grid-template-columns: repeat(4, 1fr); }
        @media (min-width: 560px) { .tabs { grid-template-columns: repeat(8, 1fr); } }
        .close { display: block; width: 100%; min-height: 3rem; border-radius: 0; }
      }
    `,
  ];

  override connectedCallback(): void {
    super.connectedCallback();
    addEventListener("hashchange", this.moved);
    this.addEventListener("xp-add", (event) => void this.add((event as CustomEvent<string[]>).detail));
    this.addEventListener("xp-dragclips", () => this.dragged());
    this.moved();
  }

  override disconnectedCallback(): void {
    super.disconnectedCallback();
    removeEventListener("hashchange", this.moved);
  }

  private readonly moved = (): void => {
    const [view, ...detail] = location.hash.replace(/^#\//, "").split("/");
    if (!views.includes(view as View)) return;
    this.chosen = view as View;
    this.detail = decodeURIComponent(detail.join("/"));
  };

  /** At once: the address tells of its change later, and a key that is held would turn from the view before. */
  private go(view: View): void {
    this.chosen = view;
    this.detail = "";
    location.hash = `#/${view}`;
  }

  turn(by: number): void {
    this.go(views[(views.indexOf(this.chosen) + by + views.length) % views.length]);
  }

  mark(): void {
    this.go("replay");
    void this.updateComplete.then(() => this.replay?.markPoint());
  }

  private async add(names: string[]): Promise<void> {
    this.go("list");
    await this.updateComplete;
    await this.list?.read();
    await this.list?.add(names);
  }

  /** Clips that are dragged find the list when they come over its tab. */
  private dragged(): void {
    const tab = this.renderRoot.querySelector("#tab-list");
    tab?.addEventListener("dragenter", () => this.go("list"), { once: true });
  }

  private keydown(event: KeyboardEvent): void {
    const by = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
    if (by === undefined) return;
    event.preventDefault();
    event.stopPropagation();
    this.turn(by);
    void this.updateComplete.then(() => this.renderRoot.querySelector<HTMLElement>('[aria-selected="true"]')?.focus());
  }

  protected override follows(): unknown[] {
    return [this.deck.state?.alarms, this.deck.verbs];
  }

  protected override view() {
    const alarms = this.deck.state?.alarms ?? 0;
    return html`<div class="whole">
      <button class="close" @click=${() => this.dispatchEvent(new Event("xp-close"))}>Back to the deck</button>
      <div class="tabs" role="tablist" aria-label="Views" @keydown=${this.keydown}>
        ${views.map(
          (view) => html`<button role="tab" id="tab-${view}" aria-controls="body" aria-selected=${view === this.chosen ? "true" : "false"} tabindex=${view === this.chosen ? 0 : -1} class=${view === "alarms" && alarms ? "up" : ""} @click=${() => this.go(view)}>
            ${view.charAt(0).toUpperCase() + view.slice(1)}${view === "alarms" && alarms ? html` <b>! ${alarms}</b>` : nothing}
          </button>`,
        )}
      </div>
      <div class="body" id="body" role="tabpanel" aria-labelledby="tab-${this.chosen}">${this.body()}</div>
    </div>`;
  }

  private body() {
    const { deck } = this;
    switch (this.chosen) {
      case "clips":
        return html`<xp-clips .deck=${deck}></xp-clips>`;
      case "list":
        return html`<xp-list .deck=${deck}></xp-list>`;
      case "replay":
        return html`<xp-replay .deck=${deck}></xp-replay>`;
      case "media":
        return html`<xp-media .deck=${deck}></xp-media>`;
      case "scopes":
        return html`<xp-scopes .deck=${deck} only=${this.detail}></xp-scopes>`;
      case "settings":
        return html`<xp-settings .deck=${deck} target=${this.detail}></xp-settings>`;
      case "alarms":
        return html`<xp-alarms .deck=${deck}></xp-alarms>`;
      case "control":
        return html`<xp-control .deck=${deck}></xp-control>`;
    }
  }
}

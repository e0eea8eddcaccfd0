// SPDX-License-Identifier: GPL-3.0-or-later
import { LitElement, css, html, nothing } from "lit";
import { customElement, state } from "lit/decorators.js";
import { repeat } from "lit/directives/repeat.js";
import { Problem, get } from "../link/api";
import { sentence } from "../link/deck";
import { type Member, recordTogether, skewOf, stopTogether } from "./gang";
import "./key";
import { shared } from "./part";
import "./tile";
import type { XpTile } from "./tile";

interface Channels {
  channels?: { channel: number; panel: boolean }[];
}

interface Fleet extends Channels {
  name?: string;
  machines?: (Channels & { name: string; state: string; problem?: string })[];
}

interface Place {
  at: string;
  name: string;
  told: string;
}

const lookAgain = 5000; // ms
const lookAtGang = 500; // ms

/** Every recorder that this panel reaches, each in a tile of its own that works when the others do not. */
@customElement("xp-wall")
export class XpWall extends LitElement {
  @state() private places: Place[] = [];
  @state() private problem = "";
  @state() private members: Member[] = [];
  @state() private busy = false;
  @state() private gangProblem = "";
  private timer = 0;
  private gangTimer = 0;

  static override styles = [
    shared,
    css`
      :host { box-sizing: border-box; display: grid; grid-template-rows: auto minmax(0, 1fr); height: 100dvh; padding: var(--gap); gap: var(--gap); overflow: hidden; }
      header { display: flex; align-items: center; gap: 0.5rem 1rem; flex-wrap: wrap; }
      header xp-key { width: 6.5rem; height: 2.75rem; }
      header a { margin-left: auto; min-height: 2.75rem; line-height: 2.75rem; padding: 0 0.75rem; }
      h1 { font-size: 1.125rem; color: var(--bright); margin: 0; padding-left: 0.25rem; }
      .tiles { display: grid; gap: var(--gap); min-height: 0; grid-auto-rows: minmax(0, 1fr); grid-template-columns: repeat(var(--columns, 1), minmax(0, 1fr)); }
      @media (max-width: 759px) {
        :host { height: auto; overflow: visible; }
        .tiles { grid-template-columns: minmax(0, 1fr); grid-auto-rows: auto; }
      }
    `,
  ];

  override connectedCallback(): void {
    super.connectedCallback();
    document.title = "Recorders";
    void this.look();
    this.timer = window.setInterval(() => void this.look(), lookAgain);
  }

  override disconnectedCallback(): void {
    super.disconnectedCallback();
    clearInterval(this.timer);
    clearInterval(this.gangTimer);
  }

  /** Recorders that have been seen stay on the wall: one that is down is what has to be noticed. */
  private async look(): Promise<void> {
    const fleet = await get<Fleet>("fleet");
    if (fleet instanceof Problem) {
      this.problem = fleet.status === 404 ? "" : fleet.sentence;
      if (fleet.status === 404 && !this.places.length) this.places = [{ at: "", name: "This recorder", told: "" }];
      return;
    }
    this.problem = "";
    const own = (fleet.channels ?? []).map(({ channel, panel }) => ({ at: channel === 1 ? "" : `channels/${channel}`, name: `Channel ${channel}`, told: panel ? "" : "Its panel does not run." }));
    const others = (fleet.machines ?? []).flatMap((machine) => {
      const at = `machines/${encodeURIComponent(machine.name)}`;
      const told = machine.state === "ready" ? "" : machine.problem ? `${machine.name}: ${sentence(machine.problem)}` : `This machine is ${machine.state.replaceAll("_", " ")}.`;
      const channels = machine.channels?.length ? machine.channels : [{ channel: 1, panel: true }];
      return channels.map(({ channel }) => ({ at: channel === 1 ? at : `${at}/channels/${channel}`, name: channels.length > 1 ? `${machine.name}, channel ${channel}` : machine.name, told }));
    });
    const now = [...own, ...others];
    const gone = this.places.filter((place) => !now.some((one) => one.at === place.at)).map((place) => ({ ...place, told: "It is not told of any more." }));
    this.places = [...now, ...gone].sort((a, b) => a.name.localeCompare(b.name, "en", { numeric: true }));
  }

  /** Those whose boxes are ticked; how far they are apart is looked at while there are several. */
  private readonly gather = (): void => {
    const tiles = [...this.renderRoot.querySelectorAll<XpTile>("xp-tile")];
    this.members = tiles.flatMap(({ name, deck, ganged }) => (ganged && deck ? [{ name, deck }] : []));
    clearInterval(this.gangTimer);
    if (this.members.length > 1) this.gangTimer = window.setInterval(() => this.requestUpdate(), lookAtGang);
  };

  private async together(work: Promise<string | void>): Promise<void> {
    this.busy = true;
    this.gangProblem = "";
    this.gangProblem = (await work) || "";
    this.busy = false;
  }

  private gangBar() {
    if (this.members.length < 2) return nothing;
    const recording = this.members.some(({ deck }) => deck.state?.status === "recording");
    return html`
      <span>${this.members.length} ganged</span>
      <xp-key label="Record all" red ?pending=${this.busy} ?disabled=${this.busy || recording} @press=${() => void this.together(recordTogether(this.members))}></xp-key>
      <xp-key label=${recording ? "Hold to stop" : "Stop all"} ?hold=${recording} ?disabled=${this.busy} @press=${() => void this.together(stopTogether(this.members))}></xp-key>
      <span role="status">${skewOf(this.members)}</span>
      ${this.gangProblem ? html`<span role="alert">${this.gangProblem}</span>` : nothing}
    `;
  }

  override updated(): void {
    const columns = Math.ceil(Math.sqrt(this.places.length || 1));
    (this.renderRoot.querySelector(".tiles") as HTMLElement | null)?.style.setProperty("--columns", String(columns));
  }

  override render() {
    return html`
      <header><h1>Recorders</h1>${this.problem ? html`<span role="alert">${this.problem}</span>` : nothing}${this.gangBar()}<a href="#/clips">Back to one recorder</a></header>
      <div class="tiles" @xp-gang=${this.gather}>${repeat(this.places, (place) => place.at, (place) => html`<xp-tile at=${place.at} name=${place.name} told=${place.told}></xp-tile>`)}</div>
    `;
  }
}

// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html, nothing } from "lit";
import { customElement, query, state } from "lit/decorators.js";
import { Problem, get } from "../link/api";
import type { Clip } from "../link/state";
import { sentence, title } from "../link/deck";
import "./key";
import { Part, shared } from "./part";
import "./still";
import "./watch";
import { bytes, length } from "./text";

const restAfter = 120; // ms
const askAgainAfter = 700; // ms
const mostAgain = 6;

type Order = "name" | "index" | "frames";
const orders: Record<Order, string> = { index: "as recorded", name: "by name", frames: "by length" };

const rowHeight = (): number => 3.5 * parseFloat(getComputedStyle(document.documentElement).fontSize);

function put(element: HTMLElement, name: "top" | "height", value: string): void {
  if (element.style[name] !== value) element.style[name] = value;
}

/** The clips of the medium: only the rows in sight are made, however many there are. */
@customElement("xp-clips")
export class XpClips extends Part {
  @state() private clips: Clip[] = [];
  @state() private problem = "";
  @state() private search = "";
  @state() private order: Order = "index";
  @state() private falling = true;
  @state() private chosen = new Set<string>();
  @state() private top = 0;
  @state() private tall = 400;
  @state() private asking: "" | "watch" | "copy" | "rename" | "delete" = "";
  @state() private progress = "";
  @state() private moving = false;
  private rest = 0;
  private again = 0;
  @query(".rows") private rows!: HTMLElement;
  private anchor = 0; // where a range begins
  private at = 0; // where the keys are
  private known = "";
  private reading = false;
  private mustReadAgain = false;
  private rowHeight = rowHeight();
  private observer = new ResizeObserver(() => {
    this.tall = this.rows?.clientHeight ?? 400;
    this.rowHeight = rowHeight();
  });

  static override styles = [
    shared,
    css`
      :host { display: grid; grid-template-rows: auto minmax(8rem, 1fr) auto; gap: var(--gap); height: 100%; min-height: 0; }
      .tools { display: grid; grid-template-columns: minmax(0, 1fr) auto auto; gap: 0.25rem; }
      .rows { overflow-y: auto; position: relative; border-radius: var(--round); scrollbar-color: var(--edge) transparent; min-height: 0; }
      .room { position: relative; }
      .row { position: absolute; left: 0; right: 0; height: 3.5rem; display: grid; grid-template-columns: 5rem minmax(0, 1fr) auto; gap: 0.6rem; align-items: center; padding: 0 0.5rem 0 0.25rem; border-bottom: 1px solid var(--line); cursor: default; }
      .row[aria-selected="true"] { background: var(--lifted); }
      .row.current { box-shadow: inset 0.1875rem 0 0 var(--bright); }
      xp-still { width: 5rem; height: 2.8125rem; border-radius: 2px; }
      .name { color: var(--bright); unicode-bidi: plaintext; text-align: left; }
      .sub { font-size: 0.75rem; color: var(--dim); display: flex; gap: 0.75rem; }
      .frames { font-size: 0.875rem; }
      .narrow { display: none; }
      @media (max-width: 759px) { .narrow { display: inline; } .frames { display: none; } .sub .wide { display: none; } .row { grid-template-columns: 5rem minmax(0, 1fr); } }
      .acts, .ask { display: flex; flex-wrap: wrap; gap: 0.25rem; align-items: center; min-height: 2rem; }
      .acts { display: grid; grid-template-columns: repeat(4, 1fr); }
      .status { font-size: 0.8125rem; }
      .status:empty { display: none; }
      .foot { display: grid; gap: 0.25rem; }
      .ask { background: var(--ground); border: 1px solid var(--line); border-radius: var(--round); padding: 0.35rem 0.5rem; gap: 0.5rem; font-size: 0.875rem; }
      .ask > :first-child { flex: 1 1 8rem; min-width: 0; }
      .ask xp-key { width: 7.5rem; min-height: 2.25rem; }
      .empty { padding: 2rem 1rem; text-align: center; color: var(--dim); }
    `,
  ];

  override connectedCallback(): void {
    super.connectedCallback();
    void this.read();
  }

  override disconnectedCallback(): void {
    super.disconnectedCallback();
    this.observer.disconnect();
  }

  override firstUpdated(): void {
    this.observer.observe(this.rows);
  }


  private async read(): Promise<void> {
    if (this.reading) {
      this.mustReadAgain = true;
      return;
    }
    this.reading = true;
    const all: Clip[] = [];
    for (;;) {
      const page = await get<{ clips: Clip[]; total: number }>(`clips?offset=${all.length}&limit=1000`);
      if (page instanceof Problem) {
        this.problem = page.sentence;
        break;
      }
      this.problem = "";
      all.push(...page.clips);
      if (page.clips.length === 0 || all.length >= page.total) break;
    }
    this.reading = false;
    if (this.mustReadAgain || this.problem) {
      const wait = this.problem ? askAgainAfter : 0;
      this.mustReadAgain = false;
      setTimeout(() => this.isConnected && void this.read(), wait);
    }
    if (this.problem) return;
    this.clips = all;
    this.compare();
    const there = new Set(all.map((clip) => clip.name));
    if ([...this.chosen].some((name) => !there.has(name))) this.chosen = new Set([...this.chosen].filter((name) => there.has(name)));
  }

  /** The media daemon may know of a clip before its list does, or after: then it is asked again, a few times. */
  private compare(): void {
    const { state } = this.deck;
    const told = state?.media.find((medium) => medium.path === state.path)?.clips;
    const isMissing = state?.status === "recording" && !this.clips.some((clip) => clip.name === state.clip);
    const files = this.clips.length + this.clips.filter((clip) => clip.proxy).length;
    if (told === undefined || (told === files && !isMissing) || this.again >= mostAgain) return;
    this.again++;
    setTimeout(() => this.isConnected && void this.read(), askAgainAfter);
  }

  private get contents(): string {
    const state = this.deck.state;
    return state ? [state.path, state.list_revision, state.status === "recording", state.media.map((medium) => medium.clips).join()].join() : "";
  }

  /** Clips come and go with takes, media and what the media daemon does. */
  override willUpdate(): void {
    const key = this.contents;
    if (key === this.known) return;
    this.known = key;
    this.again = 0;
    void this.read();
  }

  private kept: { of: unknown[]; list: Clip[] } = { of: [], list: [] };
  private get sorted(): Clip[] {
    const of = [this.clips, this.search, this.order, this.falling];
    if (!of.every((one, i) => one === this.kept.of[i])) this.kept = { of, list: this.inOrder() };
    return this.kept.list;
  }

  private inOrder(): Clip[] {
    const wanted = this.search.trim().toLowerCase();
    const found = wanted ? this.clips.filter((clip) => clip.name.toLowerCase().includes(wanted)) : [...this.clips];
    const by = this.order;
    found.sort((a, b) => (by === "name" ? (a.name < b.name ? -1 : 1) : a[by] - b[by]));
    return this.falling ? found.reverse() : found;
  }

  private choose(event: MouseEvent, list: Clip[], at: number): void {
    const name = list[at].name;
    this.at = at;
    if (event.shiftKey) {
      const [from, to] = [Math.min(this.anchor, at), Math.max(this.anchor, at)];
      this.chosen = new Set(list.slice(from, to + 1).map((clip) => clip.name));
    } else if (event.ctrlKey || event.metaKey) {
      const next = new Set(this.chosen);
      if (!next.delete(name)) next.add(name);
      this.chosen = next;
      this.anchor = at;
    } else {
      this.chosen = new Set([name]);
      this.anchor = at;
    }
  }

  private keydown(event: KeyboardEvent, list: Clip[]): void {
    const far = list.length;
    const by = { ArrowDown: 1, ArrowUp: -1, PageDown: 10, PageUp: -10, Home: -far, End: far }[event.key];
    if (event.key === "a" && (event.ctrlKey || event.metaKey)) {
      event.preventDefault();
      this.chosen = new Set(list.map((clip) => clip.name));
    }
    if (event.key === "Enter" && this.chosen.size) {
      event.preventDefault();
      event.stopPropagation();
      void this.open([...this.chosen][0]);
    }
    if (by === undefined || !list.length) return;
    event.preventDefault();
    event.stopPropagation();
    const from = this.chosen.size ? this.at : Math.sign(by) < 0 ? far : -1;
    const at = Math.min(far - 1, Math.max(0, from + by));
    if (!event.shiftKey || !this.chosen.size) this.anchor = at;
    this.at = at;
    this.chosen = new Set(list.slice(Math.min(this.anchor, at), Math.max(this.anchor, at) + 1).map((clip) => clip.name));
    const y = at * this.rowHeight;
    if (y < this.rows.scrollTop) this.rows.scrollTop = y;
    if (y + this.rowHeight > this.rows.scrollTop + this.tall) this.rows.scrollTop = y + this.rowHeight - this.tall;
  }

  /** One after the other; the first that is refused ends it, with its sentence. */
  private async each(verb: string, values: Record<string, string> = {}): Promise<void> {
    this.asking = "";
    const names = [...this.chosen];
    for (const [i, name] of names.entries()) {
      this.progress = `${title(verb)}: ${names.length > 1 ? `${i + 1} of ${names.length}` : name}`;
      const answer = await this.deck.run(verb, { clip: name, ...values });
      if (!answer.done) break;
      // Of a question the answer is the work.
      if (verb === "verify" && i === names.length - 1) this.deck.tell({ kind: "done", title: title(verb), text: names.length > 1 ? `All ${names.length} clips are what was recorded.` : sentence(answer.sentence) });
    }
    this.progress = "";
    void this.read();
  }

  private async open(name: string): Promise<void> {
    await this.deck.run("clip", { name });
  }

  /** What flies past gets no thumbnail: that would be hundreds of requests a second. */
  private readonly scrolled = (event: Event): void => {
    const { scrollTop } = event.target as HTMLElement;
    if (Math.abs(scrollTop - this.top) > this.rowHeight) this.moving = true;
    this.top = scrollTop;
    clearTimeout(this.rest);
    this.rest = window.setTimeout(() => (this.moving = false), restAfter);
  };

  private drag(event: DragEvent, name: string): void {
    if (!this.chosen.has(name)) this.chosen = new Set([name]);
    event.dataTransfer?.setData("application/x-xp-clips", JSON.stringify([...this.chosen]));
    this.dispatchEvent(new CustomEvent("xp-dragclips", { bubbles: true, composed: true }));
  }

  override updated(): void {
    const height = this.rowHeight;
    const room = this.renderRoot.querySelector<HTMLElement>(".room");
    if (room) put(room, "height", `${this.sorted.length * height}px`);
    for (const row of this.renderRoot.querySelectorAll<HTMLElement>(".row")) put(row, "top", `${Number(row.dataset["at"]) * height}px`);
  }

  protected override follows(): unknown[] {
    return [this.contents, this.deck.state?.clip, this.deck.state?.clip_rate, this.deck.verbs];
  }

  protected override view() {
    const list = this.sorted;
    const height = this.rowHeight;
    const from = Math.max(0, Math.floor(this.top / height) - 3);
    const to = Math.min(list.length, from + Math.ceil(this.tall / height) + 7);
    const slots = Math.max(0, to - from);
    const some = this.chosen.size > 0;
    return html`
      <div class="tools">
        <input type="search" aria-label="Search clips" placeholder="Search ${this.clips.length} ${this.clips.length === 1 ? "clip" : "clips"}" .value=${this.search} @input=${(event: InputEvent) => (this.search = (event.target as HTMLInputElement).value)} />
        <select aria-label="Sort" @change=${(event: Event) => (this.order = (event.target as HTMLSelectElement).value as Order)}>
          ${Object.entries(orders).map(([key, text]) => html`<option value=${key} ?selected=${key === this.order}>${text}</option>`)}
        </select>
        <button class="small" aria-label=${this.falling ? "Last first" : "First first"} title=${this.falling ? "Last first" : "First first"} @click=${() => (this.falling = !this.falling)}>${this.falling ? "↓" : "↑"}</button>
      </div>
      <div class="rows" role=${list.length ? "listbox" : "region"} aria-label="Clips" aria-multiselectable=${list.length ? "true" : nothing} aria-activedescendant=${some && this.at >= from && this.at < to ? `clip-${this.at}` : nothing} tabindex="0" @scroll=${this.scrolled} @keydown=${(event: KeyboardEvent) => this.keydown(event, list)}>
        ${this.problem ? html`<p role="alert">${this.problem}</p>` : nothing}
        ${list.length === 0 && !this.problem ? html`<p class="empty">${this.search ? "No clip of this name." : this.deck.state?.status === "recording" ? "The first take is being recorded." : "No clips yet. Record one."}</p>` : nothing}
        ${/* A row keeps its element while it is in sight: only what comes in is drawn anew. */ ""}
        <div class="room">${Array.from({ length: slots }, (_, slot) => from + ((((slot - from) % slots) + slots) % slots)).map((at) => this.row(list[at], at, list))}</div>
      </div>
      <div class="foot"><span class="dim status cut" role="status">${this.progress || (this.chosen.size > 1 ? `${this.chosen.size} chosen` : "")}</span>${this.asking && some ? this.ask() : nothing}${this.acts(list)}</div>
    `;
  }

  private acts(list: Clip[]) {
    const some = this.chosen.size > 0;
    const one = this.chosen.size === 1;
    const kept = some && list.filter((clip) => this.chosen.has(clip.name)).every((clip) => clip.is_protected);
    const act = (verb: string, text: string, usable: boolean, click: () => void) =>
      this.deck.verb(verb) ? html`<button class="small" data-verb=${verb} aria-expanded=${text.endsWith("…") ? String(this.asking === verb) : nothing} title=${this.deck.verb(verb)?.help ?? ""} ?disabled=${!usable} @click=${click}>${text}</button>` : nothing;
    const ask = (what: typeof this.asking) => () => (this.asking = this.asking === what ? "" : what);
    return html`<div class="acts">
      ${act("clip", "Open", one, () => void this.open([...this.chosen][0]))}
      <button class="small" ?disabled=${!some} @click=${() => this.dispatchEvent(new CustomEvent("xp-add", { detail: [...this.chosen], bubbles: true, composed: true }))}>To list</button>
      <button class="small" aria-expanded=${String(this.asking === "watch")} ?disabled=${!one} title="See its proxy in this browser" @click=${ask("watch")}>Watch…</button>
      ${act("verify", "Verify", some, () => void this.each("verify"))}
      ${kept ? act("unprotect", "Unprotect", some, () => void this.each("unprotect")) : act("protect", "Protect", some, () => void this.each("protect"))}
      ${act("copy", "Copy…", some, ask("copy"))} ${act("rename", "Rename…", one, ask("rename"))} ${act("delete", "Delete…", some && !kept, ask("delete"))}
    </div>`;
  }

  /** What a verb needs to know before it is done. */
  private ask() {
    const [name] = this.chosen;
    const what = this.chosen.size > 1 ? `${this.chosen.size} clips` : name;
    const field = (): string => this.renderRoot.querySelector<HTMLInputElement | HTMLSelectElement>("#asked")?.value ?? "";
    switch (this.asking) {
      case "watch":
        return html`<div class="ask"><xp-watch .deck=${this.deck} clip=${name}></xp-watch></div>`;
      case "copy": {
        const others = (this.deck.state?.media ?? []).filter((medium) => medium.path !== this.deck.state?.path);
        return html`<form class="ask" @submit=${(event: Event) => (event.preventDefault(), void this.each("copy", { medium: field() }))}>
          <span class="cut">Copy <bdi>${what}</bdi> to</span>
          <select id="asked" aria-label="Medium">${others.map((medium) => html`<option value=${medium.path}>${medium.label || medium.path}</option>`)}</select>
          <button class="small" ?disabled=${!others.length}>Copy</button></form>`;
      }
      case "rename":
        return html`<form class="ask" @submit=${(event: Event) => (event.preventDefault(), void this.each("rename", { name: field() }))}>
          <input id="asked" aria-label="New name of ${name}" .value=${name.replace(/[.]mov$/, "")} autocomplete="off" spellcheck="false" required />
          <button class="small">Rename</button></form>`;
      default:
        return html`<div class="ask"><span class="cut">Delete <bdi>${what}</bdi> for good?</span>
          <xp-key verb="delete" label="Hold to delete" hint="Hold to delete" hold @press=${() => void this.each("delete")} @toobrief=${() => (this.progress = "Hold it for a second")}></xp-key></div>`;
    }
  }

  private row(clip: Clip, at: number, list: Clip[]) {
    const current = clip.name === this.deck.state?.clip;
    return html`<div class="row ${current ? "current" : ""}" id="clip-${at}" role="option" aria-selected=${this.chosen.has(clip.name) ? "true" : "false"} aria-setsize=${list.length} aria-posinset=${at + 1}
      data-at=${at} draggable="true" title=${clip.name} @click=${(event: MouseEvent) => this.choose(event, list, at)} @dblclick=${() => void this.open(clip.name)}
      @dragstart=${(event: DragEvent) => this.drag(event, clip.name)}>
      <xp-still path=${this.moving ? "" : `clips/${encodeURIComponent(clip.name)}/thumbnail`}></xp-still>
      <div class="cut">
        <div class="name cut"><bdi>${clip.name}</bdi></div>
        <div class="sub"><span class="narrow">${clip.grows ? nothing : length(clip.frames, this.deck.state?.clip_rate ?? 25)}</span><span class="wide">${clip.bytes && !clip.grows ? bytes(clip.bytes) : nothing}</span>${clip.is_protected ? html`<span>protected</span>` : nothing}${clip.proxy ? html`<span>with proxy</span>` : nothing}${clip.second_copy ? html`<span>${clip.second_copy.frames === clip.frames ? "also" : `${clip.second_copy.frames} frames`} on ${clip.second_copy.path}</span>` : nothing}${clip.grows ? html`<span>● being recorded</span>` : nothing}${current ? html`<span>on the deck</span>` : nothing}</div>
      </div>
      <div class="frames figure">${clip.grows ? nothing : length(clip.frames, this.deck.state?.clip_rate ?? 25)}</div>
    </div>`;
  }
}

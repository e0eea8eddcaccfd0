// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html, nothing } from "lit";
import { customElement, state } from "lit/decorators.js";
import { Problem, request } from "../link/api";
import { sentences, title } from "../link/deck";
import { type ListEntry, clipOf } from "../link/state";
import { Part, shared } from "./part";
import "./still";

/** Which part of a clip an entry is, in words. */
function partOf(entry: string) {
  const [, from, to] = /\[([^\]]*?)-([^\]]*?)\)$/.exec(entry) ?? [];
  return from === undefined && to === undefined ? nothing : html`<div class="sub cut">from ${from || "its begin"} to ${to ? `before ${to}` : "its end"}</div>`;
}

/** The play list: clips are dropped in, entries are dragged or moved by keys; written whole, never over somebody else's. */
@customElement("xp-list")
export class XpList extends Part {
  @state() private entries: ListEntry[] = [];
  @state() private problem = "";
  @state() private chosen = -1;
  @state() private over = -1;
  private revision = "";
  private known: string | null = null;

  static override styles = [
    shared,
    css`
      :host { display: grid; grid-template-rows: auto minmax(8rem, 1fr) auto; gap: var(--gap); height: 100%; min-height: 0; }
      .rows { overflow-y: auto; margin: 0; padding: 0; list-style: none; min-height: 0; border-radius: var(--round); }
      .rows.over { outline: 2px dashed var(--edge); outline-offset: -2px; }
      [role="option"] { display: grid; grid-template-columns: 2rem 4rem minmax(0, 1fr) auto; gap: 0.6rem; align-items: center; min-height: 3rem; padding: 0 0.5rem 0 0; border-bottom: 1px solid var(--line); border-top: 2px solid transparent; }
      [role="option"][aria-selected="true"] { background: var(--lifted); }
      .current { box-shadow: inset 0.1875rem 0 0 var(--bright); }
      [role="option"].over { border-top-color: var(--bright); }
      .place { color: var(--dim); text-align: right; font-size: 0.8125rem; }
      xp-still { width: 4rem; height: 2.25rem; border-radius: 2px; }
      .name { color: var(--bright); unicode-bidi: plaintext; text-align: left; }
      .missing { color: var(--amber); font-size: 0.8125rem; }
      .acts { display: flex; gap: 0.25rem; flex-wrap: wrap; align-items: center; }
      .acts .label { padding-right: 0.35rem; }
      .sub { font-size: 0.75rem; color: var(--dim); }
      .empty { padding: 2rem 1rem; text-align: center; color: var(--dim); }
    `,
  ];

  override willUpdate(): void {
    const revision = this.deck.state?.list_revision ?? "";
    if (revision === this.known) return;
    this.known = revision;
    void this.read();
  }

  async read(): Promise<void> {
    const response = await request("GET", "list");
    if (response instanceof Problem) {
      this.problem = response.sentence;
      return;
    }
    this.revision = response.headers.get("ETag") ?? "";
    this.entries = ((await response.json()) as { list: ListEntry[] }).list;
    this.problem = "";
  }

  async add(names: string[], at = this.entries.length): Promise<void> {
    const all = this.entries.map((entry) => entry.name);
    all.splice(at, 0, ...names);
    await this.write(all);
  }

  private async write(names: string[]): Promise<void> {
    const response = await request("PUT", "list", { list: names }, this.revision ? { "If-Match": this.revision } : {});
    if (response instanceof Problem) {
      const taken = response.status === 412;
      this.deck.tell({ kind: "refused", title: "Play list", text: taken ? "Somebody else has changed the list meanwhile; here it is as it is now." : `${response.sentence} ${response.hint}` });
    }
    await this.read();
  }

  private async move(from: number, to: number): Promise<void> {
    if (from < 0 || to < 0 || to > this.entries.length - 1 || from === to) return;
    const names = this.entries.map((entry) => entry.name);
    names.splice(to, 0, ...names.splice(from, 1));
    this.chosen = to;
    await this.write(names);
  }

  private drop(event: DragEvent, at: number): void {
    event.preventDefault();
    event.stopPropagation();
    this.over = -1;
    const clips = event.dataTransfer?.getData("application/x-xp-clips");
    const place = event.dataTransfer?.getData("application/x-xp-place");
    if (clips) void this.add(JSON.parse(clips) as string[], at);
    else if (place) void this.move(Number(place), Number(place) < at ? at - 1 : at);
  }

  private async choose(source: string): Promise<void> {
    const answer = await this.deck.set("playback_source", source);
    if (!answer.done) this.deck.tell({ kind: "refused", title: "What is played", text: sentences(answer) });
  }

  private hover(event: DragEvent, at: number): void {
    event.preventDefault();
    event.stopPropagation();
    this.over = at;
  }

  private keydown(event: KeyboardEvent): void {
    const by = { ArrowDown: 1, ArrowUp: -1 }[event.key];
    if (by !== undefined) {
      event.preventDefault();
      event.stopPropagation();
      if (event.altKey) void this.move(this.chosen, this.chosen + by);
      else this.chosen = Math.min(this.entries.length - 1, Math.max(0, this.chosen + by));
    } else if (event.key === "Delete") void this.takeOut();
  }

  private async takeOut(): Promise<void> {
    if (this.chosen < 0) return;
    await this.write(this.entries.filter((_, i) => i !== this.chosen).map((entry) => entry.name));
    this.chosen = Math.min(this.chosen, this.entries.length - 1);
  }

  protected override follows(): unknown[] {
    return [this.deck.state?.list_revision, this.deck.state?.list_entry, this.deck.state?.playback_source, this.deck.parameters];
  }

  protected override view() {
    const source = this.deck.parameters.get("playback_source");
    const playing = this.deck.state?.playback_source ?? source?.value;
    return html`
      <div class="acts" role="group" aria-label="What is played"><span class="label">Play plays</span>
        ${(source?.choices ?? []).map((choice) => html`<button class="small" aria-pressed=${choice === playing ? "true" : "false"} @click=${() => void this.choose(choice)}>${title(choice)}</button>`)}
      </div>
      <div class="rows ${this.over === this.entries.length ? "over" : ""}" role=${this.entries.length ? "listbox" : "region"} aria-label="Play list" tabindex="0" @keydown=${this.keydown}
        @dragover=${(event: DragEvent) => this.hover(event, this.entries.length)} @dragleave=${() => (this.over = -1)} @drop=${(event: DragEvent) => this.drop(event, this.entries.length)}>
        ${this.problem ? html`<p role="alert">${this.problem}</p>` : nothing}
        ${this.entries.length === 0 ? html`<p class="empty">The list is empty. Drag clips here, or choose some under Clips and press To list.</p>` : nothing}
        ${this.entries.map(
          (entry, i) => html`<div role="option" class="${this.over === i ? "over" : ""} ${i === this.deck.state?.list_entry ? "current" : ""}" aria-selected=${i === this.chosen ? "true" : "false"} draggable="true" title=${entry.name}
            @click=${() => (this.chosen = i)} @dblclick=${() => void this.deck.run("clip", { name: entry.name })} @dragstart=${(event: DragEvent) => event.dataTransfer?.setData("application/x-xp-place", String(i))}
            @dragover=${(event: DragEvent) => this.hover(event, i)} @drop=${(event: DragEvent) => this.drop(event, i)}>
            <span class="place figure">${i + 1}</span><xp-still path="clips/${encodeURIComponent(clipOf(entry.name))}/thumbnail"></xp-still><div class="cut"><div class="name cut"><bdi>${clipOf(entry.name)}</bdi></div>${partOf(entry.name)}</div>${entry.present ? nothing : html`<span class="missing">! not here</span>`}
          </div>`,
        )}
      </div>
      <div class="acts">
        <button class="small" ?disabled=${this.chosen < 1} @click=${() => void this.move(this.chosen, this.chosen - 1)}>Up</button>
        <button class="small" ?disabled=${this.chosen < 0 || this.chosen >= this.entries.length - 1} @click=${() => void this.move(this.chosen, this.chosen + 1)}>Down</button>
        <button class="small" ?disabled=${this.chosen < 0} @click=${() => void this.takeOut()}>Take out</button>
      </div>
    `;
  }
}

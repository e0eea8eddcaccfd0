// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html, nothing } from "lit";
import { customElement } from "lit/decorators.js";
import { title } from "../link/deck";
import "./key";
import { FormsEvent } from "./key";
import "./login";
import { Part, shared } from "./part";

/** Who is in control, this session's right to operate, and how the panel looks. */
@customElement("xp-control")
export class XpControl extends Part {
  static override styles = [
    shared,
    css`
      :host { height: 100%; overflow-y: auto; display: grid; align-content: start; gap: 0.75rem; scrollbar-color: var(--edge) transparent; }
      section { display: grid; gap: 0.4rem; }
      .acts { display: flex; gap: 0.25rem; flex-wrap: wrap; }
      .acts + .acts { margin-top: -0.25rem; }
      .acts > * { flex: 1 1 0; white-space: nowrap; }
      p { margin: 0; font-size: 0.9375rem; }
      xp-key { min-height: 2.75rem; }
    `,
  ];

  private theme(name: string): void {
    document.documentElement.dataset["theme"] = name;
    localStorage.setItem("xp-theme", name);
    this.requestUpdate();
  }

  protected override follows(): unknown[] {
    const { state } = this.deck;
    return [state?.owner, state?.lock, state?.mode, state?.running, this.deck.verbs, this.deck.stale, this.deck.me];
  }

  protected override view() {
    const { state } = this.deck;
    const theme = document.documentElement.dataset["theme"] ?? "dark";
    return html`
      <section>
        <h2>Who is in control</h2>
        <p>${this.owner()}${state?.lock?.name ? html` Locked by <bdi>${state.lock.name}</bdi>: only that session moves the transport.` : nothing}</p>
        <div class="acts">${this.act("take_control", !!state?.owner?.name)}${this.act("release_control", undefined, !!state?.owner?.name)}</div>
        <div class="acts">${this.act("lock", !!state?.lock?.name)}${this.act("unlock", undefined, !!state?.lock?.name)}${this.act("remote", state?.mode !== "local")}${this.act("local", state?.mode === "local")}</div>
        ${state?.mode === "local" ? html`<p class="dim">Only who sits at the machine moves the transport.</p>` : nothing}
      </section>
      <section>
        <h2>This session</h2>
        <xp-login .deck=${this.deck}></xp-login>
      </section>
      <section>
        <h2>Look</h2>
        <div class="acts">
          ${["dark", "contrast"].map((name) => html`<button aria-pressed=${theme === name ? "true" : "false"} @click=${() => this.theme(name)}>${name === "dark" ? "Dark" : "High contrast"}</button>`)}
        </div>
        <div class="acts">
          <button title="Picture and timecode for a wall (F)" @click=${() => (location.hash = "#/kiosk")}>Picture alone</button>
          <button @click=${() => location.assign(`${location.pathname}#/wall`)}>All recorders</button>
          <button title="What each key does, and what each verb is called over HTTP, in lines, OSC and the shell (?)" @click=${() => this.dispatchEvent(new FormsEvent(""))}>Keys and verbs</button>
        </div>
      </section>
      ${this.deck.verb("shut_down")
        ? html`<section>
            <h2>The recorder</h2>
            <xp-key verb="shut_down" label="Hold to shut down" hint=${`Hold to shut down: ${this.deck.verb("shut_down")?.help ?? ""}`} hold ?disabled=${this.deck.stale || !state?.running}
              @press=${() => void this.deck.run("shut_down")} @toobrief=${() => this.deck.tell({ kind: "lost", title: "Still running", text: "To shut the recorder down, hold the key for a second." })}></xp-key>
          </section>`
        : nothing}
    `;
  }

  private owner() {
    const owner = this.deck.state?.owner;
    if (!owner?.name) return "Nobody has taken control: everybody may operate.";
    const from = [owner.front, owner.address].filter(Boolean).join(", ");
    return html`<b><bdi>${owner.name}</bdi></b>${from ? ` (${from})` : ""} is in control.`;
  }

  private act(name: string, pressed?: boolean, usable = true) {
    const verb = this.deck.verb(name);
    if (!verb) return nothing;
    return html`<button data-verb=${name} title=${verb.help} aria-pressed=${pressed === undefined ? nothing : String(pressed)} ?disabled=${this.deck.stale || !usable} @click=${() => void this.deck.run(name)}>${title(name)}</button>`;
  }
}

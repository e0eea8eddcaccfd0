// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html, nothing } from "lit";
import { customElement } from "lit/decorators.js";
import "./login";
import { Part, shared } from "./part";
import { words } from "./text";

const verbs = ["take_control", "release_control", "lock", "unlock", "remote", "local"];

/** Who is in control, this session's right to operate, and how the panel looks. */
@customElement("xp-control")
export class XpControl extends Part {
  static override styles = [
    shared,
    css`
      :host { height: 100%; overflow-y: auto; display: grid; align-content: start; gap: 1.25rem; }
      section { display: grid; gap: 0.5rem; }
      .acts { display: flex; gap: 0.25rem; flex-wrap: wrap; }
      p { margin: 0; }
      [aria-pressed="true"] { background: var(--bright); color: var(--on-bright); }
    `,
  ];

  private theme(name: string): void {
    document.documentElement.dataset["theme"] = name;
    localStorage.setItem("xp-theme", name);
    this.requestUpdate();
  }

  protected override follows(): unknown[] {
    return [this.deck.state?.owner, this.deck.state?.lock, this.deck.state?.mode, this.deck.verbs, this.deck.stale];
  }

  protected override view() {
    const state = this.deck.state;
    const owner = state?.owner?.name;
    const theme = document.documentElement.dataset["theme"] ?? "dark";
    return html`
      <section>
        <h2>Who is in control</h2>
        <p>${owner ? html`<b><bdi>${owner}</bdi></b> (${state?.owner.front}${state?.owner.address ? `, ${state.owner.address}` : ""})` : "Nobody has taken control: everybody may operate."}</p>
        <p class="dim">${state?.lock?.name ? html`Locked by <bdi>${state.lock.name}</bdi>.` : nothing} ${state?.mode === "local" ? "Switched to local: only who sits at the machine operates." : nothing}</p>
        <div class="acts">${verbs.map((name) => this.deck.verb(name)).map((verb) => (verb ? html`<button title=${verb.help} ?disabled=${this.deck.stale} @click=${() => void this.deck.run(verb.name)}>${words(verb.name)}</button>` : nothing))}</div>
      </section>
      <section>
        <h2>This session</h2>
        <xp-login .deck=${this.deck}></xp-login>
      </section>
      <section>
        <h2>Look</h2>
        <div class="acts">
          ${["dark", "contrast"].map((name) => html`<button aria-pressed=${theme === name ? "true" : "false"} @click=${() => this.theme(name)}>${name === "dark" ? "Dark" : "High contrast"}</button>`)}
          <button @click=${() => (location.hash = "#/kiosk")}>Picture and timecode alone</button>
        </div>
      </section>
      <section>
        <h2>Keys and programs</h2>
        <p class="dim">Key ? shows the map of keys, and each verb's form for HTTP, lines, OSC and the shell.</p>
      </section>
    `;
  }
}

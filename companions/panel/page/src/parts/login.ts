// SPDX-License-Identifier: GPL-3.0-or-later
import { css, html, nothing } from "lit";
import { customElement, state } from "lit/decorators.js";
import { Problem, request, setToken } from "../link/api";
import { Part, shared } from "./part";

/** Who this session is, and how it becomes somebody who may do more: an account, or the token of the machine. */
@customElement("xp-login")
export class XpLogin extends Part {
  @state() private problem = "";
  @state() private other = false;

  static override styles = [
    shared,
    css`
      :host { display: grid; gap: 0.5rem; }
      form { display: grid; grid-template-columns: minmax(0, 1fr) minmax(0, 1fr) auto; gap: 0.25rem; }
      form.one { grid-template-columns: minmax(0, 1fr) auto; }
      form + form { margin-top: 0.25rem; }
      .who button { white-space: nowrap; }
      .who { display: flex; gap: 0.75rem; align-items: center; justify-content: space-between; }
      p { margin: 0; font-size: 0.9375rem; }
      [role="alert"] { padding: 0; }
    `,
  ];

  protected override follows(): unknown[] {
    return [this.deck.me];
  }

  protected override view() {
    const { me } = this.deck;
    const mayLittle = ["nobody", "view"].includes(me.role);
    const forms = html`
      <form @submit=${this.logIn}><input name="name" aria-label="Account" placeholder="Account" autocomplete="username" /><input name="password" type="password" aria-label="Password" placeholder="Password" autocomplete="current-password" /><button>Log in</button></form>
      <form class="one" @submit=${this.use}><input name="token" type="password" aria-label="Token" placeholder="Token, from /run/xp/panel.token" autocomplete="off" /><button>Use</button></form>`;
    return html`
      <div class="who"><p>${this.told(me.name, me.role)}</p>${mayLittle ? nothing : html`<button class="small" aria-expanded=${String(this.other)} @click=${() => (this.other = !this.other)}>Be somebody else</button>`}</div>
      ${mayLittle || this.other ? forms : nothing}
      ${this.problem ? html`<p role="alert">${this.problem}</p>` : nothing}
    `;
  }

  private told(name: string, role: string) {
    if (role === "nobody") return "This panel shows nothing to strangers. Log in:";
    if (role === "view") return name ? html`<b><bdi>${name}</bdi></b> may look. Another account, or the machine's token, lets you operate:` : "You may look. An account, or the machine's token, lets you operate:";
    return html`<b><bdi>${name}</bdi></b> may ${role === "engineer" ? "operate and change settings" : "operate"}.`;
  }

  private field(name: string): string {
    return this.renderRoot.querySelector<HTMLInputElement>(`[name="${name}"]`)?.value ?? "";
  }

  private async logIn(event: Event): Promise<void> {
    event.preventDefault();
    setToken("");
    const response = await request("POST", "login", { name: this.field("name"), password: this.field("password") });
    if (response instanceof Problem) this.problem = `${response.sentence} ${response.hint}`;
    else this.become(((await response.json()) as { token: string }).token);
  }

  private use(event: Event): void {
    event.preventDefault();
    if (this.field("token")) this.become(this.field("token").trim());
  }

  private become(token: string): void {
    this.problem = "";
    setToken(token);
    this.deck.reconnect();
  }
}

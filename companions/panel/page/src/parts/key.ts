// SPDX-License-Identifier: GPL-3.0-or-later
import { LitElement, css, html, nothing } from "lit";
import { customElement, property, state } from "lit/decorators.js";
import { icon } from "./icons";
import { shared } from "./part";

const holdTime = 1000;

/** What cannot be undone: such a verb's key is held for a second. */
export const isFinal = (verb: string): boolean => ["delete", "shut_down"].includes(verb);

/** Asks the panel to show in which ways this control can be worked from elsewhere. */
export class FormsEvent extends Event {
  constructor(readonly verb: string) {
    super("xp-forms", { bubbles: true, composed: true });
  }
}

/**
 * A key of the deck. Lit when the recorder confirms what it stands for, framed while the answer is awaited; with `hold`
 * it has to be held for a second. Tells "press".
 */
@customElement("xp-key")
export class XpKey extends LitElement {
  @property() verb = "";
  @property() label = "";
  @property() icon = "";
  @property() hint = "";
  @property({ type: Boolean, reflect: true }) lit = false;
  @property({ type: Boolean, reflect: true }) red = false;
  @property({ type: Boolean, reflect: true }) pending = false;
  @property({ type: Boolean }) hold = false;
  @property({ type: Boolean }) disabled = false;
  /** Keys that stand for no state tell none. */
  @property({ type: Boolean }) toggle = false;
  @state() private held = 0;
  private since = 0;

  static override styles = [
    shared,
    css`
      :host { display: block; min-width: 0; }
      button { width: 100%; height: 100%; padding: 0 0.125rem; display: grid; place-content: center; justify-items: center; gap: 0.2rem; position: relative; overflow: hidden;
        border-color: var(--key-edge, transparent); border-top-color: var(--key-edge, var(--lifted)); user-select: none; -webkit-user-select: none; -webkit-touch-callout: none; touch-action: none; }
      svg { width: 1.5rem; height: 1.5rem; fill: currentColor; display: block; }
      span { font-size: 0.75rem; line-height: 1; white-space: nowrap; }
      button:not(:has(svg)) span { font-size: 0.9375rem; font-weight: 700; }
      :host([red]) svg { color: var(--red-text); }
      :host([lit]) button { background: var(--bright); color: var(--on-bright); border-color: var(--bright); }
      :host([lit][red]) button { background: var(--red); color: var(--on-red); border-color: var(--red); }
      :host([lit][red]) svg { color: var(--on-red); }
      :host([pending]) button { border: 2px solid var(--bright); }
      i { position: absolute; left: 0; bottom: 0; height: 0.3rem; width: 100%; background: var(--amber); transform-origin: left; }
    `,
  ];

  override focus(): void {
    this.renderRoot.querySelector("button")?.focus();
  }

  private press(): void {
    this.dispatchEvent(new Event("press", { bubbles: true, composed: true }));
  }

  get isHeld(): boolean {
    return this.since > 0;
  }

  begin(): void {
    if (this.disabled || this.since) return;
    if (!this.hold) return this.press();
    this.since = performance.now();
    const step = (): void => {
      if (!this.since) return;
      this.held = Math.min(1, (performance.now() - this.since) / holdTime);
      if (this.held < 1) return void requestAnimationFrame(step);
      this.since = 0;
      this.held = 0;
      this.press();
    };
    requestAnimationFrame(step);
  }

  end(): void {
    if (!this.since) return;
    this.since = 0;
    this.held = 0;
    this.dispatchEvent(new Event("toobrief", { bubbles: true, composed: true }));
  }

  private down(event: PointerEvent): void {
    if (event.button !== 0) return;
    if (this.hold) (event.target as Element).setPointerCapture?.(event.pointerId);
    this.begin();
  }

  private keydown(event: KeyboardEvent): void {
    if (event.key !== "Enter" && event.key !== " ") return;
    event.preventDefault();
    event.stopPropagation();
    if (!event.repeat) this.begin();
  }

  override updated(): void {
    const bar = this.renderRoot.querySelector("i");
    bar?.style.setProperty("transform", `scaleX(${this.held})`);
  }

  override render() {
    return html`<button
      type="button"
      ?disabled=${this.disabled}
      aria-pressed=${this.toggle ? (this.lit ? "true" : "false") : nothing}
      aria-label=${this.hint || this.label}
      aria-busy=${this.pending ? "true" : "false"}
      title=${this.hint}
      @pointerdown=${this.down}
      @pointerup=${this.end}
      @pointercancel=${this.end}
      @keydown=${this.keydown}
      @keyup=${(event: KeyboardEvent) => (event.key === "Enter" || event.key === " ") && this.end()}
      @blur=${this.end}
      @click=${(event: MouseEvent) => event.detail === 0 && !event.isTrusted && this.begin()}
    >
      ${this.icon ? icon(this.icon) : nothing}<span>${this.label}</span>${this.held > 0 ? html`<i></i>` : nothing}
    </button>`;
  }
}

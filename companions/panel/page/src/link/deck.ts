// SPDX-License-Identifier: GPL-3.0-or-later
// The one store of state: the snapshot with its deltas, the link that keeps it, and verbs with their answers.
import { Problem, get, request, setToken, socketAddress, token } from "./api";
import type { Answer, DeckState, Parameter, Verb } from "./state";

/** Without a sign of life for this long nothing on the page may look live. */
export const staleAfter = 500;
const noticeFor = 12_000;
const unseenAfter = 150;
const retryAfter = [100, 250, 500, 900];

export interface Notice {
  kind: "refused" | "done" | "lost";
  title: string;
  text: string;
  /** Where on the page it is put right. */
  link?: { href: string; text: string };
}

type Listener = () => void;

/** What hangs on the deck hears of every change at most once a frame of the screen. */
export class Deck {
  state: DeckState | null = null;
  counters: Record<string, number> = {};
  verbs: Verb[] = [];
  parameters = new Map<string, Parameter>();
  pending = new Set<string>();
  notice: Notice | null = null;
  linked = false;
  /** Whom the panel takes this session for. */
  me = { name: "", role: "view" };
  /** 0 while the recorder tells its state; else milliseconds without a word. */
  silence = 0;
  /** 0 while pictures come, or there is no recorder that makes some; else milliseconds without one. */
  blindness = 0;
  /** Milliseconds that the recorder's clock is ahead of this page's, as measured by pings. */
  clockOffset: number | null = null;
  version = "";
  /** The recorder's time zone, as "Europe/Berlin"; empty: not told. */
  zone = "";
  /** Told when the link is there, again and again. */
  onlink: () => void = () => {};

  private socket: WebSocket | null = null;
  private seq = -1;
  private boot = "";
  private heard = performance.now();
  private seen = performance.now();
  private asked = performance.now();
  private tries = 0;
  private listeners = new Set<Listener>();
  private scheduled = false;
  private bestTrip = Infinity;
  private owedSteps = 0;
  private stepping = false;
  private wantedSpeed: number | null = null;
  private speeding = false;
  private sentSpeed: number | null = null;

  /** `at`: of another recorder that this panel reaches, as "channels/2/". */
  constructor(private readonly at = "") {}

  start(): void {
    this.connect();
    this.timer = window.setInterval(() => this.watch(), 100);
    document.addEventListener("visibilitychange", this.watch);
  }

  stop(): void {
    clearInterval(this.timer);
    document.removeEventListener("visibilitychange", this.watch);
    const socket = this.socket;
    this.socket = null;
    socket?.close();
  }

  subscribe(listener: Listener): () => void {
    this.listeners.add(listener);
    return () => this.listeners.delete(listener);
  }

  /** A picture has been painted. */
  pictureSeen(): void {
    this.seen = performance.now();
    if (this.blindness === 0) return;
    this.blindness = 0;
    this.changed();
  }

  /** What the keys and lamps show is not confirmed any more. */
  get stale(): boolean {
    return this.silence > 0;
  }

  /** What picture, timecode and meters show is not live: since how many milliseconds; 0: it is. */
  get frozen(): number {
    return Math.max(this.silence, this.blindness);
  }

  verb(name: string): Verb | undefined {
    return this.verbs.find((row) => row.name === name);
  }

  /** Asks for a verb; the answer is told on the page too, unless it was done. */
  async run(name: string, values: Record<string, string | number | boolean> = {}): Promise<Answer> {
    this.pending = new Set([...this.pending, name]);
    this.changed();
    const response = await request("POST", `${this.at}transport/${name}`, values);
    this.pending = new Set([...this.pending].filter((one) => one !== name));
    const answer = await answerOf(response);
    if (!answer.done) this.tell({ kind: "refused", title: title(name), ...advice(answer) });
    else if (this.notice?.kind === "refused") this.notice = null;
    this.changed();
    return answer;
  }

  /** Nothing, or why no take could begin now. */
  async ready(): Promise<string> {
    const answer = await get<unknown>(`${this.at}ready`);
    return answer instanceof Problem ? sentence(answer.sentence) : "";
  }

  /** Steps are added up while one is on its way. */
  steps(by: number): void {
    this.owedSteps += by;
    if (this.stepping) return;
    this.stepping = true;
    void (async () => {
      while (this.owedSteps !== 0) {
        const count = this.owedSteps;
        this.owedSteps = 0;
        if (!(await this.run("step", { frames: count })).done) this.owedSteps = 0;
      }
      this.stepping = false;
    })();
  }

  /** Of the speeds asked for while one is on its way only the last counts. */
  speed(speed: number): void {
    this.wantedSpeed = speed;
    if (this.speeding) return;
    this.speeding = true;
    void (async () => {
      while (this.wantedSpeed !== null) {
        const wanted = (this.sentSpeed = this.wantedSpeed);
        this.wantedSpeed = null;
        const answer = wanted === 0 ? await this.run("still") : await this.run("play", { speed: wanted });
        if (!answer.done) this.wantedSpeed = null;
      }
      this.speeding = false;
      this.sentSpeed = null;
    })();
  }

  /** The speed that has been asked for and not been answered yet; null: none. */
  get askedSpeed(): number | null {
    return this.wantedSpeed ?? this.sentSpeed;
  }

  /** The answer is told beside the setting, by who asks. */
  async set(name: string, value: string): Promise<Answer> {
    return answerOf(await request("PUT", `${this.at}params/${encodeURIComponent(name)}`, { value }));
  }

  tell(notice: Notice | null): void {
    this.notice = notice;
    if (notice) setTimeout(() => this.notice === notice && this.tell(null), noticeFor);
    this.changed();
  }

  /** What has come in heaps, because the machine is busy, is drawn once. A page that nobody sees has its title to keep. */
  changed(): void {
    if (this.scheduled) return;
    this.scheduled = true;
    const told = (): void => {
      if (!this.scheduled) return;
      this.scheduled = false;
      for (const listener of [...this.listeners]) {
        try {
          listener();
        } catch (error) {
          reportError(error); // of one part; the others have to hear of it all the same
        }
      }
    };
    if (!document.hidden) requestAnimationFrame(told);
    setTimeout(told, unseenAfter);
  }

  private connect(): void {
    const words = new URLSearchParams();
    if (this.seq >= 0) words.set("since", String(this.seq));
    if (this.boot) words.set("boot", this.boot);
    this.asked = performance.now();
    const socket = new WebSocket(socketAddress(`${this.at}events`) + (words.size ? `?${words}` : ""), token() ? ["xp", `token.${token()}`] : ["xp"]);
    this.socket = socket;
    socket.onopen = () => this.ping();
    socket.onmessage = (event) => this.receive(event);
    socket.onclose = () => this.lost(socket);
  }

  /** Closing a socket in order takes as long as the other side likes. */
  private abandon(socket: WebSocket): void {
    socket.onmessage = socket.onclose = null;
    socket.close();
    this.lost(socket);
  }

  /** With the token of now. */
  reconnect(): void {
    this.seq = -1;
    this.tries = 0;
    this.socket?.close();
  }

  /** A token that is not valid any more keeps nobody from looking. */
  private async whoAmI(): Promise<void> {
    const answer = await get<{ name: string; role: string }>(`${this.at}me`);
    if (answer instanceof Problem) {
      if (answer.status !== 401 || !token()) return;
      setToken("");
      this.tell({ kind: "lost", title: "The session has ended", text: "This page may only watch until you log in again, under Control." });
      return;
    }
    if (answer.name === this.me.name && answer.role === this.me.role) return;
    this.me = answer;
    this.changed();
  }

  private lost(socket: WebSocket): void {
    if (socket !== this.socket) return;
    this.socket = null;
    this.linked = false;
    this.changed();
    if (this.tries > 0) void this.whoAmI();
    const wait = retryAfter[Math.min(this.tries++, retryAfter.length - 1)];
    setTimeout(() => this.connect(), wait);
  }

  private receive(event: MessageEvent): void {
    let message: Record<string, unknown>;
    try {
      message = JSON.parse(String(event.data)) as Record<string, unknown>;
    } catch {
      return;
    }
    this.heard = performance.now();
    this.silence = 0;
    switch (message["type"]) {
      case "hello":
        if (this.boot !== message["boot"]) this.seq = -1;
        this.boot = String(message["boot"] ?? "");
        this.version = String(message["version"] ?? "");
        this.zone = String(message["zone"] ?? "");
        this.linked = true;
        this.tries = 0;
        this.onlink();
        void this.whoAmI();
        void this.readTables();
        break;
      case "counters":
        this.counters = message["counters"] as Record<string, number>;
        break;
      case "snapshot":
        this.state = message["state"] as DeckState;
        this.seq = Number(message["seq"]);
        break;
      case "delta":
        // A gap means that something was missed: the next connection brings a whole snapshot.
        if (this.state === null || Number(message["seq"]) !== this.seq + 1) {
          this.seq = -1;
          this.socket?.close();
          return;
        }
        this.seq = Number(message["seq"]);
        this.state = { ...this.state, ...(message["changed"] as Partial<DeckState>) };
        break;
      case "pong":
        this.measure(Number(message["ping"]), Number(message["time"]));
        return;
      default:
        return;
    }
    this.changed();
  }

  /** The recorder's clock is read as half a round trip ago; the shortest trip seen lately counts. */
  private ping(): void {
    if (this.socket?.readyState === WebSocket.OPEN) this.socket.send(JSON.stringify({ ping: performance.now() }));
  }

  private measure(sent: number, there: number): void {
    const now = performance.now();
    const trip = now - sent;
    this.bestTrip = Math.min(this.bestTrip * 1.02, Infinity);
    if (trip > this.bestTrip) return;
    this.bestTrip = trip;
    this.clockOffset = there - (sent + trip / 2);
  }

  private async readTables(): Promise<void> {
    const verbs = await get<{ verbs: Verb[] }>(`${this.at}verbs`);
    if (!(verbs instanceof Problem)) this.verbs = verbs.verbs;
    await this.readParameters();
  }

  async readParameters(): Promise<void> {
    const answer = await get<{ parameters: Parameter[] }>(`${this.at}params`);
    if (answer instanceof Problem) return;
    this.parameters = new Map(answer.parameters.map((row) => [row.name, row]));
    this.changed();
  }

  private timer = 0;
  private beats = 0;
  private readonly watch = (): void => {
    if (this.beats++ < 10 || this.beats % 10 === 0) this.ping();
    const now = performance.now();
    const silence = now - this.heard;
    // A socket whose other side is gone without a word is given up, and so is one that does not come about.
    if (Math.min(silence, now - this.asked) > 3 * staleAfter && this.socket) this.abandon(this.socket);
    const told = (age: number): number => (age > staleAfter ? age : 0);
    const blindness = this.state?.running === false ? 0 : told(now - this.seen);
    if (told(silence) === this.silence && blindness === this.blindness) return;
    this.silence = told(silence);
    this.blindness = blindness;
    this.changed();
  };
}

/** With a full stop at its end, and a capital at its beginning unless that is a name. */
export function sentence(text: string): string {
  const begins = /^[a-z]+(?=[\s,:;']|$)/.test(text) ? text.charAt(0).toUpperCase() + text.slice(1) : text;
  return text && begins.replace(/[.]?$/, ".");
}

export const title = (name: string): string => {
  const words = name.replaceAll("_", " ");
  return words.charAt(0).toUpperCase() + words.slice(1);
};

/** What is wrong and what to do, as two sentences. */
export function sentences(answer: Answer): string {
  const told = [answer.sentence, answer.hint].filter(Boolean).map(sentence);
  return told.join(" ");
}

/** The same for who has this page before him, who types no commands. */
function advice(answer: Answer): Pick<Notice, "text" | "link"> {
  if (answer.status === 401) return { text: "This session may only watch.", link: { href: "#/control", text: "Log in" } };
  const alarm = /\s*[(]?alarm \w+; `alarms` lists what is wrong[)]?/;
  const setting = /,? with: `?set (\w+)[^.(`]*`?/;
  const name = setting.exec(answer.hint)?.[1];
  const text = sentences({ ...answer, hint: answer.hint.replace(alarm, "").replace(setting, "").trim() });
  if (name) return { text, link: { href: `#/settings/${name}`, text: title(name) } };
  return alarm.test(answer.hint) ? { text, link: { href: "#/alarms", text: "Alarms" } } : { text };
}

async function answerOf(response: Response | Problem): Promise<Answer> {
  if (response instanceof Problem) return { done: false, status: response.status, code: response.code, sentence: response.sentence, hint: response.hint };
  try {
    const { sentence } = (await response.json()) as { sentence?: string };
    return { done: true, code: "done", sentence: sentence ?? "", hint: "" };
  } catch {
    return { done: true, code: "done", sentence: "", hint: "" };
  }
}

// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures as they come: each with the timecode and the meters of its frame.
import { address, socketAddress, token } from "./api";

export interface PictureFrame {
  tick: number;
  /** Of the clip that is played; -1: not known. */
  frame: number;
  timecode: string;
  isCapture: boolean;
  isRepeat: boolean;
  hasPicture: boolean;
  /** Peaks of the frame's sound, 0 to 1 of full scale. */
  meters: number[];
  /** Loudness of the last 400 ms and the last three seconds, in LUFS; -70: none. Null: not told. */
  loudness: [number, number] | null;
  /** Milliseconds on the recorder's clock. */
  captured: number;
  /** Width by height of the picture as it is shown: pixels of SD are not square. 0: as it comes. */
  aspect: number;
  image: ImageBitmap;
}

const headerVersion = 1;
const fallbackEvery = 200;
const openEvery = 800;
const silent = 1000;

/**
 * Hands over the newest picture only: what comes while one is being decoded takes the place of what waits.
 * Without WebSocket pictures it asks for picture.jpg instead.
 */
export class PictureLink {
  onframe: (frame: PictureFrame) => void = () => {};
  /** Whether pictures come one by one, as single files. */
  fallback = false;

  /** Of another recorder that this panel reaches, as "channels/2/". */
  at = "";

  private socket: WebSocket | null = null;
  private waiting: ArrayBuffer | null = null;
  private decoding = false;
  private failures = 0;
  private heard = 0;
  private running = false;

  start(): void {
    if (this.running) return;
    this.running = true;
    this.connect();
  }

  stop(): void {
    this.running = false;
    this.socket?.close();
    this.socket = null;
  }

  /** Begins anew where nothing has come for a while: a connection that was cut off takes long to notice it. */
  renew(): void {
    if (!this.running || this.age < silent || !this.socket) return;
    const old = this.socket;
    this.socket = null;
    old.onmessage = old.onclose = null;
    old.close();
    this.open();
  }

  private connect(): void {
    if (!this.running) return;
    if (this.failures >= 3) {
      if (!this.fallback) {
        this.fallback = true;
        void this.askForFile();
      }
      setTimeout(() => this.open(), openEvery);
      return;
    }
    this.open();
  }

  private open(): void {
    if (!this.running) return;
    let socket: WebSocket;
    try {
      socket = new WebSocket(socketAddress(`${this.at}pictures?acknowledge=1`), token() ? ["xp", `token.${token()}`] : ["xp"]);
    } catch {
      this.failures++;
      setTimeout(() => this.connect(), 200);
      return;
    }
    socket.binaryType = "arraybuffer";
    this.socket = socket;
    socket.onmessage = (event) => {
      if (!(event.data instanceof ArrayBuffer)) return;
      this.failures = 0;
      this.fallback = false;
      this.heard = performance.now();
      // The next one is sent when this one is here: what is on its way to a slow reader would be old when it comes.
      socket.send(`{"got": ${new DataView(event.data).getBigUint64(104, true)}}`);
      this.waiting = event.data;
      void this.decode();
    };
    socket.onclose = () => {
      if (socket !== this.socket) return;
      this.socket = null;
      this.failures++;
      setTimeout(() => this.connect(), 200);
    };
  }

  /** Milliseconds since the last picture. */
  get age(): number {
    return performance.now() - this.heard;
  }

  private async decode(): Promise<void> {
    if (this.decoding) return;
    this.decoding = true;
    while (this.waiting) {
      const message = this.waiting;
      this.waiting = null;
      try {
        const frame = await readPicture(message);
        if (frame) this.onframe(frame);
      } catch {
        // A picture that cannot be decoded is left out; the next one comes with the next frame.
      }
    }
    this.decoding = false;
  }

  private async askForFile(): Promise<void> {
    while (this.running && this.fallback) {
      try {
        const response = await fetch(address(`${this.at}picture.jpg`), { cache: "no-store", headers: token() ? { Authorization: `Bearer ${token()}` } : {} });
        if (response.ok) await this.showFile(response);
      } catch {
        // The banner says that nothing comes.
      }
      await new Promise((resume) => setTimeout(resume, fallbackEvery));
    }
  }

  private async showFile(response: Response): Promise<void> {
    const word = (name: string): string => response.headers.get(name) ?? "";
    const image = await createImageBitmap(await response.blob());
    this.heard = performance.now();
    this.onframe({
      tick: Number(word("X-Tick")),
      frame: Number(word("X-Frame") || -1),
      timecode: word("X-Timecode"),
      isCapture: word("X-Capture") === "1",
      isRepeat: false,
      hasPicture: true,
      meters: word("X-Meters").split(",").filter(Boolean).map(Number),
      loudness: null,
      captured: Number(word("X-Captured")),
      aspect: ratio(...(word("X-Aspect").split(":").map(Number) as [number, number])),
      image,
    });
  }
}

const ratio = (width: number, height = 0): number => (height > 0 ? width / height : 0);

async function readPicture(message: ArrayBuffer): Promise<PictureFrame | null> {
  const view = new DataView(message);
  if (message.byteLength < 112 || view.getUint16(0, true) !== headerVersion) return null;
  const length = view.getUint16(2, true);
  const flags = view.getUint32(4, true);
  const meters: number[] = [];
  for (let i = 0; i < 8; ++i) meters.push(view.getFloat32(32 + 4 * i, true));
  const text = new TextDecoder().decode(new Uint8Array(message, 64, 32));
  const image = await createImageBitmap(new Blob([new Uint8Array(message, length)], { type: "image/jpeg" }));
  return {
    tick: Number(view.getBigInt64(8, true)),
    frame: Number(view.getBigInt64(16, true)),
    captured: Number(view.getBigInt64(24, true)) / 1e6,
    meters,
    loudness: length >= 120 ? [view.getFloat32(112, true), view.getFloat32(116, true)] : null,
    timecode: text.slice(0, text.indexOf("\0") < 0 ? undefined : text.indexOf("\0")),
    isCapture: (flags & 1) !== 0,
    isRepeat: (flags & 2) !== 0,
    hasPicture: (flags & 4) !== 0,
    aspect: length >= 124 ? ratio(view.getUint16(120, true), view.getUint16(122, true)) : 0,
    image,
  };
}

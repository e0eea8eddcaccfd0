// SPDX-License-Identifier: GPL-3.0-or-later
// Requests to the recorder's panel server: the token, and errors as values.

/** Which of the recorders that this panel reaches the page is about: "" its own, "channels/2", "machines/NAME"; from ?at=. */
export const place = /^(machines\/[^/]+)?\/?(channels\/\d+)?$/.exec(new URLSearchParams(location.search).get("at") ?? "")?.[0] ?? "";
/** As people call it; empty: the panel's own. */
export const placeName = place
  .split("/")
  .filter((word) => word !== "machines")
  .join(" ")
  .replace(/^channels /, "Channel ")
  .replace(/ channels /, ", channel ");
const base = `api/v1/${place && place + "/"}`;
const tokenKey = "xp-token";

/** What the address carried is kept for this session and taken out of the address. */
export function takeToken(): void {
  const match = /[#&?]token=([^&]+)/.exec(location.hash) ?? /[?&]token=([^&]+)/.exec(location.search);
  if (!match) return;
  sessionStorage.setItem(tokenKey, decodeURIComponent(match[1]));
  const rest = location.search.replace(/[?&]token=[^&]*/, "").replace(/^&/, "?");
  history.replaceState(null, "", location.pathname + rest + (location.hash.includes("token=") ? "" : location.hash));
}

export const token = (): string => sessionStorage.getItem(tokenKey) ?? "";
export const setToken = (value: string): void => sessionStorage.setItem(tokenKey, value);

/** What went wrong with a request, for a person. */
export class Problem {
  constructor(
    readonly status: number,
    readonly code: string,
    readonly sentence: string,
    readonly hint = "",
  ) {}
}

export function socketAddress(path: string): string {
  const address = new URL(base + path, document.baseURI);
  address.protocol = address.protocol === "https:" ? "wss:" : "ws:";
  return address.href;
}

export const address = (path: string): string => new URL(base + path, document.baseURI).href;

export async function request(method: string, path: string, body?: unknown, headers: Record<string, string> = {}): Promise<Response | Problem> {
  const sent: Record<string, string> = { ...headers };
  if (token()) sent["Authorization"] = `Bearer ${token()}`;
  if (body !== undefined) sent["Content-Type"] = "application/json";
  try {
    const response = await fetch(base + path, {
      method,
      headers: sent,
      body: body === undefined ? undefined : JSON.stringify(body),
      cache: "no-store",
    });
    return response.ok ? response : await problemOf(response);
  } catch {
    return new Problem(0, "unreachable", "The panel does not answer.", "It is asked again as soon as the link is back.");
  }
}

export async function get<T>(path: string): Promise<T | Problem> {
  const response = await request("GET", path);
  if (response instanceof Problem) return response;
  try {
    return (await response.json()) as T;
  } catch {
    return new Problem(response.status, "unreadable", "The panel's answer cannot be read.");
  }
}

async function problemOf(response: Response): Promise<Problem> {
  try {
    const text = (await response.json()) as Record<string, unknown>;
    const word = (name: string): string => (typeof text[name] === "string" ? (text[name] as string) : "");
    return new Problem(response.status, word("code") || String(response.status), word("detail") || word("title"), word("hint"));
  } catch {
    return new Problem(response.status, String(response.status), `The panel answers ${response.status}.`);
  }
}

// SPDX-License-Identifier: GPL-3.0-or-later
// Figures as people read them.

export function duration(seconds: number): string {
  if (!Number.isFinite(seconds) || seconds < 0) return "-";
  const whole = Math.floor(seconds);
  const hours = Math.floor(whole / 3600);
  const minutes = Math.floor(whole / 60) % 60;
  const two = (value: number): string => String(value).padStart(2, "0");
  if (hours >= 1) return `${hours} h ${two(minutes)} min`;
  return minutes >= 1 ? `${minutes} min ${two(whole % 60)} s` : `${whole} s`;
}

/** Frames as HH:MM:SS:FF of the rate, without dropped numbers: a length, not a timecode. */
export function length(frames: number, rate: number): string {
  const base = Math.max(1, Math.round(rate || 25));
  const value = Math.max(0, Math.floor(frames));
  const two = (part: number): string => String(part).padStart(2, "0");
  const seconds = Math.floor(value / base);
  return `${two(Math.floor(seconds / 3600))}:${two(Math.floor(seconds / 60) % 60)}:${two(seconds % 60)}:${two(value % base)}`;
}

export function bytes(value: number): string {
  const units = ["B", "kB", "MB", "GB", "TB"];
  let i = 0;
  while (value >= 1000 && i < units.length - 1) {
    value /= 1000;
    ++i;
  }
  return `${value >= 100 || i === 0 ? value.toFixed(0) : value.toFixed(1)} ${units[i]}`;
}

/** How long a take can become; 0 is not known. */
export const room = (seconds: number): string => (seconds > 0 ? duration(seconds) : "-");

export const words = (name: string): string => name.replaceAll("_", " ");

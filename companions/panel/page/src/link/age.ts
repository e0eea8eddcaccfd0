// SPDX-License-Identifier: GPL-3.0-or-later

const kept = 50;

/** Collects ages of pictures in milliseconds; with every tenth the median of the last ones, else null. */
export function ages(): { add(age: number): number | null; all(): number[] } {
  const past: number[] = [];
  let count = 0;
  return {
    add(age: number): number | null {
      past.push(age);
      if (past.length > kept) past.shift();
      if (++count % 10 !== 0) return null;
      return [...past].sort((a, b) => a - b)[past.length >> 1];
    },
    all: () => [...past],
  };
}

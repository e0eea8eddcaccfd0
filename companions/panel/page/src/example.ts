// SPDX-License-Identifier: GPL-3.0-or-later
// A page of one's own hears of every frame that is painted.
import type { FrameEvent } from "./elements/follow";
import { takeToken } from "./link/api";

takeToken();
document.querySelector("xp-picture")?.addEventListener("xp-frame", (event) => {
  const told = document.querySelector("#told output");
  const frame = (event as FrameEvent).frame;
  if (told) told.textContent = frame.isCapture ? `input, tick ${frame.tick}` : String(frame.frame);
});

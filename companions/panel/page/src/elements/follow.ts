// SPDX-License-Identifier: GPL-3.0-or-later
import type { PictureFrame } from "../link/pictures";

/** Told by <xp-picture> in the moment in which it paints the frame. */
export class FrameEvent extends Event {
  constructor(readonly frame: PictureFrame) {
    super("xp-frame");
  }
}

/** Hears every frame that the picture with this id paints, in the element's own tree; returns how to end it. */
export function follow(element: HTMLElement, id: string, told: (frame: PictureFrame) => void): () => void {
  if (!id) return () => {};
  const root = element.getRootNode() as Document | ShadowRoot;
  const listener = (event: Event): void => {
    if (event instanceof FrameEvent && (event.target as HTMLElement).id === id) told(event.frame);
  };
  root.addEventListener("xp-frame", listener, true);
  return () => root.removeEventListener("xp-frame", listener, true);
}

// SPDX-License-Identifier: GPL-3.0-or-later
import "./start";
import "./parts/panel";
import "./parts/wall";

/** One recorder, or all that this panel reaches. */
function show(): void {
  const name = location.hash.startsWith("#/wall") ? "xp-wall" : "xp-panel";
  const main = document.querySelector("main");
  if (main?.firstElementChild?.localName !== name) main?.replaceChildren(document.createElement(name));
}
addEventListener("hashchange", show);
show();

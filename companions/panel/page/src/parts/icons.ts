// SPDX-License-Identifier: GPL-3.0-or-later
import { svg, html, type TemplateResult } from "lit";

const shapes: Record<string, TemplateResult> = {
  record: svg`<circle cx="12" cy="12" r="7"/>`,
  stop: svg`<rect x="5.5" y="5.5" width="13" height="13"/>`,
  play: svg`<path d="M7 4.5v15L20 12z"/>`,
  reverse: svg`<path d="M17 4.5v15L4 12z"/>`,
  still: svg`<path d="M6 5h4.2v14H6zM13.8 5H18v14h-4.2z"/>`,
  forward: svg`<path d="M2.5 5v14l9.5-7zM12 5v14l9.5-7z"/>`,
  rewind: svg`<path d="M21.500 5v14L12 12zM12 5v14l-9.500-7z"/>`,
  next: svg`<path d="M5 5v14l10.500-7zM16 5h3v14h-3z"/>`,
  prev: svg`<path d="M19 5v14L8.500 12zM5 5h3v14H5z"/>`,
  step: svg`<path d="M9 6v12l8-6z"/>`,
  back: svg`<path d="M15 6v12l-8-6z"/>`,
};

export const icon = (name: string): TemplateResult => html`<svg viewBox="0 0 24 24" aria-hidden="true">${shapes[name]}</svg>`;

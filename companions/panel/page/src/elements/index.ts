// SPDX-License-Identifier: GPL-3.0-or-later
// The elements for others' pages.
export { XpMeter } from "./meter";
export { XpPicture } from "./picture";
export { XpTimecode } from "./timecode";

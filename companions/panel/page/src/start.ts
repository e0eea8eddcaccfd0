// SPDX-License-Identifier: GPL-3.0-or-later
// Before the first element is made: the token of the address, and the look that was chosen.
import { takeToken } from "./link/api";

takeToken();
document.documentElement.dataset["theme"] = localStorage.getItem("xp-theme") ?? "dark";

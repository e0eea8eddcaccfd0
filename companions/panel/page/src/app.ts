// SPDX-License-Identifier: GPL-3.0-or-later
import "./start";
import "./parts/panel";

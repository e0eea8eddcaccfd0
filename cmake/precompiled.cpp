// SPDX-License-Identifier: GPL-3.0-or-later
// Nothing: a target needs a source for its precompiled header to be made.

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// Everything that main() does: serves, or does one of the small commands (open, user, certificate).
int runPanelCommandLine(int argc, char **argv);

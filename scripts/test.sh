#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Runs the tests that stand in build/; an argument selects by name.
set -euo pipefail
. "$XP_ROOT/scripts/common.sh"
xp_setup_peers
(xp_setup_page) || say "goes on without the panel's page in a browser"
args=(--test-dir "$XP_BUILD" --output-on-failure --no-tests=error -j "$XP_JOBS")
[ $# -gt 0 ] && args+=(-R "$1")
xp_ctest "${args[@]}"

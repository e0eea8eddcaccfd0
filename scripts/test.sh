#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Runs the tests that stand in build/; an argument selects by name. On an integration machine (XP_CI) the unit tests run
# under the sanitizers too, whatever has failed before them.
set -euo pipefail
. "$XP_ROOT/scripts/common.sh"
xp_setup_peers
(xp_setup_page) || say "goes on without the panel's page in a browser"
args=(--test-dir "$XP_BUILD" --output-on-failure --no-tests=error -j "$XP_JOBS")
if [ $# -gt 0 ] || [ "${XP_CI:-no}" != yes ]; then
    [ $# -eq 0 ] || args+=(-R "$1")
    xp_ctest "${args[@]}"
    exit
fi

failed=() building=
step() { # WHAT COMMAND...
    local what=$1 began=$SECONDS status=0
    shift
    "$@" || status=$?
    [ $status -eq 0 ] || failed+=("$what")
    say "$what: $((SECONDS - began)) s"
}
trap '[ -z "$building" ] || kill "$building" 2>/dev/null || true' EXIT
trap 'exit 1' INT TERM HUP
step 'unit tests' xp_ctest "${args[@]}" -LE system
# The tests of the real programs mostly wait. What they leave of the machine builds for the sanitizers.
chrt --idle 0 "$XP_ROOT/scripts/test-sanitized.sh" asan build >/dev/null 2>&1 &
building=$!
step 'tests of the real programs' xp_ctest "${args[@]}" -L system
wait "$building" || true # what it could not build stops the next step, and is told there
building=
[ ${#failed[@]} -eq 0 ] || say "failed: ${failed[*]} (see above)"
"$XP_ROOT/scripts/test-sanitized.sh" asan
[ ${#failed[@]} -eq 0 ]

#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Measures beside a recorder of its own on bench/inputs.ini: bench.sh [NAME|many|density|panel] [--json] [--seconds N] [--long]
set -euo pipefail
. "$XP_ROOT/scripts/common.sh"
xp_setup_peers
[ "${1:-}" = panel ] && { (xp_setup_page); exec "$XP_ROOT/scripts/test-page.sh" bench "${@:2}"; }
[ "${1:-}" = many ] && exec "$XP_ROOT/scripts/bench-many.sh" "${@:2}"
[ "${1:-}" = density ] && exec "$XP_ROOT/scripts/bench-density.sh" "${@:2}"
arguments=()
for argument in "$@"; do
    case "$argument" in
        --long) arguments+=(--seconds 600) ;;
        *) arguments+=("$argument") ;;
    esac
done
exec "$XP_ROOT/scripts/sandbox.sh" --media-size 20G --profile "$XP_ROOT/bench/inputs.ini" -- xp-bench "${arguments[@]}"

#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Two recorders of 1080p25 and a playback at once, each in a sandbox of its own: frames that any of them loses.
#   bench-many.sh [SECONDS]
set -euo pipefail
. "$XP_ROOT/scripts/common.sh"
seconds=${1:-20}
results=$(mktemp -d)
trap 'rm -rf "$results"' EXIT
beside() { "$XP_ROOT/scripts/sandbox.sh" --net private --media-size 8G --profile "$XP_ROOT/bench/inputs.ini" -- bash -c "$1"; }
figure='figure() { xpctl metrics | awk -v name="$1" "\$1 == name { print \$2 }"; }
    pause() { read -rt 0.2 <> <(:) || true; }'
record="$figure
    xpctl record --for $seconds
    echo \"dropped \$(figure xp_frames_dropped_capture_total)\""
# The player begins first and goes on until both takes have ended.
play="$figure
    xpctl record --for 5 >&2; xpctl set loop_playback on; xpctl play >&2
    before=\$(figure xp_frames_dropped_playback_total); touch $results/plays
    until [ -e $results/recorded ]; do pause; done
    echo \"dropped \$((\$(figure xp_frames_dropped_playback_total) - before)) of \$(figure xp_frames_shown_total)\""
beside "$play" >"$results/player" & player=$!
until [ -e "$results/plays" ]; do kill -0 $player; read -rt 0.2 <> <(:) || true; done
beside "$record" >"$results/first" & first=$!
beside "$record" >"$results/second" & second=$!
wait $first && wait $second && touch "$results/recorded" && wait $player
status=0
for who in first second player; do
    lost=$(sed -n 's/^dropped \([0-9]*\).*/\1/p' "$results/$who")
    [ "$lost" = 0 ] && verdict=holds || { verdict="DOES NOT HOLD" status=1; }
    printf '%-24s %13s frames  <= 0  %s   (%s)\n' "many_${who}_dropped" "$lost" "$verdict" "$(tr '\n' ' ' <"$results/$who")"
done
exit $status

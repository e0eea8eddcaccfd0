#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# The whole recorder on a test picture. Its media are ordinary folders, run/media/A and run/media/B, and its store is in
# run/lib: whatever ends the run, what was recorded is there.
set -euo pipefail
. "$XP_ROOT/scripts/common.sh"
export XP_RUN_ONCE=no XP_RUN_DIR=$XP_ROOT/run XP_RUN_CHANNELS=1
media=$XP_RUN_DIR/media
while [ $# -gt 0 ]; do
    case "$1" in
        --once) XP_RUN_ONCE=yes; shift ;;
        --channels) XP_RUN_CHANNELS=${2:-}; shift 2 || die "run: --channels lacks its number (see ./xp help)" ;;
        --media) media=${2:-}; [ -n "$media" ] || die "run: --media lacks its folder (see ./xp help)"; shift 2 ;;
        *) die "run: unknown option $1 (see ./xp help)" ;;
    esac
done
mkdir -p "$XP_RUN_DIR" "$media/A" "$media/B" || die "run: the media cannot be made in $media"
XP_RUN_MEDIA=$(readlink -f "$media")
export XP_RUN_MEDIA
exec 9>"$XP_RUN_DIR/lock"
flock -n 9 || die "a recorder is already up in this checkout; talk to it with: ./xp enter xpctl status"
# The recorder begins no take on a medium with a tenth free or less: its media are that of the disk below them.
percent=$(stat -f -c '%f %b' "$XP_RUN_MEDIA" | awk '{ printf "%.0f", $1 * 100 / $2 }')
[ "$percent" -gt 10 ] || die "run: the disk of $XP_RUN_MEDIA has $percent % free, and no take begins at 10 % or less;" \
    "make room, or record on another disk: ./xp run --media FOLDER"
# A port that somebody else has is no reason not to run.
panel=(--panel)
[ "$XP_RUN_ONCE" = yes ] && panel=()
(exec 3<>/dev/tcp/127.0.0.1/8090) 2>/dev/null || [ ${#panel[@]} -eq 0 ] || panel=(--panel-at 127.0.0.1:8090)
exec "$XP_ROOT/scripts/sandbox.sh" --state "$XP_RUN_DIR" --media "$XP_RUN_MEDIA" --channels "$XP_RUN_CHANNELS" "${panel[@]}" -- "$XP_ROOT/scripts/run-inside.sh"

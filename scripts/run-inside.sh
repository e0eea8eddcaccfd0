#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# What `./xp run` does inside its sandbox: a take, its playback, its clip, then a live status line.
set -euo pipefail
. "$XP_ROOT/scripts/common.sh"

xpctl set timecode_preset_hour 10
say "recording five seconds of the signal generator"
xpctl record --for 5
say "playing them back"
xpctl play --wait
xpctl stop
medium=$(xpctl get active_media_path)
clip=$(xpctl get current_clip)
say "the clip: $XP_RUN_MEDIA/${medium##*/}/$clip"
xpctl clips
if [ "$XP_RUN_CHANNELS" -gt 1 ]; then
    say "two seconds of all $XP_RUN_CHANNELS channels, from the same frame on"
    xpctl --all record --for 2
fi
[ "$XP_RUN_ONCE" = yes ] && exit 0

cat >&2 <<TEXT

The recorder is up. In a browser:
    $(xppanel open)
In another terminal, in this folder:
    ./xp enter xpctl picture now.png     (a picture of what is on the output now)
    ./xp enter xpctl cue 10:00:04:00     ./xp enter xpctl play 0.5
    ./xp enter xpctl record --for 10     ./xp enter xpctl clips
    ./xp enter                           (a shell inside it)
$([ "$XP_RUN_CHANNELS" -le 1 ] || echo "Of another channel: ./xp enter xpctl --channel 2 status; of all: ./xp enter xpctl --all record")
Clips are in $XP_RUN_MEDIA, for any player; the daemon's log is $XP_RUN_DIR/xpd.log. Ctrl-C ends it.

TEXT
xpctl watch

#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# What `./xp run` does inside its sandbox: a take, its playback, its clip, then a live status line.
set -euo pipefail
. "$XP_ROOT/scripts/common.sh"

# New clips are copied out of the media, so that they are at hand when the recorder is down.
keep_clips() {
    local clip
    for clip in /media/A/*.mov /media/B/*.mov; do
        [ -f "$clip" ] && [ ! -e "$XP_RUN_DIR/clips/${clip##*/}" ] && cp "$clip" "$XP_RUN_DIR/clips/"
    done
    return 0
}
trap keep_clips EXIT

xpctl set timecode_preset_hour 10
say "recording five seconds of the signal generator"
xpctl record --for 5
say "playing them back"
xpctl play --wait
xpctl stop
clip=$(xpctl get current_clip)
keep_clips
say "the clip: $XP_RUN_DIR/clips/$clip"
ffprobe -v error -show_entries \
    stream=index,codec_type,codec_name,profile,codec_tag_string,width,height,pix_fmt,r_frame_rate,nb_frames,sample_rate,channels:stream_tags=timecode:format=duration,size \
    -of compact=nokey=0 "$(xpctl get active_media_path)/$clip"
[ "$XP_RUN_ONCE" = yes ] && exit 0

cat >&2 <<TEXT

The recorder is up. In another terminal, in this folder:
    ./xp enter xpctl cue 10:00:04:00     ./xp enter xpctl play 0.5
    ./xp enter xpctl record --for 10     ./xp enter xpctl clips
    ./xp enter                           (a shell inside it)
Ctrl-C ends it.

TEXT
xpctl watch

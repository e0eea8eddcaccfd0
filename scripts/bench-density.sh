#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# How many channels of 1080p25, pictures as hard to code as a camera's, this machine records without a lost frame, and how
# many while as many others play: the number of channels goes up for as long as none loses anything.
#   bench-density.sh [--seconds N] [--from N] [--pattern moving|bars]
set -euo pipefail
. "$XP_ROOT/scripts/common.sh"
seconds=20 from=2 pattern=moving
while [ $# -gt 0 ]; do
    [ $# -gt 1 ] || die "bench density: $1 lacks its value"
    case "$1" in
        --seconds) seconds=$2 ;;
        --from) from=$2 ;;
        --pattern) pattern=$2 ;;
        *) die "bench density: unknown option $1" ;;
    esac
    shift 2
done
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
printf '[inputs]\n601=generator:?rate=25&size=1920x1080&pattern=%s\n' "$pattern" >"$dir/inputs.ini"
cat >"$dir/inside.sh" <<'INSIDE'
# inside.sh RECORDERS PLAYERS SECONDS: lines "who channel frames dropped cpu", cpu in ms a frame
recorders=$(seq -s, "$1") players= count=$1 seconds=$3
[ "$2" = 0 ] || players=$(seq -s, $(($1 + 1)) $(($1 + $2)))
figure() { xpctl --channel "$1" metrics | awk -v name="$2" '$1 == name { print int($2) }'; }
pid() { [ "$1" = 1 ] && cat /run/xp/xpd.pid || cat "/run/xp/channels/$1/xpd.pid"; }
cpu() { cat /proc/"$(pid "$1")"/task/*/schedstat | awk '{ sum += $1 } END { printf "%d", sum / 1000 }'; } # microseconds
xpctl --all ready >&2
if [ -n "$players" ]; then
    xpctl --channels "$players" record --for 5 >&2
    xpctl --channels "$players" set loop_playback on >&2
    xpctl --channels "$players" play >&2
fi
declare -A shown before
for channel in $(seq $((count + 1)) $((count + $2))); do
    before[$channel]=$(figure "$channel" xp_frames_dropped_playback_total)
    shown[$channel]=$(figure "$channel" xp_frames_shown_total)
done
declare -A used
for channel in $(seq "$count"); do used[$channel]=$(cpu "$channel"); done
xpctl --channels "$recorders" --json record --for "$seconds" >&2
for channel in $(seq "$count"); do
    folder=/media/A; [ "$channel" = 1 ] || folder=/media/A/channel-$channel
    # What is in the file counts, not what was announced.
    frames=$(ffprobe -v error -select_streams v:0 -count_packets -show_entries stream=nb_read_packets -of csv=p=0 \
        "$folder/$(xpctl --channel "$channel" get current_clip)")
    missing=$((seconds * 25 > frames ? seconds * 25 - frames : 0))
    lost=$(($(figure "$channel" xp_frames_dropped_capture_total) + missing))
    echo "records $channel $frames $lost $((($(cpu "$channel") - used[$channel]) / (seconds * 25)))"
done
for channel in $(seq $((count + 1)) $((count + $2))); do
    echo "plays $channel $(($(figure "$channel" xp_frames_shown_total) - shown[$channel]))" \
        "$(($(figure "$channel" xp_frames_dropped_playback_total) - before[$channel])) 0"
done
INSIDE
# try RECORDERS PLAYERS: lost frames of all, and the CPU of a recorded frame; what was seen stays in $dir/seen
try() {
    "$XP_ROOT/scripts/sandbox.sh" --net private --media-size 40G --profile "$dir/inputs.ini" --channels $(($1 + $2)) -- \
        bash -eu "$dir/inside.sh" "$1" "$2" "$seconds" >"$dir/seen" 2>"$dir/said" || { cat "$dir/said" >&2; return 1; }
    awk '{ lost += $4 } $1 == "records" { cpu += $5; n++ } END { printf "%d %.1f\n", lost, cpu / n / 1000 }' "$dir/seen"
}
# most NAME PLAYERS-FOR-EACH FROM
most() {
    local n=$3 best=0 cost=- result lost
    while [ "$n" -ge 1 ]; do
        result=$(try "$n" $((n * $2))) || break
        lost=${result% *}
        say "  $1: $n channels, $lost frames lost, ${result#* } ms CPU a recorded frame"
        if [ "$lost" -gt 0 ]; then
            [ "$best" = 0 ] || break
            n=$((n - 1))
        else
            [ "$n" -gt "$best" ] || break
            best=$n cost=${result#* }
            [ -n "${falling:-}" ] && break
            n=$((n + 1))
        fi
        [ "$best" = 0 ] && falling=yes
    done
    falling=
    printf '%-28s %13s channels   (%s s, %s, %s processors, %s ms CPU a frame)\n' \
        "$1" "$best" "$seconds" "$pattern" "$(nproc)" "$cost"
}
most density_record 0 "$from"
most density_record_and_play 1 $(((from + 1) / 2))

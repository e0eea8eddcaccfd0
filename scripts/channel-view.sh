#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# channel-view.sh N CMD ...: runs a program of channel N where it finds its channel's places under the names of the first
# one's, as its unit does it on a machine with systemd.
set -euo pipefail
channel=$1
shift
export XP_CHANNEL_VIEW=$channel
# What is mounted on the machine later is seen inside, but never the other way round.
# shellcheck disable=SC2016
exec unshare --mount --propagation slave bash -c '
set -euo pipefail
run=/run/xp/channels/$XP_CHANNEL_VIEW
mount --rbind "$run/media" /media
mount --bind "/etc/xp/channels/$XP_CHANNEL_VIEW" /etc/xp
mount --bind "/var/lib/xp/channels/$XP_CHANNEL_VIEW" /var/lib/xp
mount --bind "/dev/shm/xp-channels/$XP_CHANNEL_VIEW" /dev/shm
mount --bind "$run/lock" "$(readlink -f /var/lock)"
mount --bind "$run" /run/xp
unset XP_CHANNEL_VIEW XP_CHANNEL
exec "$@"' channel-view "$@"

#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# The whole recorder on a test picture; media, store and clips stay in run/.
set -euo pipefail
. "$XP_ROOT/scripts/common.sh"
export XP_RUN_ONCE=no
while [ $# -gt 0 ]; do
    case "$1" in
        --once) XP_RUN_ONCE=yes; shift ;;
        *) die "run: unknown option $1 (see ./xp help)" ;;
    esac
done
export XP_RUN_DIR=$XP_ROOT/run
mkdir -p "$XP_RUN_DIR/clips"
exec 9>"$XP_RUN_DIR/lock"
flock -n 9 || die "a recorder is already up in this checkout; talk to it with: ./xp enter xpctl status"
exec "$XP_ROOT/scripts/sandbox.sh" --state "$XP_RUN_DIR" --media-size 20G -- "$XP_ROOT/scripts/run-inside.sh"

#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Runs a command inside the sandbox that `./xp run` keeps up.
set -euo pipefail
. "$XP_ROOT/scripts/common.sh"
state=$XP_ROOT/run
pid=$(cat "$state/outer.pid" 2>/dev/null) || die "no recorder is up; start one with ./xp run"
inside=$(pgrep -P "$pid" -f sandbox-inside.sh | head -n 1) || die "no recorder is up; start one with ./xp run"
[ $# -gt 0 ] || set -- bash
into=(--mount --pid)
[ "$(id -u)" -eq 0 ] || into+=(--user --preserve-credentials)
exec nsenter --target "$inside" "${into[@]}" --wd="$PWD" env "PATH=$XP_BUILD/bin:$PATH" "$@"

#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Runs a command inside the sandbox that `./xp run` keeps up.
set -euo pipefail
. "$XP_ROOT/scripts/common.sh"
state=$XP_ROOT/run
pid=$(cat "$state/outer.pid" 2>/dev/null) || die "no recorder is up; start one with ./xp run"
inside=$(pgrep -P "$pid" -f sandbox-inside.sh | head -n 1) || die "no recorder is up; start one with ./xp run"
into=(--mount --pid)
[ "$(id -u)" -eq 0 ] || into+=(--user --preserve-credentials)
export PATH=$XP_BUILD/bin:$PATH
if [ $# -eq 0 ]; then
    # A shell that says where it is, and knows the words of xpctl.
    cat >"$state/shellrc" <<'TEXT'
[ ! -f ~/.bashrc ] || . ~/.bashrc
. <(xpctl completion bash)
PS1="(xp) ${PS1:-\w\$ }"
TEXT
    set -- bash --rcfile "$state/shellrc"
fi
# Ctrl-C is for the command. This waits for what it answers: xpctl closes the take that it has begun.
# shellcheck disable=SC2016
exec nsenter --target "$inside" "${into[@]}" --no-fork \
    bash -c 'cd "$0"; trap : INT; status=0; "$@" || status=$?; exit $status' "$PWD" "$@"

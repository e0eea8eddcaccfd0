#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# What other machines see of the recorder, walked beside one of its own: test-fronts.sh [interface|verbs]... Status 77: this
# machine cannot; never where XP_CI is set.
set -euo pipefail
XP_ROOT=${XP_ROOT:-$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)}
export XP_ROOT
. "$XP_ROOT/scripts/common.sh"
fronts=$XP_ROOT/tests/fronts

cannot() {
    say "the fronts are not walked: $*"
    [ -z "${XP_CI:-}" ] || exit 1
    exit 77
}
command -v node >/dev/null || cannot "there is no node"
[ $# -gt 0 ] || set -- interface verbs
for what in "$@"; do
    case "$what" in
        interface)
            # (The validator comes from the network, once.)
            [ "$fronts/node_modules/.package-lock.json" -nt "$fronts/package-lock.json" ] ||
                (cd "$fronts" && npm ci --ignore-scripts --no-audit --no-fund --silent) || cannot "its packages cannot be had"
            ;;
        verbs) ;;
        *) die "test-fronts: $what is neither interface nor verbs" ;;
    esac
    ports=$(mktemp)
    printf '[ports]\nline = tcp:9993 verbs=engineer\nosc = udp:9000 verbs=engineer\nninepin = tcp:9901 record=on\nline = tcp:9994 verbs=view\n' >"$ports"
    status=0
    "$XP_ROOT/scripts/sandbox.sh" --net private --panel --remote "$ports" -- node --test "$fronts/$what.test.mjs" || status=$?
    rm -f "$ports"
    [ $status = 0 ] || exit $status
done

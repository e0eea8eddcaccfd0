#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# The panel in a real browser beside a recorder of its own: test-page.sh [test|bench|pictures]. Status 77: this machine
# cannot; never where XP_CI is set.
set -euo pipefail
. "$XP_ROOT/scripts/common.sh"
page=$XP_ROOT/companions/panel/page
what=${1:-test}

cannot() {
    say "the panel's page is not tested in a browser: $*"
    [ -z "${XP_CI:-}" ] || exit 1
    exit 77
}
for command in node chromium; do
    command -v "$command" >/dev/null || cannot "there is no $command"
done
[ -d "$page/node_modules/playwright-core" ] || cannot "its packages are not installed (./xp check page brings them)"

size=4G
channels=1
case "$what" in
    test)
        channels=2 # for the wall
        run=(node --test "$page/test/panel.test.mjs")
        ;;
    bench) run=(node "$page/test/bench.mjs" "${@:2}") ;;
    pictures)
        size=60G # nothing on the guides' pictures shall look like trouble
        run=(node "$page/test/pictures.mjs" "$XP_ROOT/docs/pictures")
        ;;
    *) die "test-page: $what is none of test, bench, pictures" ;;
esac
exec "$XP_ROOT/scripts/sandbox.sh" --net private --panel --channels "$channels" --media-size "$size" -- "${run[@]}"

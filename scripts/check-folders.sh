#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Proves that includes run one way: every folder includes only itself and what its row allows.
# A row: folder, then the folders it may include. Prefixes count (platform/qmx is all of qmx). And that the numbers
# of the framework's identifiers stand in one file only; tests have them as a second witness.
set -euo pipefail
cd "${XP_ROOT:-$(dirname "$0")/..}"

rules='
cmake/:
platform/qmx/core:
platform/qmx/codec: platform/qmx/core
platform/qmx/codec/prores: platform/qmx/core
platform/qmx/clip: platform/qmx/core platform/qmx/codec
platform/qmx/edges: platform/qmx/core platform/qmx/codec
platform/qmx/stream: platform/qmx/core platform/qmx/codec platform/qmx/clip
platform/qmx/device: platform/qmx/core platform/qmx/codec platform/qmx/clip platform/qmx/edges
platform/store: platform/qmx/core
platform/product: platform/qmx/core platform/qmx/codec platform/qmx/clip platform/store
platform/control: platform/qmx/core platform/qmx/codec platform/qmx/clip platform/qmx/edges platform/store platform/product
xpd/transport: platform
xpd/config: platform
xpd/media: platform
xpd/alarms: platform xpd/config xpd/transport
xpd/debug: platform xpd/transport
xpd/app: platform xpd
companions/: platform/qmx/core platform/qmx/codec platform/qmx/clip platform/qmx/edges platform/store platform/product platform/control
tests/: platform xpd companions tests
bench/: platform xpd companions bench tests/support tests/ninepincontroller
'
status=0
while read -r file; do
    folder=${file%/*}
    allowed=$(awk -F: -v f="$file" '$1 != "" && index(f, $1) == 1 && length($1) > n { n = length($1); a = $1 " " $2 } END { print a }' <<<"$rules")
    if [ -z "$allowed" ]; then
        echo "$file: its folder has no row in scripts/check-folders.sh"
        status=1
        continue
    fi
    own=${folder}
    while IFS=: read -r line include; do
        fine=no
        for prefix in $own $allowed; do
            case "$include" in "${prefix%/}"/*) fine=yes ;; esac
        done
        [ "$fine" = yes ] || { echo "$file:$line: may not include $include (allowed: $allowed)"; status=1; }
    done < <(grep -nE '^#include "[^"]+/[^"]+"' "$file" | sed -E 's|^([0-9]+):#include "([^"]+)".*|\1:\2|')
done < <(git ls-files '*.cpp' '*.h')
if git grep -nE 'QmxId( [A-Za-z_]+)? ?[({] ?[0-9]' -- '*.cpp' '*.h' ':!tests' ':!platform/qmx/core/qmxids.h'; then
    echo "an identifier's number belongs into platform/qmx/core/qmxids.h, others use its constant"
    status=1
fi
[ "$status" -eq 0 ] && echo "folders: every include runs downwards, every identifier has one home"
exit "$status"

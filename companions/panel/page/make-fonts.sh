#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Cuts the Latin part out of Debian's fonts-b612 (needs fonts-b612, python3-fonttools, python3-brotli).
set -euo pipefail
cd "$(dirname "$0")/fonts"
for font in B612-Regular B612-Bold; do
    /usr/bin/python3 -m fontTools.subset "/usr/share/fonts/opentype/b612/$font.otf" --flavor=woff2 --layout-features='*' \
        --unicodes='U+0020-007E,U+00A0-00FF,U+2013,U+2014,U+2018-201D,U+2026,U+2190-2193,U+2212,U+00D7,U+25CF' \
        --output-file="$font.woff2"
done

# SPDX-License-Identifier: GPL-3.0-or-later
# Shared by the scripts behind ./xp: set-up and build.

XP_BUILD=${XP_BUILD:-$XP_ROOT/build}
XP_JOBS=${XP_JOBS:-$(nproc)}

say() { printf 'xp: %s\n' "$*" >&2; }
die() { say "$*"; exit 1; }

# The packages of packaging/packages.txt that are not installed.
xp_missing_packages() {
    local wanted package
    wanted=$(grep -vE '^\s*(#|$)' "$XP_ROOT/packaging/packages.txt")
    for package in $wanted; do
        dpkg-query -W -f='${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed || echo "$package"
    done
}

xp_setup() {
    local missing as_root=()
    missing=$(xp_missing_packages)
    [ -z "$missing" ] && return 0
    say "installing:" $missing
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || die "needs root to install packages; as root run: apt-get install" $missing
        as_root=(sudo)
    fi
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq
    # shellcheck disable=SC2086
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends $missing >/dev/null ||
        die "apt-get install failed; see above"
}

xp_build() {
    [ -f "$XP_BUILD/build.ninja" ] || cmake -S "$XP_ROOT" -B "$XP_BUILD" -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null ||
        die "configuring failed; try: rm -r build && ./xp build"
    cmake --build "$XP_BUILD" -j "$XP_JOBS" >&2 || die "the build failed; see above"
    if [ ! -f "$XP_BUILD/share/media/.complete" ] || [ "$XP_BUILD/bin/xp-stills" -nt "$XP_BUILD/share/media/.complete" ]; then
        say "making the loss-of-video stills"
        rm -rf "$XP_BUILD/share/media"
        mkdir -p "$XP_BUILD/share/media"
        "$XP_BUILD/bin/xp-stills" "$XP_BUILD/share/media" >&2 || die "the stills could not be made"
        touch "$XP_BUILD/share/media/.complete"
    fi
}

# SPDX-License-Identifier: GPL-3.0-or-later
# Shared by the scripts behind ./xp: set-up and build.

XP_BUILD=${XP_BUILD:-$XP_ROOT/build}
XP_JOBS=${XP_JOBS:-$(nproc)}

say() { printf 'xp: %s\n' "$*" >&2; }
die() { say "$*"; exit 1; }

# The packages of packaging/packages.txt that are not installed: of the groups named, else of all but those that not
# everybody needs (peers, page, neon).
xp_missing_packages() {
    local wanted package
    wanted=$(awk -v asked=" $* " '/^# group:/ { group = $3 }
        /^[^#]/ && (asked == "  " ? group !~ /^(peers|page|neon)$/ : index(asked, " " group " "))' "$XP_ROOT/packaging/packages.txt")
    for package in $wanted; do
        dpkg-query -W -f='${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed || echo "$package"
    done
}

xp_install() {
    local as_root=()
    [ $# -gt 0 ] || return 0
    say "installing:" "$@"
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || { say "needs root to install packages; as root run: apt-get install" "$@"; return 1; }
        as_root=(sudo)
    fi
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "$@" >/dev/null
}

# Installs what is missing: of the groups named, else everything.
xp_setup() {
    # shellcheck disable=SC2046
    xp_install $(xp_missing_packages "$@") || die "the packages could not be installed; see above"
}

# Programs that stand beside ours in figures and open our clips in tests. Without them less is measured and tested.
xp_setup_peers() {
    # shellcheck disable=SC2046
    xp_install $(xp_missing_packages peers) || say "goes on without:" $(xp_missing_packages peers)
}

# What the panel's page is made with and tested in. By command: a machine may have them from elsewhere.
xp_setup_page() {
    local command missing=()
    for command in node:nodejs npm:npm chromium:chromium; do
        command -v "${command%:*}" >/dev/null || missing+=("${command#*:}")
    done
    xp_install "${missing[@]}" || return 1
    cd "$XP_ROOT/companions/panel/page" || return 1
    [ node_modules/.package-lock.json -nt package-lock.json ] || npm ci --ignore-scripts --no-audit --no-fund --silent
}

# Builds everything; `xp_build programs` only what runs, without looking for what tests need.
xp_build() {
    local tests=ON
    [ "${1:-}" = programs ] && tests=OFF
    if [ ! -f "$XP_BUILD/build.ninja" ] || { [ $tests = ON ] && grep -qs '^XP_TESTS:BOOL=OFF' "$XP_BUILD/CMakeCache.txt"; }; then
        cmake -S "$XP_ROOT" -B "$XP_BUILD" -G Ninja -DCMAKE_BUILD_TYPE=Release -DXP_TESTS=$tests \
            -DXP_WERROR="${XP_WERROR:-OFF}" >/dev/null ||
            die "configuring failed; see above, or begin anew: rm -r '$XP_BUILD'"
    fi
    local made_for
    made_for=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$XP_BUILD/CMakeCache.txt")
    [ "$made_for" -ef "$XP_ROOT" ] || die "this build was made for $made_for; begin anew: rm -r '$XP_BUILD'"
    cmake --build "$XP_BUILD" -j "$XP_JOBS" --target "${1:-all}" >&2 || die "the build failed; see above"
    if [ ! -f "$XP_BUILD/share/media/.complete" ] || [ "$XP_BUILD/bin/xp-stills" -nt "$XP_BUILD/share/media/.complete" ]; then
        say "making the loss-of-video stills"
        rm -rf "$XP_BUILD/share/media"
        mkdir -p "$XP_BUILD/share/media"
        "$XP_BUILD/bin/xp-stills" "$XP_BUILD/share/media" >&2 || die "the stills could not be made"
        touch "$XP_BUILD/share/media/.complete"
    fi
}

# ctest, and with XP_CI=yes a test that was skipped is one that failed: on the machine that decides whether a change is
# good everything has to run.
xp_ctest() {
    local log status=0
    if [ "${XP_CI:-no}" != yes ]; then ctest "$@"; return; fi
    log=$(mktemp)
    ctest "$@" | tee "$log" || status=$?
    if grep -qF '***Skipped' "$log"; then
        say 'these were skipped, which counts as failed here:'
        grep -F '***Skipped' "$log"
        status=1
    fi
    rm -f "$log"
    return $status
}

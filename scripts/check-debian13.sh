#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Builds everything and runs every test in a Debian 13 root of its own; needs root. The root with its packages
# (build-debian13/root) and the build (build-debian13/build) stay for the next time.
#   XP_DEBIAN_MIRROR   where the packages come from
#   XP_DEBIAN13_TESTS  arguments for ctest in place of all tests ("-R Clip")
set -euo pipefail
. "$XP_ROOT/scripts/common.sh"
place=$XP_ROOT/build-debian13
root=$place/root
mirror=${XP_DEBIAN_MIRROR:-http://deb.debian.org/debian}

if [ "${1:-}" != inside ]; then
    [ "$(id -u)" -eq 0 ] || die "check debian13: needs root, to make a Debian root"
    command -v debootstrap >/dev/null || die "check debian13: debootstrap is missing; run: ./xp setup"
    mkdir -p "$place"
    if [ ! -e "$root/.complete" ]; then
        say "making a Debian 13 root in $root"
        rm -rf "$root"
        debootstrap --variant=minbase trixie "$root" "$mirror" >"$place/root.log" 2>&1 ||
            die "check debian13: debootstrap failed; see $place/root.log"
        touch "$root/.complete"
    fi
    exec unshare --mount --propagation private --mount-proc --pid --fork --kill-child "$0" inside
fi

# The root becomes that of the processes to come (a mere chroot gets no namespaces of its own); in it the checkout at
# the place where it is, and what git needs of the repository that it was taken from.
mount --bind "$root" "$root"
mounts=("$XP_ROOT" "$(cd "$XP_ROOT" && git rev-parse --path-format=absolute --git-common-dir)")
for folder in "${mounts[@]}"; do
    mkdir -p "$root$folder"
    mount --bind "$folder" "$root$folder"
done
mkdir -p "$root/old"
mount -t proc proc "$root/proc"
mount --rbind /sys "$root/sys"
mount --rbind /dev "$root/dev"
mount -t tmpfs xp-shm "$root/dev/shm"
mount -t tmpfs xp-run "$root/run"
mkdir -p "$root/run/lock"
chmod 1777 "$root/run/lock"
cp /etc/resolv.conf "$root/etc/resolv.conf"
printf '#!/bin/sh\nexit 101\n' >"$root/usr/sbin/policy-rc.d"
chmod 755 "$root/usr/sbin/policy-rc.d"

cd "$root"
pivot_root . old
exec /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
    XP_ROOT="$XP_ROOT" XP_BUILD="$place/build" XP_JOBS="$XP_JOBS" XP_WERROR=ON XP_CTEST="${XP_DEBIAN13_TESTS:-}" \
    bash -euc '
    umount -l /old
    cd "$XP_ROOT"
    . scripts/common.sh
    # What building and testing need; not the linter, the packages, other processors.
    xp_setup build test sandbox
    xp_setup_peers
    (xp_setup_page) || say "goes on without the panel page in a browser"
    . /etc/os-release
    say "$PRETTY_NAME: GCC $(g++ -dumpfullversion), Qt $(pkg-config --modversion Qt6Core), FFmpeg $(dpkg-query -W -f="\${Version}" libavcodec-dev)"
    xp_build
    # (Not as the last command, in place of which it would be process 1 and bury nobody.)
    status=0
    ctest --test-dir "$XP_BUILD" --output-on-failure --no-tests=error -j "$XP_JOBS" $XP_CTEST || status=$?
    exit $status
'

#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# The ProRes coder on 64-bit ARM: built by the cross compiler, run by qemu. The libraries of that machine come as Debian
# packages, once, into a folder of their own (build/neon-root); nothing of it is installed.
set -euo pipefail
. "$XP_ROOT/scripts/common.sh"
root=${XP_NEON_ROOT:-$XP_BUILD/neon-root}
build=$XP_ROOT/build-neon

# shellcheck disable=SC2046
xp_install $(xp_missing_packages neon) || die "check neon: cannot be run without these"

# apt with lists and a state of its own, for the other machine.
apt_arm() {
    APT_CONFIG=$root/apt.conf DEBIAN_FRONTEND=noninteractive apt-get -qq "$@" >>"$root/apt.log" 2>&1 ||
        die "check neon: apt-get $1 failed; see $root/apt.log"
}

make_root() {
    rm -rf "$root"
    mkdir -p "$root"/{lists,cache}/partial "$root"/cache/archives/partial "$root"/usr/{bin,lib,sbin}
    touch "$root/status"
    cat >"$root/apt.conf" <<CONF
APT::Architecture "arm64";
APT::Architectures { "arm64"; };
APT::Install-Recommends "false";
APT::Sandbox::User "root";
Dir::State "$root";
Dir::State::status "$root/status";
Dir::State::Lists "$root/lists";
Dir::Cache "$root/cache";
CONF
    apt_arm update
    local needed
    needed=$(sed -n '/^# group: build/,/^# group: check/p' packaging/packages.txt | grep -- '-dev$')
    # shellcheck disable=SC2086
    apt_arm install --yes --download-only $needed
    # Debian's layout, so that packages of both kinds of layout end up in one.
    local folder package
    for folder in bin lib sbin; do ln -s "usr/$folder" "$root/$folder"; done
    for package in "$root"/cache/archives/*.deb; do
        dpkg-deb --fsys-tarfile "$package" | tar -x -C "$root" --keep-directory-symlink \
            --exclude=./usr/share/doc --exclude=./usr/share/locale --exclude=./usr/share/man
    done
    # Links mean the root that they lie in.
    find "$root/usr" -lname '/*' -printf '%p\t%l\n' | while IFS=$'\t' read -r link target; do
        ln -sfn "$root$target" "$link"
    done
    rm -rf "$root/cache" "$root/lists"
    touch "$root/.complete"
}

cd "$XP_ROOT"
if [ ! -e "$root/.complete" ]; then
    say "making a folder with ARM libraries in $root"
    make_root
fi
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_TOOLCHAIN_FILE="$XP_ROOT/cmake/aarch64.cmake" \
    -DXP_PRECOMPILED=OFF -DXP_SYSROOT="$root" >/dev/null
cmake --build "$build" -j "$XP_JOBS" --target test_prores
export XP_PRORES_PICTURES=${XP_PRORES_PICTURES:-2000}
qemu-aarch64-static -L "$root" "$build/bin/test_prores" --gtest_brief=1

#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Builds the core library of the installed Qt once more, with the thread sanitizer, into build-tsan-qt/lib: without
# it the sanitizer sees none of the locks under which Qt hands calls from one thread to another, and takes each of
# them for a race. The source is Debian's own, of the very version that is installed.
set -euo pipefail
. "$XP_ROOT/scripts/common.sh"
into=$XP_ROOT/build-tsan-qt
version=$(dpkg-query -W -f='${source:Version}' qt6-base-dev)
[ "$(cat "$into/.complete" 2>/dev/null)" = "$version" ] && exit 0

say "building Qt $version with the thread sanitizer"
rm -rf "$into"
mkdir -p "$into/lists/partial" "$into/source"
cd "$into"
. /etc/os-release
mirror=http://deb.debian.org/debian
echo "deb-src [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $mirror $VERSION_CODENAME main" >sources.list
apt=(-qq -o "Dir::Etc::SourceList=$into/sources.list" -o Dir::Etc::SourceParts=/dev/null
    -o "Dir::State::Lists=$into/lists" -o APT::Sandbox::User=root)
apt-get "${apt[@]}" update
apt-get "${apt[@]}" source --download-only "qt6-base=$version" || die "no source of Qt $version on $mirror"
tar -xf qt6-base_*.orig.tar.xz -C source --strip-components=1

off=()
for part in gui widgets network sql dbus xml concurrent printsupport testlib glib icu \
    system_pcre2 system_doubleconversion system_zlib; do
    off+=("-DQT_FEATURE_$part=OFF")
done
cmake -G Ninja -S source -B . -DCMAKE_BUILD_TYPE=RelWithDebInfo "-DCMAKE_CXX_FLAGS=-fsanitize=thread -g1" \
    "-DCMAKE_C_FLAGS=-fsanitize=thread -g1" -DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache \
    -DQT_BUILD_TESTS=OFF -DQT_BUILD_EXAMPLES=OFF "${off[@]}" >configure.log 2>&1 || die "see $into/configure.log"
cmake --build . --target Core -j "$XP_JOBS" >build.log 2>&1 || die "see $into/build.log"
echo "$version" >.complete

#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Makes the Debian packages: package.sh [--version V]   -> build/packages/*.deb
set -euo pipefail
. "$XP_ROOT/scripts/common.sh"
cd "$XP_ROOT"

recorder_programs='xpd xpmediad xp-stills' tools_programs='xpctl' remote_programs='xpremote' panel_programs='xppanel'
version=$(sed -nE 's/^project\(xp VERSION ([0-9.]+).*/\1/p' CMakeLists.txt)
count=$(git rev-list --count HEAD 2>/dev/null) && version=$version+r$count
while [ $# -gt 0 ]; do
    case "$1" in
        --version) version=$2; shift 2 ;;
        *) die "package: unknown option $1" ;;
    esac
done
architecture=$(dpkg --print-architecture)
out=$XP_BUILD/packages work=$XP_BUILD/package-work
rm -rf "$work"
mkdir -p "$out" "$work"
rm -f "$out"/*.deb

# The programs of a package are a build of their own, with the distribution's hardening.
programs=$XP_BUILD/hardened
cmake -S "$XP_ROOT" -B "$programs" -G Ninja -DCMAKE_BUILD_TYPE=Release -DXP_TESTS=OFF -DXP_HARDENED=ON -DXP_WERROR=OFF >/dev/null &&
    cmake --build "$programs" -j "$XP_JOBS" --target programs || die 'package: the hardened build failed'

# A program without its line tables, which go into the package of those, by build id.
put_program() { # PROGRAM ROOT
    local id file=$programs/bin/$1
    install -D -m 755 "$file" "$2/usr/bin/$1"
    id=$(readelf -n "$file" | sed -nE 's/^ *Build ID: ([0-9a-f]+)$/\1/p')
    [ -n "$id" ] || die "package: $file has no build id"
    local debug=$work/xp-recorder-dbg/usr/lib/debug/.build-id/${id:0:2}/${id:2}.debug
    mkdir -p "${debug%/*}"
    objcopy --only-keep-debug --compress-debug-sections "$file" "$debug"
    strip --strip-unneeded "$2/usr/bin/$1"
}

# The libraries that the programs of a package need, as its field Depends has them.
library_depends() { # PROGRAM...
    mkdir -p "$work/shlibs/debian"
    printf 'Source: xp\nPackage: xp\nArchitecture: any\n' >"$work/shlibs/debian/control"
    (cd "$work/shlibs" && dpkg-shlibdeps -O --ignore-missing-info "${@/#/-e}" 2>/dev/null) | sed -n 's/^shlibs:Depends=//p'
}

# Who answers for the packages: whoever makes them.
maintainer="${DEBFULLNAME:-The xp developers} <${DEBEMAIL:-xp@example.org}>"
date=$(git log -1 --format=%cD 2>/dev/null) || date=$(date -R)
# What has changed, newest first, as the commits tell it.
{
    printf 'xp (%s) unstable; urgency=medium\n\n' "$version"
    { git log -n 60 --no-merges --format=%s 2>/dev/null || echo "Version $version"; } | while read -r line; do
        fold -s -w 74 <<<"$line" | sed -E '1s/^/  * /; 2,$s/^/    /; s/ +$//'
    done
    printf '\n -- %s  %s\n' "$maintainer" "$date"
} >"$work/changelog"

# The unit of further channels, xpd@2 of xpd: the same program with the same rights, in a view of its own, or (`outside`)
# looking into one.
channel_unit() { # UNIT FOLDER [outside]
    local from=packaging/$2/$1.service to=$work/$2/lib/systemd/system/$1@.service
    sed -E 's/^Description=.*/&, channel %i/; s/\b(xpd|xpmediad)\.service/\1@%i.service/g; /^ReadWritePaths=/{
        '"$([ -n "${3:-}" ] || echo d)"'
        }; '"$([ -n "${3:-}" ] || echo '/^(Runtime|State)Directory/d')" "$from" >"$to"
    if [ -n "${3:-}" ]; then
        printf '\n[Service]\nEnvironment=XP_CHANNEL=%%i\n' >>"$to"
    else
        cat packaging/channel.service >>"$to"
    fi
}

make_package() { # NAME DEPENDS SECTION SUMMARY DESCRIPTION
    local root=$work/$1 script
    mkdir -p "$root/DEBIAN" "$root/usr/share/doc/$1"
    install -m 644 packaging/copyright "$root/usr/share/doc/$1/copyright"
    gzip -9nc "$work/changelog" >"$root/usr/share/doc/$1/changelog.gz"
    find "$root/usr" "$root/lib" "$root/etc" -type d -exec chmod 755 {} + 2>/dev/null || true
    for script in postinst prerm postrm; do
        if [ -f "packaging/$1/$script" ]; then install -m 755 "packaging/$1/$script" "$root/DEBIAN/$script"; fi
    done
    if [ -d "$root/etc" ]; then (cd "$root" && find etc -type f -printf '/%p\n' | sort >DEBIAN/conffiles); fi
    (cd "$root" && find . -path ./DEBIAN -prune -o -type f -printf '%P\n' | sort | xargs -r -d '\n' md5sum >DEBIAN/md5sums)
    cat >"$root/DEBIAN/control" <<TEXT
Package: $1
Version: $version
Architecture: $architecture
Maintainer: $maintainer
Section: $3
Priority: optional
Installed-Size: $(du -sk --exclude=DEBIAN "$root" | cut -f1)
Depends: $2
Description: $4
$(fold -s -w 76 <<<"$5" | sed -E 's/^/ /; s/ +$//')
TEXT
    dpkg-deb --root-owner-group --build "$root" "$out/$1_${version}_$architecture.deb" >/dev/null
}

recorder=$work/xp-recorder tools=$work/xp-tools remote=$work/xp-remote panel=$work/xp-panel
for program in $recorder_programs; do put_program "$program" "$recorder"; done
for program in $tools_programs; do put_program "$program" "$tools"; done
for program in $remote_programs; do put_program "$program" "$remote"; done
for program in $panel_programs; do put_program "$program" "$panel"; done

install -D -m 644 -t "$recorder/lib/systemd/system" packaging/xp-recorder/*.service
for unit in xpd xpmediad; do channel_unit "$unit" xp-recorder; done
install -D -m 644 packaging/xp-recorder/lumen.ini "$recorder/etc/xp/lumen.ini"
install -D -m 644 packaging/xp-recorder/tmpfiles "$recorder/usr/lib/tmpfiles.d/xp-recorder.conf"
install -D -m 644 -t "$recorder/usr/share/doc/xp-recorder" docs/{operator,engineer,manual,alarms,parameters}.md docs/xpctl.schema.json
install -D -m 644 -t "$recorder/usr/share/doc/xp-recorder/decisions" docs/decisions/*.md
install -D -m 644 -t "$recorder/usr/share/doc/xp-recorder/pictures" docs/pictures/*.png

install -d "$recorder/usr/share/man/man8"
for program in $recorder_programs; do
    "$programs/bin/$program" --manual | gzip -9n >"$recorder/usr/share/man/man8/$program.8.gz"
done

install -D -m 644 -t "$tools/lib/systemd/system" packaging/xp-tools/*.service
install -D -m 644 -t "$tools/usr/share/doc/xp-tools" docs/xpctl.schema.json
install -d "$tools/usr/share/man/man1" "$tools/usr/share/bash-completion/completions" "$tools/usr/share/zsh/vendor-completions"
"$programs/bin/xpctl" manual | gzip -9n >"$tools/usr/share/man/man1/xpctl.1.gz"
"$programs/bin/xpctl" completion bash >"$tools/usr/share/bash-completion/completions/xpctl"
"$programs/bin/xpctl" completion zsh >"$tools/usr/share/zsh/vendor-completions/_xpctl"

install -d "$remote/usr/share/man/man8"
for program in $remote_programs; do
    "$programs/bin/$program" --manual | gzip -9n >"$remote/usr/share/man/man8/$program.8.gz"
done
install -D -m 644 -t "$remote/lib/systemd/system" packaging/xp-remote/*.service
channel_unit xpremote xp-remote outside
install -D -m 644 packaging/xp-remote/remote.ini "$remote/etc/xp/remote.ini"
install -D -m 644 packaging/xp-remote/udev "$remote/lib/udev/rules.d/70-xp-remote.rules"
install -D -m 644 -t "$panel/lib/systemd/system" packaging/xp-panel/*.service
channel_unit xppanel xp-panel outside
# On a free port, which is in the channel's panel.address: the panel of the first channel passes on what is asked there.
sed -i 's/^Environment=XP_PANEL_OPTIONS=$/&--listen 127.0.0.1:0/' "$panel/lib/systemd/system/xppanel@.service"
install -D -m 644 -t "$panel/usr/share/doc/xp-panel" docs/http.md
install -d "$panel/usr/share/man/man8"
"$programs/bin/xppanel" --manual | gzip -9n >"$panel/usr/share/man/man8/xppanel.8.gz"

make_package xp-recorder "$(library_depends "$recorder"/usr/bin/*), xp-tools (= $version), adduser, init-system-helpers (>= 1.54~)" video \
    'video recorder: transport and media daemons' \
    'Records and plays video like a tape machine; its services start with the machine.'
make_package xp-tools "$(library_depends "$tools"/usr/bin/*)" video \
    'video recorder: command line' \
    'The program xpctl, which operates the recorder, with completion and manual page.'
make_package xp-remote "$(library_depends "$remote"/usr/bin/*), xp-recorder (= $version), init-system-helpers (>= 1.54~)" video \
    'video recorder: 9-pin, line protocol, OSC' \
    'Lets edit controllers, automation and fader boxes drive the recorder.'
make_package xp-panel "$(library_depends "$panel"/usr/bin/*), xp-recorder (= $version), adduser, init-system-helpers (>= 1.54~)" video \
    'video recorder: page for browsers, interface for programs' \
    'The program xppanel, which serves a page that operates the recorder, and all of it over HTTP.'
make_package xp-recorder-dbg "xp-recorder (= $version), xp-tools (= $version), xp-remote (= $version), xp-panel (= $version)" debug \
    'video recorder: line tables' \
    'Makes backtraces of the recorder readable.'
rm -rf "$work"
ls "$out"/*.deb

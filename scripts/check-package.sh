#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs, uses, upgrades, boots, removes and purges the packages in a Debian root of its own; needs root. The root is
# made once (build/package-root) and stays clean: each run works on an overlay over it.
set -euo pipefail
. "$XP_ROOT/scripts/common.sh"
base=${XP_PACKAGE_ROOT:-$XP_BUILD/package-root}
mirror=${XP_DEBIAN_MIRROR:-http://deb.debian.org/debian}

if [ "${1:-}" != inside ]; then
    [ "$(id -u)" -eq 0 ] || die "check package: needs root, to make a Debian root"
    command -v debootstrap >/dev/null || die "check package: debootstrap is missing; run: ./xp setup"
    if [ ! -e "$base/.complete" ]; then
        say "making a Debian root in $base"
        rm -rf "$base"
        debootstrap --variant=minbase --include=adduser,systemd,man-db,libqt6core6,libavformat59,libswscale6 \
            bookworm "$base" "$mirror" >"$XP_BUILD/package-root.log" 2>&1 ||
            die "check package: debootstrap failed; see $XP_BUILD/package-root.log"
        touch "$base/.complete"
    fi
    "$XP_ROOT/scripts/package.sh" --version 1.0 >/dev/null
    rm -rf "$XP_BUILD/packages-old"
    mv "$XP_BUILD/packages" "$XP_BUILD/packages-old"
    "$XP_ROOT/scripts/package.sh" --version 1.1 >/dev/null
    command -v lintian >/dev/null || die "check package: lintian is missing; run: ./xp setup"
    lintian --fail-on error,warning "$XP_BUILD"/packages/*.deb || die "check package: lintian complains of the packages"
    exec unshare --mount-proc --pid --fork --kill-child "$0" inside
fi

work=$(mktemp -d)
mount -t tmpfs xp-package "$work"
mkdir -p "$work/upper" "$work/work" "$work/root" "$work/medium"
R=$work/root
mount -t overlay overlay -o "lowerdir=$base,upperdir=$work/upper,workdir=$work/work" "$R"
mount -t proc proc "$R/proc"
mount --rbind /dev "$R/dev"
mount -t tmpfs xp-shm "$R/dev/shm"
mkdir -p "$R/media/A" "$R/packages" "$R/packages-old" "$R/run/lock"
mount -t tmpfs -o size=400M xp-medium "$R/media/A"
mount --bind "$XP_BUILD/packages" "$R/packages"
mount --bind "$XP_BUILD/packages-old" "$R/packages-old"
cp /etc/resolv.conf "$R/etc/resolv.conf"
chmod 1777 "$R/run/lock"
printf '#!/bin/sh\nexit 101\n' >"$R/usr/sbin/policy-rc.d"
chmod 755 "$R/usr/sbin/policy-rc.d"

in_root() { chroot "$R" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"; }
as_xp() { chroot --userspec=xp:xp "$R" env -i PATH=/usr/bin:/bin LC_ALL=C.UTF-8 "$@"; }
expect() { # WHAT COMMAND...
    local what=$1
    shift
    "$@" >"$work/said" 2>&1 || { cat "$work/said"; die "check package: not so: $what"; }
    say "  $what"
}

# Runs the commands for packages that a guide has, as they stand, in the folder with the packages.
guide() { # PAGE
    sed -n '/^```sh package$/,/^```$/p' "$XP_ROOT/docs/$1" | grep -v '^```' >"$R/tmp/guide.sh"
    grep -q . "$R/tmp/guide.sh" || die "check package: docs/$1 has no commands for packages"
    in_root sh -euc 'cd /packages; . /tmp/guide.sh' >"$work/guide.out" 2>&1 || { cat "$work/guide.out"; die "check package: a command of docs/$1 failed"; }
    say "  the commands of docs/$1 work"
}

# A take by the daemon as the account xp, with no right of root; the clip's name on the standard output.
take() {
    as_xp setpriv --no-new-privs --bounding-set=-all xpd >"$work/xpd.out" 2>&1 || { cat "$work/xpd.out" >&2; return 1; }
    as_xp xpctl set active_media_path /media/A
    # On a machine without a place for it among the others, a take may lose a frame and end.
    local tries=0
    until as_xp xpctl record --for 1 >&2; do
        tries=$((tries + 1))
        [ "$tries" -lt 10 ] || return 1
    done
    as_xp xpctl get current_clip
    as_xp xpctl shut-down
}

expect 'the package index is there' in_root apt-get update -qq
in_root sh -c 'apt-get install -y -qq --no-install-recommends /packages-old/xp-*.deb man-db' \
    >"$work/install.out" 2>&1 || { cat "$work/install.out"; die "check package: installing failed"; }
say '  installed'
expect 'the account has no shell and owns the store' in_root sh -c \
    'getent passwd xp | grep -q nologin && [ "$(stat -c %U:%G:%a /var/lib/xp)" = xp:xp:3770 ]'
expect 'all stills are there' sh -c "[ \$(ls $R/usr/local/share/media/prores_4*/*.mov | wc -l) = 22 ]"
expect 'the services are enabled' in_root sh -c \
    'for unit in xpd xpmediad xpremote xppanel; do [ "$(systemctl is-enabled $unit.service)" = enabled ] || exit 1; done'
expect 'the units are well formed' in_root systemd-analyze verify xpd.service xpmediad.service xpremote.service xppanel.service xp-metrics.service \
    xp-channels.service xpd@2.service xpmediad@2.service xpremote@2.service xppanel@2.service
# Whoever starts last sets the rights of a folder that several share: all of them have to mean the same.
folder_rights() { # FILE...: units, tmpfiles, scripts of packages
    awk 'function told(path, mode, from) { sub(/^0+/, "", mode); print path, mode, from }
        BEGIN { root["Runtime"] = "/run/"; root["State"] = "/var/lib/"; root["Logs"] = "/var/log/" }
        function unit(kind) {
            for (kind in folder) told(root[kind] folder[kind], kind in mode ? mode[kind] : "755", last)
            delete folder; delete mode
        }
        FNR == 1 { unit(); last = FILENAME }
        match($0, /^(Runtime|State|Logs)Directory(Mode)?=/) {
            kind = $0; sub(/Directory.*/, "", kind)
            if ($0 ~ /^[A-Za-z]*Mode=/) mode[kind] = substr($0, RLENGTH + 1); else folder[kind] = substr($0, RLENGTH + 1)
        }
        $1 == "d" { told($2, $3, FILENAME) }
        $1 == "install" && $2 == "-d" && match($0, /-m [0-7]+/) { told($NF, substr($0, RSTART + 3, RLENGTH - 3), FILENAME) }
        END { unit() }' "$@"
}
one_meaning() { folder_rights "$@" | sort -u | awk '{ if (($1 in is) && is[$1] != $2) { print; wrong = 1 } is[$1] = $2; print } END { exit wrong || !NR }'; }
expect 'all that make a folder give it the same rights' one_meaning "$XP_ROOT"/packaging/*/*.service "$XP_ROOT/packaging/xp-recorder/tmpfiles" \
    "$XP_ROOT"/packaging/*/postinst
units=$(cd "$XP_ROOT/packaging" && ls ./*/*.service | sed 's|.*/||; s|\.service$||')
for unit in $units; do
    exposure=$(in_root systemd-analyze security --offline=yes "$unit.service" 2>/dev/null | sed -nE 's/.*exposure level.*: ([0-9.]+).*/\1/p')
    # (What mounts for the machine can have no view of its own: docs/decisions/0027-who-mounts-for-all.md.)
    most=2.5
    [ "$unit" != xp-channels ] || most=2.8
    expect "$unit.service is hardened: exposure $exposure of 10" awk -v e="${exposure:-10}" -v m="$most" 'BEGIN { exit !(e <= m) }'
done
hardened() { # PROGRAM
    readelf -Wsd "$R/usr/bin/$1" >"$work/elf"
    grep -q 'BIND_NOW\|FLAGS_1.*NOW' "$work/elf" && grep -q __stack_chk_fail "$work/elf" && grep -q '__[a-z]*_chk' "$work/elf"
}
for program in xpd xpmediad xp-stills xpctl; do expect "$program is compiled hardened" hardened "$program"; done
expect 'the manual pages are well formed' in_root sh -c 'for page in /usr/share/man/man?/xp*; do
    [ -z "$(man --warnings -l $page 2>&1 >/dev/null)" ] || { echo $page; exit 1; }; done'
expect 'each program has a manual page' in_root sh -c 'for program in /usr/bin/xp*; do
    ls /usr/share/man/man?/${program##*/}.?.gz || exit 1; done'
# Links of the papers, and papers that they name.
expect 'all papers that papers name are installed' sh -c "cd $R/usr/share/doc/xp-recorder; for paper in \$(
    { grep -ohE '\]\([a-z0-9./-]+' ./*.md | sed 's/^](//'; grep -ohE '\`docs/[a-z0-9./-]+' ./*.md | sed 's/.*docs.//'; } | sort -u); do
    [ -e \$paper ] || { echo \$paper; exit 1; }; done"
expect 'line tables are found by build id' sh -c "readelf -S $R/usr/lib/debug/.build-id/*/*.debug | grep -q debug_line"
in_root chown xp:xp /media/A
# A small picture: this is no measurement of the machine.
sed -i 's/size=1920x1080/size=720x576\&scan=i/' "$R/etc/xp/lumen.ini"
clip=$(take)
expect "a take without any right of root: $clip" test -s "$R/media/A/$clip"

as_xp xpctl set clip_base_name kept
sum=$(sha1sum "$R/media/A/$clip")
guide operator.md
expect 'the upgrade took place' test "$(in_root dpkg-query -W -f '${Version}' xp-recorder)" = 1.1
expect 'the upgrade keeps the store' test "$(as_xp xpctl get clip_base_name)" = kept
expect 'the upgrade keeps the profile' grep -q 720x576 "$R/etc/xp/lumen.ini"
expect 'the upgrade keeps clips' test "$sum" = "$(sha1sum "$R/media/A/$clip")"
next=$(take)
expect "the upgraded recorder makes a take: $next" test -s "$R/media/A/$next"

say '  as services of systemd:'
"$XP_ROOT/scripts/check-services.sh" "$R"

guide engineer.md
expect 'removed and installed again, the store is the same' test "$(as_xp xpctl get clip_base_name)" = kept

# As on a machine with a second channel, whose folder of the medium is bound into the recorder's own.
bound=/run/xp/channels/2/media/A
in_root sh -euc 'mkdir -p /media/A/channel-2 "$2"; cp "/media/A/$1" /media/A/channel-2; mount --bind /media/A/channel-2 "$2"
    test -s "$2/$1"' sh "$clip" "$bound"
in_root apt-get remove -y -qq xp-recorder xp-tools xp-remote xp-panel >"$work/install.out" 2>&1 || { cat "$work/install.out"; die "check package: removing failed"; }
expect 'removed: no program, no still, but store and profile' sh -c \
    "! ls $R/usr/bin/xp* 2>/dev/null && [ ! -e $R/usr/local/share/media/prores_422 ] && [ -s $R/var/lib/xp/store.db ] && [ -s $R/etc/xp/lumen.ini ]"
expect 'removed: what was bound has been let go, and its clips are there' sh -c \
    "! grep -q $bound /proc/mounts && [ ! -e $R/run/xp ] && [ -s '$R/media/A/channel-2/$clip' ]"
in_root apt-get purge -y -qq xp-recorder xp-remote xp-panel >"$work/install.out" 2>&1 || { cat "$work/install.out"; die "check package: purging failed"; }
expect 'purged: nothing of ours is left' sh -c "! (cd $R && find etc usr var lib/systemd run -name '*xp-*' -o -name 'xpd*' -o -name 'xpctl*' \
    -o -path 'etc/xp*' -o -path 'var/lib/xp*' | grep -vE 'lib/apt|var/cache' | grep .)"
expect 'purged: clips are still there' test -s "$R/media/A/$clip" -a -s "$R/media/A/channel-2/$clip"
umount -R "$R" 2>/dev/null || umount -lR "$R"
umount "$work"
rmdir "$work"

#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Boots the Debian root in which the packages are installed, and uses the services as systemd runs them: started,
# stopped in a take, killed, hung. check-services.sh ROOT (mounted, with nothing mounted in it); needs root.
set -euo pipefail
. "$XP_ROOT/scripts/common.sh"
R=$1

# The first process of the new system: mounts what a kernel would find, and becomes systemd.
if [ "${2:-}" = inside ]; then
    mount -t proc proc "$R/proc"
    mount -t sysfs -o ro sysfs "$R/sys"
    mount -t cgroup2 cgroup2 "$R/sys/fs/cgroup"
    mount -t tmpfs -o mode=755 xp-dev "$R/dev"
    for device in null zero full random urandom tty; do
        touch "$R/dev/$device"
        mount --bind "/dev/$device" "$R/dev/$device"
    done
    # (A unit with devices of its own gets these from here.)
    mkdir "$R/dev/shm" "$R/dev/pts"
    mount -t devpts -o newinstance,ptmxmode=0666 devpts "$R/dev/pts"
    ln -s pts/ptmx "$R/dev/ptmx"
    mount -t tmpfs -o mode=1777 xp-shm "$R/dev/shm"
    mount -t tmpfs -o mode=755 xp-run "$R/run"
    mkdir "$R/run/lock" "$R/run/old"
    mount -t tmpfs -o size=400M xp-medium "$R/media/A"
    chroot "$R" chown xp:xp /media/A
    cd "$R"
    pivot_root . run/old
    # (As systemd has it on a machine: in what it takes for a container it leaves mounts as they are.)
    exec chroot . /bin/sh -c 'umount -l /run/old; mount --make-rshared /; exec env -i container=xp PATH=/usr/sbin:/usr/bin:/sbin:/bin \
        /lib/systemd/systemd --system --show-status=no --log-target=null --unit=multi-user.target'
fi

groups=$(awk '$3 == "cgroup2" { print $2; exit }' /proc/mounts)
[ -n "$groups" ] && mkdir "$groups/xp-check-$$" 2>/dev/null ||
    die 'check services: the services cannot be looked at: this machine gives no control groups'
group=$groups/xp-check-$$
(
    echo "$BASHPID" >"$group/cgroup.procs"
    exec unshare --mount --propagation private --pid --fork --kill-child --cgroup --uts --ipc --net -- "$0" "$R" inside
) &
boot=$!
finish() {
    kill -KILL "$boot" 2>/dev/null || true
    wait "$boot" 2>/dev/null || true
    local tries=0
    until find "$group" -depth -type d -exec rmdir {} + 2>/dev/null || [ $tries -ge 100 ]; do
        tries=$((tries + 1))
        read -rt 0.05 <> <(:) || true
    done
}
trap finish EXIT
system=
booted() { nsenter --target "$system" --mount --uts --ipc --net --pid --cgroup --root --wd -- "$@"; }
tries=0
until [ -n "$system" ] && booted systemctl is-active -q xpd.service 2>/dev/null; do
    system=$(pgrep -P "$boot" -f 'systemd --system' || true)
    tries=$((tries + 1))
    [ $tries -lt 600 ] && kill -0 "$boot" || die 'check services: xpd.service did not start'
    read -rt 0.1 <> <(:) || true
done

may_raise=no
prlimit --rtprio=1:1 true 2>/dev/null && may_raise=yes
booted env may_raise=$may_raise bash -eu <<'SYSTEM' || die 'check services: not so; see above'
expect() { # WHAT COMMAND...
    local what=$1 tries=0
    shift
    until "$@"; do
        tries=$((tries + 1))
        [ $tries -lt 300 ] || { echo "xp: not so: $what" >&2; journalctl --no-pager -n 30 -u xpd -u xpmediad -u xp-metrics >&2; exit 1; }
        read -rt 0.1 <> <(:) || true
    done
    echo "xp:   $what" >&2
}
main_process() { systemctl show -P MainPID xpd.service; }
is_new() { [ "$(main_process)" != "$old" ] && [ "$(main_process)" != 0 ] && systemctl is-active -q xpd.service; }
# The clip can be counted, and no daemon has to have it in its hands.
length_of() { xpctl --json info "$1" 2>/dev/null | grep -oE '"frames":[0-9]+' | grep -oE '[0-9]+' | head -n 1; }
has_frames() { [ "$(length_of "$1")" -ge "$2" ] 2>/dev/null; }

expect 'both services run' systemctl is-active -q xpd.service xpmediad.service
expect 'neither runs as root' test "$(stat -c %U /proc/"$(main_process)" /proc/"$(systemctl show -P MainPID xpmediad.service)" | sort -u)" = xp
expect 'a medium has been chosen' test "$(xpctl get active_media_path)" = /media/A
if [ "$may_raise" = yes ]; then
    expect 'the unit gives real-time priority' sh -c 'xpctl doctor | grep -q "good *priority"'
else
    echo 'xp:   NOT looked at: the priority that the unit gives; this machine lets nobody raise limits' >&2
fi
xpctl record >/dev/null; clip=$(xpctl get current_clip)
expect 'a take runs' sh -c 'xpctl --json status | grep -qE "\"recorded_up_to\":[0-9]{2}"'
systemctl stop xpd.service
expect 'stopped in a take, the service ended in order' test "$(systemctl show -P Result xpd.service)" = success
systemctl start xpd.service
expect "the take is whole: $clip" has_frames "$clip" 10

xpctl record >/dev/null; clip=$(xpctl get current_clip); old=$(main_process)
expect 'the next take runs' sh -c 'xpctl --json status | grep -qE "\"recorded_up_to\":[0-9]{2}"'
kill -KILL "$old"
expect 'killed, it is started again' is_new
expect "what was safe is there: $clip" has_frames "$clip" 10

mkdir -p /run/systemd/system/xpd.service.d
printf '[Service]\nWatchdogSec=2\nTimeoutAbortSec=1\n' >/run/systemd/system/xpd.service.d/sooner.conf
systemctl daemon-reload; systemctl restart xpd.service; old=$(main_process)
xpctl record --for 3 >/dev/null && expect 'the watchdog is fed' test "$(main_process)" = "$old"
kill -STOP "$old"
expect 'hung, it is ended by the watchdog and started again' is_new
systemctl start xp-metrics.service
figures() { { exec 3<>/dev/tcp/127.0.0.1/9464 && printf 'GET /metrics HTTP/1.0\r\n\r\n' >&3 && grep -q '^xp_up 1' <&3; } 2>/dev/null; }
expect 'figures are served' figures

xpctl channel add 2 'generator:?rate=25&size=720x576&scan=i' >/dev/null
systemctl start xpd@2.service xpmediad@2.service
expect 'a second channel runs' systemctl is-active -q xpd@2.service xpmediad@2.service xp-channels.service
expect 'it has its share of the medium' sh -c '[ "$(xpctl --channel 2 get active_media_path)" = /media/A ]'
expect 'it can record' xpctl --channel 2 ready
xpctl --channel 2 record --for 1 >/dev/null
expect 'its take lies in its own folder' sh -c 'ls /media/A/channel-2/*.mov >/dev/null'
mkdir -p /media/B && mount -t tmpfs -o size=100M xp-late /media/B && chown xp:xp /media/B
expect 'a medium that comes later is seen by it' sh -c 'xpctl --channel 2 media | grep -q "^/media/B"'
umount /media/B
expect 'and is seen to go' sh -c '! xpctl --channel 2 media | grep -q "^/media/B"'
expect 'the first one records beside it' xpctl --all record --for 1
systemctl stop xpd@2.service xpmediad@2.service
xpctl channel remove 2 >/dev/null
expect 'removed while the media are watched, its clips stay' sh -c 'ls /media/A/channel-2/*.mov >/dev/null'
systemctl stop xp-channels.service
systemctl stop xp-metrics.service xpd.service xpmediad.service
expect 'all of them end' sh -c '! systemctl is-active -q xp-metrics.service xpd.service xpmediad.service'
SYSTEM

#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# The inside of a sandbox (see sandbox.sh): mounts, daemon, command, end in order.
set -euo pipefail
. "$XP_ROOT/scripts/common.sh"

trap 'exit 143' TERM INT HUP # until there is something to end in order

S=$XP_SANDBOX_DIR/private
mkdir -p "$S"
mount -t tmpfs -o mode=755 xp-private "$S"
mount -t proc proc /proc

# Folders of this machine's disk are media only where "/" is another file system: here it becomes one that holds nothing
# but the machine's own folders.
own_root() {
    local root=$S/root entry here=$PWD
    mkdir "$root"
    mount -t tmpfs -o mode=755 xp-root "$root"
    for entry in /* /.[!.]*; do
        if [ -L "$entry" ]; then
            ln -s "$(readlink "$entry")" "$root$entry"
        elif [ -d "$entry" ]; then
            mkdir "$root$entry"
            [ "$entry" = /media ] || mount --rbind "$entry" "$root$entry"
        elif [ -f "$entry" ] && [ -r "$entry" ]; then
            touch "$root$entry"
            mount --bind "$entry" "$root$entry"
        fi
    done
    mkdir -p "$root/media" "$root/.machine"
    cd "$root"
    pivot_root . .machine
    cd "$here"
    umount -l /.machine
    rmdir /.machine
}
[ -z "$XP_MEDIA" ] || own_root

# A directory that may not exist on the machine gets its parent overlaid, so that it can be made here.
overlay() {
    mkdir -p "$S/upper$1" "$S/work$1"
    mount -t overlay overlay -o "lowerdir=$1,upperdir=$S/upper$1,workdir=$S/work$1" "$1"
}
private_dir() {
    mkdir -p "$1"
    mount -t tmpfs -o "mode=${2:-755}" xp-private "$1"
}
overlay /etc
overlay /run
overlay /var/lib
overlay /usr/local/share
private_dir "$(readlink -f /var/lock)" 1777
private_dir /run/xp
private_dir /etc/xp
private_dir /dev/shm 1777
private_dir /media
mkdir -p /var/lib/xp "$XP_SANDBOX_DIR/lib"
mount --bind "$XP_SANDBOX_DIR/lib" /var/lib/xp
mkdir -p /usr/local/share/media
[ -d "$XP_BUILD/share/media" ] && mount --bind "$XP_BUILD/share/media" /usr/local/share/media
[ "$XP_NET" = private ] && ip link set lo up

# Media are folders that are kept, or file systems of their own: ext4 in an image where loop devices are allowed, else
# memory.
for medium in A B; do
    mkdir -p "/media/$medium"
    if [ -n "$XP_MEDIA" ]; then
        mount --bind "$XP_MEDIA/$medium" "/media/$medium"
        continue
    fi
    image=$XP_SANDBOX_DIR/medium-$medium.img
    mounted=no
    if [ "$(cat /proc/self/uid_map | awk '{print $2; exit}')" = 0 ]; then
        if [ ! -f "$image" ]; then
            truncate -s "$XP_MEDIA_SIZE" "$image"
            mkfs.ext4 -q -F -m 0 -L "$medium" -E lazy_itable_init=1,lazy_journal_init=1 "$image"
        fi
        mount -o loop,noatime "$image" "/media/$medium" 2>/dev/null && mounted=yes
        rm -rf "/media/$medium/lost+found"
    fi
    [ "$mounted" = yes ] || mount -t tmpfs -o "size=$XP_MEDIA_SIZE" "xp-$medium" "/media/$medium"
done

[ -n "$XP_STORE" ] && printf '%s\n' "$XP_STORE" >/etc/xp/store
[ -n "$XP_PROFILE" ] && cp "$XP_PROFILE" /etc/xp/lumen.ini
[ -n "$XP_REMOTE" ] && cp "$XP_REMOTE" /etc/xp/remote.ini
if [ -n "$XP_CLOCK" ]; then
    touch /etc/xp/lumen.ini
    { printf '[device]\nclock=%s\n' "$XP_CLOCK"; cat /etc/xp/lumen.ini; } >/etc/xp/lumen.new
    mv /etc/xp/lumen.new /etc/xp/lumen.ini
fi
export PATH=$XP_BUILD/bin:$XP_ROOT/scripts/bin:$PATH

# What is kept has its log where one finds it.
[ -z "$XP_MEDIA" ] || { : >"$XP_SANDBOX_DIR/xpd.log"; ln -s "$XP_SANDBOX_DIR/xpd.log" /run/xp/xpd.out; }

daemon_pid=
start_mediad() {
    if [ "$XP_MEDIAD" = yes ] && command -v xpmediad >/dev/null; then
        # It returns when media are chosen and goes on in the background.
        xpmediad >/run/xp/xpmediad.out 2>&1 </dev/null ||
            { cat /run/xp/xpmediad.out >&2; die "sandbox: the media daemon did not start; its output is above"; }
    else
        # Nobody chooses media: the first one is the one to record on.
        xpctl set active_media_path /media/A >/dev/null
    fi
}
stop_mediad() {
    local pid
    pid=$(cat /var/lock/xpmediad.lock 2>/dev/null) && [ -n "$pid" ] || return 0
    kill -TERM "$pid" 2>/dev/null || return 0
    while kill -0 "$pid" 2>/dev/null; do read -rt 0.02 <> <(:) || true; done
    [ -n "${XP_SHOW_LOG:-}" ] && cat /run/xp/xpmediad.out >&2
    return 0
}
start_remote() {
    [ -n "$XP_REMOTE" ] || return 0
    # It returns when its ports are open and goes on in the background.
    xpremote >/run/xp/xpremote.out 2>&1 </dev/null ||
        { cat /run/xp/xpremote.out >&2; die "sandbox: xpremote did not start; its output is above"; }
}
stop_remote() {
    local pid
    pid=$(cat /var/lock/xpremote.lock 2>/dev/null) && [ -n "$pid" ] || return 0
    kill -TERM "$pid" 2>/dev/null || return 0
    while kill -0 "$pid" 2>/dev/null; do read -rt 0.02 <> <(:) || true; done
    [ -n "${XP_SHOW_LOG:-}" ] && cat /run/xp/xpremote.out >&2
    return 0
}
start_daemon() {
    start_mediad
    rm -f /run/xp/notify
    socat -u UNIX-RECV:/run/xp/notify OPEN:/run/xp/ready,creat,append &
    local listener=$! tries=0
    while [ ! -S /run/xp/notify ]; do
        tries=$((tries + 1))
        [ "$tries" -lt 200 ] || die "sandbox: the notice socket did not appear"
        read -rt 0.02 <> <(:) || true
    done
    NOTIFY_SOCKET=/run/xp/notify xpd >/run/xp/xpd.out 2>&1 </dev/null &
    daemon_pid=$!
    echo "$daemon_pid" >/run/xp/xpd.pid
    while ! grep -qs READY=1 /run/xp/ready; do
        kill -0 "$daemon_pid" 2>/dev/null || { cat /run/xp/xpd.out >&2; die "sandbox: the daemon did not start; its output is above"; }
        read -rt 0.02 <> <(:) || true
    done
    kill "$listener" 2>/dev/null || true
}
stop_daemon() {
    [ -n "$daemon_pid" ] || return 0
    kill -TERM "$daemon_pid" 2>/dev/null || true
    wait "$daemon_pid" || say "sandbox: xpd ended with status $?"
    [ -s /run/xp/xpd.out ] && [ -n "${XP_SHOW_LOG:-}" ] && cat /run/xp/xpd.out >&2
    daemon_pid=
}
panel_pid=
start_panel() {
    xppanel --listen "$XP_PANEL_AT" >/run/xp/xppanel.out 2>&1 </dev/null &
    panel_pid=$!
    while [ ! -s /run/xp/panel.address ]; do
        kill -0 "$panel_pid" 2>/dev/null || { cat /run/xp/xppanel.out >&2; die "sandbox: the panel did not start; its output is above"; }
        read -rt 0.02 <> <(:) || true
    done
    XP_PANEL=$(cat /run/xp/panel.address)
    export XP_PANEL
}
stop_panel() {
    [ -n "$panel_pid" ] || return 0
    kill -TERM "$panel_pid" 2>/dev/null || true
    wait "$panel_pid" || say "sandbox: xppanel ended with status $?"
    [ -s /run/xp/xppanel.out ] && [ -n "${XP_SHOW_LOG:-}" ] && cat /run/xp/xppanel.out >&2
    panel_pid=
}
trap 'stop_panel; stop_remote; stop_daemon; stop_mediad; exit 143' TERM INT HUP
[ "$XP_DAEMON" = yes ] && start_daemon
start_remote
[ -n "$XP_PANEL_AT" ] && start_panel
echo $$ >"$XP_SANDBOX_DIR/pid"

"$@" &
command_pid=$!
trap 'kill -TERM "$command_pid" 2>/dev/null || true' TERM INT HUP
status=0
wait "$command_pid" || status=$?
while kill -0 "$command_pid" 2>/dev/null; do wait "$command_pid" || status=$?; done
stop_panel
stop_remote
stop_daemon
stop_mediad
rm -f "$XP_SANDBOX_DIR/pid"
exit "$status"

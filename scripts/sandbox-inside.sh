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
# What is mounted here later shows in the views of further channels, too.
mount --make-shared /run/xp
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

# The programs of a recorder see the machine's places, or those of their channel: `inside 2 xpd`.
inside() {
    local channel=$1
    shift
    if [ "$channel" = 1 ]; then "$@"; else "$XP_ROOT/scripts/channel-view.sh" "$channel" "$@"; fi
}
run_of() { [ "$1" = 1 ] && echo /run/xp || echo "/run/xp/channels/$1"; }
lock_of() { [ "$1" = 1 ] && echo "/var/lock/$2.lock" || echo "/run/xp/channels/$1/lock/$2.lock"; }

daemon_pids=()
start_mediad() {
    local channel=$1 run
    run=$(run_of "$channel")
    if [ "$XP_MEDIAD" = yes ] && command -v xpmediad >/dev/null; then
        # It returns when media are chosen and goes on in the background.
        inside "$channel" xpmediad >"$run/xpmediad.out" 2>&1 </dev/null ||
            { cat "$run/xpmediad.out" >&2; die "sandbox: the media daemon did not start; its output is above"; }
    else
        # Nobody chooses media: the first one is the one to record on.
        xpctl --channel "$channel" set active_media_path /media/A >/dev/null
    fi
}
# Ends the program that holds a lock, and shows what it said.
stop_held() {
    local pid
    pid=$(cat "$1" 2>/dev/null) && [ -n "$pid" ] || return 0
    kill -TERM "$pid" 2>/dev/null || return 0
    while kill -0 "$pid" 2>/dev/null; do read -rt 0.02 <> <(:) || true; done
    [ -n "${XP_SHOW_LOG:-}" ] && cat "$2" >&2
    return 0
}
stop_mediad() { stop_held "$(lock_of "$1" xpmediad)" "$(run_of "$1")/xpmediad.out"; }
# Whose deck the ports of a channel are.
has_ports() { [ "$1" = 1 ] || grep -q "channel=$1\b" /etc/xp/remote.ini; }
start_remote() {
    [ -n "$XP_REMOTE" ] && has_ports "$1" || return 0
    # It returns when its ports are open and goes on in the background.
    XP_CHANNEL=$1 xpremote >"$(run_of "$1")/xpremote.out" 2>&1 </dev/null ||
        { cat "$(run_of "$1")/xpremote.out" >&2; die "sandbox: xpremote did not start; its output is above"; }
}
stop_remote() {
    [ -n "$XP_REMOTE" ] || return 0
    stop_held "$(lock_of "$1" xpremote)" "$(run_of "$1")/xpremote.out"
}
start_daemon() {
    local channel=$1 run tries=0
    run=$(run_of "$channel")
    start_mediad "$channel"
    rm -f "$run/notify"
    socat -u "UNIX-RECV:$run/notify" "OPEN:$run/ready,creat,append" &
    local listener=$!
    while [ ! -S "$run/notify" ]; do
        tries=$((tries + 1))
        [ "$tries" -lt 200 ] || die "sandbox: the notice socket did not appear"
        read -rt 0.02 <> <(:) || true
    done
    if [ "$channel" = 1 ]; then
        NOTIFY_SOCKET=$run/notify xpd >"$run/xpd.out" 2>&1 </dev/null &
    else
        NOTIFY_SOCKET=/run/xp/notify "$XP_ROOT/scripts/channel-view.sh" "$channel" xpd >"$run/xpd.out" 2>&1 </dev/null &
    fi
    daemon_pids[channel]=$!
    echo "${daemon_pids[channel]}" >"$run/xpd.pid"
    while ! grep -qs READY=1 "$run/ready"; do
        kill -0 "${daemon_pids[channel]}" 2>/dev/null ||
            { cat "$run/xpd.out" >&2; die "sandbox: the daemon did not start; its output is above"; }
        read -rt 0.02 <> <(:) || true
    done
    kill "$listener" 2>/dev/null || true
}
stop_daemon() {
    local channel=$1 out
    out=$(run_of "$channel")/xpd.out
    [ -n "${daemon_pids[channel]:-}" ] || return 0
    kill -TERM "${daemon_pids[channel]}" 2>/dev/null || true
    wait "${daemon_pids[channel]}" || say "sandbox: xpd of channel $channel ended with status $?"
    [ -s "$out" ] && [ -n "${XP_SHOW_LOG:-}" ] && cat "$out" >&2
    unset "daemon_pids[channel]"
}
follower_pid=
start_channels() {
    local channel
    [ "$XP_CHANNELS" -gt 1 ] || return 0
    for channel in $(seq 2 "$XP_CHANNELS"); do
        [ -d "/etc/xp/channels/$channel" ] || xpctl channel add "$channel" >/dev/null ||
            die "sandbox: channel $channel could not be made"
        [ -z "$XP_PROFILE" ] || cp "$XP_PROFILE" "/etc/xp/channels/$channel/lumen.ini"
        [ -z "$XP_CLOCK" ] || sed -i "s/^\[device\]/&\nclock=$XP_CLOCK/" "/etc/xp/channels/$channel/lumen.ini"
        # (On a server each has a name of its own; a file lies where the channel sees it.)
        case "$XP_STORE" in
            '') ;;
            redis*) printf '%s-%s\n' "$XP_STORE" "$channel" >"/etc/xp/channels/$channel/store" ;;
            *) printf '%s\n' "$XP_STORE" >"/etc/xp/channels/$channel/store" ;;
        esac
        xpctl channel view "$channel" || die "sandbox: channel $channel sees no media"
    done
    xpctl channel follow &
    follower_pid=$!
}
stop_channels() {
    [ -n "$follower_pid" ] || return 0
    kill -TERM "$follower_pid" 2>/dev/null || true
    wait "$follower_pid" || true
    follower_pid=
}
panel_pids=()
start_panel() {
    local channel=$1 run address=127.0.0.1:0
    run=$(run_of "$channel")
    [ "$channel" = 1 ] && address=$XP_PANEL_AT
    xppanel --channel "$channel" --listen "$address" >"$run/xppanel.out" 2>&1 </dev/null &
    panel_pids[channel]=$!
    while [ ! -s "$run/panel.address" ]; do
        kill -0 "${panel_pids[channel]}" 2>/dev/null ||
            { cat "$run/xppanel.out" >&2; die "sandbox: the panel did not start; its output is above"; }
        read -rt 0.02 <> <(:) || true
    done
    [ "$channel" != 1 ] || XP_PANEL=$(cat "$run/panel.address")
    export XP_PANEL
}
stop_panel() {
    local channel=$1 out
    out=$(run_of "$channel")/xppanel.out
    [ -n "${panel_pids[channel]:-}" ] || return 0
    kill -TERM "${panel_pids[channel]}" 2>/dev/null || true
    wait "${panel_pids[channel]}" || say "sandbox: xppanel ended with status $?"
    [ -s "$out" ] && [ -n "${XP_SHOW_LOG:-}" ] && cat "$out" >&2
    unset "panel_pids[channel]"
}
stop_all() {
    local channel
    for channel in $(seq "$XP_CHANNELS" -1 1); do stop_panel "$channel"; stop_remote "$channel"; stop_daemon "$channel"; done
    for channel in $(seq "$XP_CHANNELS" -1 1); do stop_mediad "$channel"; done
    stop_channels
}
trap 'stop_all; exit 143' TERM INT HUP
start_channels
for channel in $(seq "$XP_CHANNELS"); do
    [ "$XP_DAEMON" = yes ] && start_daemon "$channel"
    start_remote "$channel"
done
if [ -n "$XP_PANEL_AT" ]; then
    for channel in $(seq "$XP_CHANNELS"); do start_panel "$channel"; done
fi
echo $$ >"$XP_SANDBOX_DIR/pid"

"$@" &
command_pid=$!
trap 'kill -TERM "$command_pid" 2>/dev/null || true' TERM INT HUP
status=0
wait "$command_pid" || status=$?
while kill -0 "$command_pid" 2>/dev/null; do wait "$command_pid" || status=$?; done
stop_all
rm -f "$XP_SANDBOX_DIR/pid"
exit "$status"

#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Runs a command beside a recorder of its own: a private mount and process namespace with its own
# /var/lock, /etc/xp, /run/xp, /var/lib/xp, /dev/shm and two media: file systems of their own, or folders that are kept.
set -euo pipefail
. "$XP_ROOT/scripts/common.sh"

media_size=2G store= profile= clock= net=host state= media= daemon=yes mediad=yes remote= panel= channels=1
while [ $# -gt 0 ]; do
    case "$1" in
        --no-* | --panel | --) ;;
        --*) [ $# -gt 1 ] || die "sandbox: $1 lacks its value (see ./xp help)" ;;
    esac
    case "$1" in
        --media-size) media_size=$2; shift 2 ;;
        --store) store=$2; shift 2 ;;
        --profile) profile=$(readlink -f "$2") || die "no such profile: $2"; shift 2 ;;
        --clock) clock=$2; shift 2 ;;
        --net) net=$2; shift 2 ;;
        --state) state=$2; shift 2 ;;
        --media) media=$2; shift 2 ;;
        --remote) remote=$(readlink -f "$2") || die "no such file: $2"; shift 2 ;;
        --channels) channels=$2; shift 2 ;;
        --panel) panel=127.0.0.1:0; shift ;;
        --panel-at) panel=$2; shift 2 ;;
        --no-daemon) daemon=no; shift ;;
        --no-mediad) mediad=no; shift ;;
        --) shift; break ;;
        *) die "sandbox: unknown option $1 (see ./xp help)" ;;
    esac
done
[ $# -gt 0 ] || die "sandbox: no command; use: ./xp sandbox [options] -- CMD"
[[ $clock =~ ^(|real|fast:[1-9][0-9]*)$ ]] || die "sandbox: --clock is real or fast:N, not '$clock'"
[[ $media_size =~ ^[1-9][0-9]*[KMGT]?$ ]] || die "sandbox: --media-size is a size such as 600M or 2G, not '$media_size'"
[[ $channels =~ ^([1-9]|[1-5][0-9]|6[0-4])$ ]] || die "sandbox: --channels is a number from 1 to 64, not '$channels'"
case "$net" in host | private) ;; *) die "sandbox: --net is host or private, not '$net'" ;; esac
[ -z "$profile" ] || [ -r "$profile" ] || die "sandbox: cannot read the profile $profile"
[ -z "$remote" ] || [ -r "$remote" ] || die "sandbox: cannot read the ports in $remote"
[ -x "$XP_BUILD/bin/xpd" ] || [ "$daemon" = no ] || die "sandbox: nothing built yet; run ./xp build"

if [ -n "$state" ]; then
    mkdir -p "$state"
    state=$(readlink -f "$state")
    dir=$state
else
    dir=$(mktemp -d "${TMPDIR:-/tmp}/xp-sandbox.XXXXXX")
    trap 'rm -rf "$dir"' EXIT
fi

# Media that shall be kept are folders. (Memory and images are gone, or out of reach, when everything is killed.)
[ -n "$media" ] || [ -z "$state" ] || [ "$(id -u)" -eq 0 ] || media=$state/media
if [ -n "$media" ]; then
    mkdir -p "$media/A" "$media/B" || die "sandbox: the media cannot be made in $media"
    media=$(readlink -f "$media")
fi

# Copied here: the place it lies at may look different from the inside.
[ -z "$profile" ] || { cp "$profile" "$dir/lumen.ini"; profile=$dir/lumen.ini; }
[ -z "$remote" ] || { cp "$remote" "$dir/remote.ini"; remote=$dir/remote.ini; }

namespaces=(--mount --propagation private --pid --fork --kill-child=TERM)
[ "$net" = private ] && namespaces+=(--net)
if [ "$(id -u)" -ne 0 ]; then
    namespaces+=(--user --map-root-user)
    unshare --user --map-root-user --mount true 2>/dev/null ||
        die "this machine allows no user namespaces: run as root, or set kernel.unprivileged_userns_clone=1"
fi
unshare --mount true 2>/dev/null || [ "$(id -u)" -ne 0 ] ||
    die "this machine allows no mount namespaces, not even to root: a sandbox is not possible here"

export XP_SANDBOX_DIR=$dir XP_MEDIA_SIZE=$media_size XP_MEDIA=$media XP_STORE=$store XP_PROFILE=$profile XP_CLOCK=$clock
export XP_DAEMON=$daemon XP_MEDIAD=$mediad XP_NET=$net XP_REMOTE=$remote XP_PANEL_AT=$panel
export XP_CHANNELS=$channels
# A signal for the script goes to the command inside, which ends the daemon in order; then we end.
unshare "${namespaces[@]}" -- "$XP_ROOT/scripts/sandbox-inside.sh" "$@" &
child=$!
echo "$child" >"$dir/outer.pid"
# (unshare itself lets no such signal through.)
trap 'pkill -TERM -P "$child" || kill -TERM "$child" 2>/dev/null || true' TERM INT HUP
status=0
wait "$child" || status=$?
while kill -0 "$child" 2>/dev/null; do wait "$child" || status=$?; done
rm -f "$dir/outer.pid"
exit "$status"

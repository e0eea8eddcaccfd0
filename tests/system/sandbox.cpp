// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/system/sandbox.h"

#include "platform/qmx/edges/qmxstrip.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <gtest/gtest.h>

#include <algorithm>

namespace {
constexpr auto helpers = R"sh(
    say() { echo "== $1"; }
    is() { [ "$(xpctl get "$1")" = "$2" ]; }
    await() {
        local end=$((SECONDS + 60))
        until eval "$@"; do
            [ $SECONDS -lt $end ] || { echo "never: $*" >&2; xpctl alarms >&2; cat /run/xp/*.out >&2; exit 9; }
            read -rt 0.05 <> <(:) || true
        done
    }
    refused() { status=0; xpctl --json "$@" 2>&1 || status=$?; echo "status $status"; }
    recorded() { xpctl --json status | sed -E 's/.*"recorded_up_to":([0-9]+).*/\1/'; }
    # More of the take has become safe since the last call.
    safer() {
        now=$(recorded); was=${was:-999999}
        [ "$now" -gt "$was" ] && { was=; return; }; was=$now; false
    }
    fill() {
        local total free size
        read -r total free size < <(stat -f -c '%b %f %S' "$2")
        fallocate -l $(((free - total * $1 / 100) * size)) "$2/filler-$1"
    }
    plug() {
        truncate -s "${2:-400M}" "$XP_SANDBOX_DIR/medium-$1.img"
        mkfs.ext4 -q -F -m 0 -L "$1" -E lazy_itable_init=1,lazy_journal_init=1 "$XP_SANDBOX_DIR/medium-$1.img"
        mkdir -p "/media/$1"
        mount -o loop,noatime "$XP_SANDBOX_DIR/medium-$1.img" "/media/$1"
    }
    slow() {
        ! mountpoint -q "/media/$1" || umount "/media/$1"
        plug "$1"
        mkdir -p "$XP_SANDBOX_DIR/behind-$1"
        mount --move "/media/$1" "$XP_SANDBOX_DIR/behind-$1"
        xp-slowfs "$XP_SANDBOX_DIR/behind-$1" "/media/$1" "/run/xp/slow-$1"
    }
    hold() { echo "$2" >"/run/xp/slow-$1"; }
    shut() { perl -e 'sysopen(F, $ARGV[0], 0); $how = pack("I", 2); ioctl(F, 0x8004587d, $how) or die' "$1"; }
    kill_mediad() {
        local pid
        pid=$(cat /var/lock/xpmediad.lock)
        kill -KILL $pid
        await "! kill -0 $pid 2>/dev/null"
    }
    restart_mediad() { xpmediad >>/run/xp/xpmediad.out 2>&1; }
)sh";
} // namespace

Sandbox::Sandbox(const QStringList &options) : _options(options)
{
    QDir().mkpath(out());
}

void Sandbox::setProfile(const QByteArray &ini)
{
    _profile = ini;
}

ProgramResult Sandbox::run(const QString &script)
{
    constexpr int within = 400000; // ms
    QStringList arguments{"XP_ROOT=" XP_ROOT, "XP_BUILD=" XP_BUILD, "OUT=" + out(),
                          XP_ROOT "/scripts/sandbox.sh"};
    arguments << _options;
    if (!_profile.isEmpty()) {
        writeAll(_dir.filePath("lumen.ini"), _profile);
        arguments << "--profile" << _dir.filePath("lumen.ini");
    }
    arguments << "--"
              << "bash"
              << "-euc" << helpers + script;
    ProgramResult result = runProgram("env", arguments, within);
    EXPECT_EQ(result.status, 0) << result.err.toStdString() << result.out.toStdString();
    const bool mayDie = script.contains("xpd.pid");
    EXPECT_TRUE(mayDie || !result.err.contains("ended with status")) << result.err.toStdString();
    return result;
}

QByteArray said(const QByteArray &out, const QByteArray &name)
{
    const qsizetype begin = out.indexOf("== " + name + "\n");
    const QByteArray text = begin < 0 ? QByteArray() : out.mid(begin + 4 + name.size());
    const qsizetype end = text.indexOf("\n== ");
    return end < 0 ? text : text.left(end + 1);
}

QString Sandbox::out(const QString &name) const
{
    return _dir.filePath(name.isEmpty() ? QStringLiteral("out") : "out/" + name);
}

QList<std::optional<quint32>> stripsOf(const QString &clip)
{
    const ProgramResult size =
        runProgram("ffprobe", {"-v", "error", "-select_streams", "v:0", "-show_entries",
                               "stream=width,height", "-of", "csv=p=0", clip});
    const QList<QByteArray> numbers = size.out.trimmed().split(',');
    if (numbers.size() < 2) {
        return {};
    }
    const int width = numbers[0].toInt();
    const int height = numbers[1].toInt();
    const qsizetype bytes = qsizetype(width) * height;
    // The luma as it is: "gray" has another range with some versions.
    QProcess decode;
    decode.start("ffmpeg", {"-v", "error", "-apply_cropping", "0", "-i", clip, "-map", "0:v:0", "-fps_mode",
                            "passthrough", "-vf", "format=yuv422p,extractplanes=y", "-f", "rawvideo", "-"});
    QList<std::optional<quint32>> strips;
    // A picture at a time: all of a take do not fit into memory.
    for (QByteArray frame; bytes > 0; frame.clear()) {
        while (frame.size() < bytes) {
            if (decode.bytesAvailable() == 0 && !decode.waitForReadyRead(-1)) return strips;
            frame += decode.read(bytes - frame.size());
        }
        strips.append(
            QmxStrip::readLuma8(reinterpret_cast<const uchar *>(frame.constData()), width, height, width));
    }
    return strips;
}

QString brokenAt(const QList<std::optional<quint32>> &strips)
{
    if (strips.isEmpty()) {
        return "no frames";
    }
    for (qsizetype i = 0; i < strips.size(); ++i) {
        if (!strips[i]) {
            return QStringLiteral("frame %1 has no strip").arg(i);
        }
        if (i > 0 && *strips[i] != *strips[i - 1] + 1) {
            return QStringLiteral("frame %1 carries %2 after %3").arg(i).arg(*strips[i]).arg(*strips[i - 1]);
        }
    }
    return {};
}

QString jsonField(const QByteArray &json, const QString &field)
{
    const QList<QByteArray> lines = json.trimmed().split('\n');
    return QJsonDocument::fromJson(lines.last()).object().value(field).toVariant().toString();
}

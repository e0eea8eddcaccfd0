// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/system/mediarig.h"

#include "platform/qmx/device/qmxstrip.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

const char *const mediaScript = R"sh(
    say() { echo "== $1"; }
    is() { [ "$(xpctl get "$1")" = "$2" ]; }
    await() {
        local end=$((SECONDS + 60))
        until eval "$1"; do
            [ $SECONDS -lt $end ] || { echo "never: $1" >&2; xpctl alarms >&2; cat /run/xp/*.out >&2; exit 9; }
            read -rt 0.05 <> <(:) || true
        done
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
    recorded() { xpctl --json status | sed -E 's/.*"recorded_up_to":([0-9]+).*/\1/'; }
    kill_mediad() {
        local pid
        pid=$(cat /var/lock/xpmediad.lock)
        kill -KILL $pid
        await "! kill -0 $pid 2>/dev/null"
    }
    restart_mediad() { xpmediad >>/run/xp/xpmediad.out 2>&1; }
)sh";

QByteArray said(const QByteArray &out, const QByteArray &name)
{
    const qsizetype begin = out.indexOf("== " + name + "\n");
    const QByteArray text = begin < 0 ? QByteArray() : out.mid(begin + 4 + name.size());
    const qsizetype end = text.indexOf("\n== ");
    return end < 0 ? text : text.left(end + 1);
}

ProgramResult runMedia(Sandbox &sandbox, const QString &script)
{
    ProgramResult result = sandbox.run(mediaScript + script);
    EXPECT_EQ(result.status, 0) << result.err.toStdString() << result.out.toStdString();
    const bool killed = script.contains("xpd.pid");
    EXPECT_TRUE(killed || !result.err.contains("ended with status")) << result.err.toStdString();
    return result;
}

namespace {

constexpr int sampleRate = 48000;
constexpr qsizetype tonePeriod = 1200; ///< of the generator's tone, in samples
constexpr qsizetype markLength = 96;

/// A timecode as a count of frames; drop-frame labels are left out as SMPTE ST 12-1 has it. -1: none.
qint64 frameCount(const QByteArray &timecode, int digits)
{
    const bool drop = timecode.contains(';');
    const QList<QByteArray> parts = QByteArray(timecode).replace(';', ':').split(':');
    if (parts.size() != 4) return -1;
    const qint64 minutes = parts[0].toLongLong() * 60 + parts[1].toLongLong();
    const qint64 labels = (minutes * 60 + parts[2].toLongLong()) * digits + parts[3].toLongLong();
    return drop ? labels - (minutes - minutes / 10) * (digits / 15) : labels;
}

QByteArray probe(const QString &clip, const char *stream, const char *entries)
{
    return runProgram("ffprobe", {"-v", "error", "-select_streams", stream, "-show_entries", entries, "-of",
                                  "csv=p=0", clip})
        .out.trimmed();
}

QString brokenTimecode(const QStringList &clips, const QList<int> &frames, int digits)
{
    qint64 expected = -1;
    for (qsizetype i = 0; i < clips.size(); ++i) {
        const QByteArray timecode = probe(clips[i], "v:0", "stream_tags=timecode");
        const qint64 start = frameCount(timecode, digits);
        if (start < 0 || (i > 0 && start != expected))
            return QStringLiteral("clip %1 begins at %2, frame %3, after frame %4")
                .arg(i)
                .arg(QString(timecode))
                .arg(start)
                .arg(expected - 1);
        // One sample of timecode a clip: it counts on from there without a jump.
        if (probe(clips[i], "d:0", "packet=pts").count('\n') != 0)
            return QStringLiteral("the timecode of clip %1 jumps").arg(i);
        expected = start + frames[i];
    }
    return {};
}

/// Marks stand exactly ten frames apart through all clips, and between them the tone goes on.
QString brokenSound(const QStringList &clips, const QList<std::optional<quint32>> &strips,
                    const QList<int> &frames, int rateNum, int rateDen)
{
    QByteArray bytes;
    qint64 framesSoFar = 0;
    for (qsizetype i = 0; i < clips.size(); ++i) {
        bytes += runProgram("ffmpeg", {"-v", "error", "-i", clips[i], "-map", "0:a:0", "-af",
                                       "pan=mono|c0=c0", "-f", "s32le", "-"})
                     .out;
        framesSoFar += frames[i];
        const auto samples = bytes.size() / qsizetype(sizeof(qint32));
        const double expected = double(framesSoFar) * sampleRate * rateDen / rateNum;
        if (std::abs(double(samples) - expected) > 2)
            return QStringLiteral("%1 samples up to the end of clip %2, not %3")
                .arg(samples)
                .arg(i)
                .arg(expected);
    }
    const auto *samples = reinterpret_cast<const qint32 *>(bytes.constData());
    const qsizetype count = bytes.size() / qsizetype(sizeof(qint32));
    const qsizetype distance = qint64(QmxStrip::markInterval) * sampleRate * rateDen / rateNum;
    const auto begin =
        qsizetype(QmxStrip::markInterval - *strips[0] % QmxStrip::markInterval) % QmxStrip::markInterval;
    const qsizetype margin = markLength;
    auto first = qsizetype(begin * sampleRate * rateDen / rateNum);
    if (first < margin) first += distance; // one at the very beginning may be cut
    if (first + 2 * margin > count) return QStringLiteral("too short");
    const qsizetype from = first - margin;
    const qsizetype mark = from + QmxStrip::findMark(samples + from, int(2 * margin), 1);
    if (std::abs(mark - first) > 2)
        return QStringLiteral("the first mark is at sample %1, not %2").arg(mark).arg(first);
    for (qsizetype i = mark; i + tonePeriod + markLength < count; ++i) {
        const qsizetype place = (i - mark) % distance;
        if (place == 0 && (QmxStrip::findMark(samples + i, int(markLength), 1) != 0 ||
                           (i > 0 && QmxStrip::findMark(samples + i - 1, int(markLength), 1) != 1)))
            return QStringLiteral("no mark at sample %1").arg(i);
        const bool inMark = place < markLength || (place + tonePeriod) % distance < markLength;
        if (!inMark && samples[i] != samples[i + tonePeriod])
            return QStringLiteral("the tone breaks between samples %1 and %2").arg(i).arg(i + tonePeriod);
    }
    return {};
}

} // namespace

QString brokenTake(const QStringList &clips, int rateNum, int rateDen, QList<int> *frames)
{
    QList<std::optional<quint32>> strips;
    QList<int> lengths;
    for (const QString &clip : clips) {
        const auto more = stripsOf(clip);
        if (more.isEmpty()) return clip + " has no frames";
        strips += more;
        lengths << int(more.size());
    }
    if (frames) *frames = lengths;
    QString broken = brokenAt(strips);
    if (broken.isEmpty()) broken = brokenTimecode(clips, lengths, (rateNum + rateDen - 1) / rateDen);
    if (broken.isEmpty()) broken = brokenSound(clips, strips, lengths, rateNum, rateDen);
    return broken;
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/system/mediarig.h"

#include "platform/qmx/edges/qmxstrip.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

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
        if (std::abs(double(samples) - expected) > 1)
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
    if (std::abs(mark - first) > 1)
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

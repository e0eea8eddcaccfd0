// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movtake.h"

#include "platform/qmx/clip/atomcursor.h"
#include "platform/qmx/clip/movcrc.h"
#include "platform/qmx/clip/movlayout.h"
#include "platform/qmx/core/qmxdeck.h"

#include <QDateTime>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSysInfo>

#include <cstring>
#include <unistd.h>

namespace {
constexpr char magic[9] = "QMXTAKE1";
constexpr qsizetype fixedSize = 16; // magic, checksum of the text, its size
constexpr qsizetype place = MovLayout::block;

QString timeOf(const QmxEnvironment &environment)
{
    const qint64 seconds = environment.clock->wallTime() / QmxClock::nsPerSecond;
    return QDateTime::fromSecsSinceEpoch(seconds).toUTC().toString(Qt::ISODate);
}
} // namespace

QJsonObject MovTake::begun(const QString &path, const QmxEnvironment &environment)
{
    const QFileInfo file(path);
    QString name = file.fileName();
    // What is made of other clips is hidden until it is whole.
    constexpr QLatin1String hidden(".part");
    if (name.startsWith('.') && name.endsWith(hidden)) name = name.chopped(hidden.size()).mid(1);
    QJsonObject take{{"program", QStringLiteral("xp recorder " XP_VERSION)},
                     {"host", QSysInfo::machineHostName()},
                     {"user_id", int(getuid())},
                     {"medium", file.path()},
                     {"clip", name},
                     {"begun", timeOf(environment)}};
    // (The timecode track of these files has no place for them.)
    if (const QString bits = environment.deck->takeOptions.values().userBits; !bits.isEmpty())
        take["user_bits"] = bits;
    // (Whether what is counted as lost was replaced.)
    if (environment.deck->takeOptions.values().keepsTornPictures) take["torn_pictures"] = "keep";
    return take;
}

void MovTake::write(QByteArray &header, const QJsonObject &take)
{
    // Names can be long; a record that has no room is left out as a whole.
    const QByteArray text = QJsonDocument(take).toJson(QJsonDocument::Compact);
    if (header.size() != MovLayout::headerSize || text.size() > MovLayout::block - fixedSize) return;
    AtomWriter record;
    record.fourcc(magic);
    record.fourcc(magic + 4);
    record.u32(movCrc32c(text.constData(), size_t(text.size())));
    record.u32(quint32(text.size()));
    record.bytes(text);
    header.replace(place, record.size(), record.data());
}

QJsonObject MovTake::read(const QByteArray &header)
{
    if (header.size() < place + fixedSize) return {};
    AtomCursor cursor({reinterpret_cast<const uchar *>(header.constData()), size_t(header.size())});
    cursor.skip(size_t(place));
    const auto head = cursor.take(8);
    const quint32 crc = cursor.u32();
    const quint32 size = cursor.u32();
    const auto text = cursor.take(size);
    if (!cursor.ok() || std::memcmp(head.data(), magic, 8) != 0 || !movCrcIs(crc, text.data(), text.size()))
        return {};
    return QJsonDocument::fromJson(
               QByteArray(reinterpret_cast<const char *>(text.data()), qsizetype(text.size())))
        .object();
}

void MovTake::list(const char *kind, const QJsonObject &event)
{
    QJsonArray &events = _events[QString::fromLatin1(kind)];
    if (events.size() < mostListed)
        events.append(event);
    else
        ++_leftOut[QString::fromLatin1(kind)];
}

void MovTake::append(const MovFragment &fragment, const MovFormat &format)
{
    if (fragment.firstFrame > _frames)
        list("missing", {{"first", _frames}, {"last", fragment.firstFrame - 1}});
    _frames = fragment.firstFrame + qint64(fragment.frames.size());
    _lost += fragment.lost;
    _replaced += fragment.replaced;
    for (const auto &jump : fragment.jumps) {
        const QmxTimecode to(int(jump.value), format.timecodeFps, format.info.startTimecode.isDropFrame());
        list("timecode_breaks", {{"frame", jump.frame}, {"timecode", to.toString()}});
    }
    if (!fragment.isLinked) return;
    _lateTicks = fragment.link.lateTicks;
    for (const auto &loss : fragment.link.losses)
        addLoss(fragment.firstFrame + loss.at, loss.count);
}

/// Those of frames that follow each other are one: an input that is gone for a minute takes one place.
void MovTake::addLoss(qint64 frame, qint64 count)
{
    QJsonArray &losses = _events[QStringLiteral("losses")];
    QJsonObject last = losses.isEmpty() ? QJsonObject() : losses.last().toObject();
    const qint64 first = last.value("before_frame").toInteger();
    if (last.isEmpty() || frame > last.value("to_frame").toInteger(first) + 1)
        return list("losses", {{"before_frame", frame}, {"frames", count}});
    last["frames"] = last.value("frames").toInteger() + count;
    if (frame > first) last["to_frame"] = frame;
    losses[losses.size() - 1] = last;
}

QJsonObject MovTake::ended(QJsonObject take, const QString &by, const QmxEnvironment &environment) const
{
    take["ended"] = timeOf(environment);
    take["closed_by"] = by;
    take["frames"] = _frames;
    take["lost"] = _lost;
    take["replaced"] = _replaced;
    take["late_ticks"] = _lateTicks;
    for (auto kind = _events.begin(); kind != _events.end(); ++kind)
        take[kind.key()] = kind.value();
    for (auto kind = _leftOut.begin(); kind != _leftOut.end(); ++kind)
        take[kind.key() + "_left_out"] = kind.value();
    return take;
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/streamtally.h"

#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxsamefilesystem.h"

#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <utility>

namespace {
/// So long the second copy waits to hear where the first one is.
constexpr std::chrono::milliseconds claimWait(1000);
} // namespace

StreamTally::StreamTally(const QmxEnvironment &environment, int copies)
    : _environment(environment), _count(copies), _backlog(environment.deck->recordTable.takeBacklog())
{
    for (int i = 0; i < copies; ++i)
        _copies[size_t(i)].first = 0;
}

int StreamTally::addFile()
{
    const std::lock_guard lock(_mutex);
    return _count < 2 || _count == mostFiles ? 0 : _count++;
}

void StreamTally::begins(int copy, qint64 frame)
{
    const std::lock_guard lock(_mutex);
    _copies[size_t(copy)].first = frame;
    publish();
}

bool StreamTally::secondTakes() const
{
    return std::any_of(_copies.begin() + 1, _copies.begin() + _count,
                       [](const Copy &copy) { return !copy.left && copy.first >= 0; });
}

/// As far as its files have no hole between them.
qint64 StreamTally::secondDurable() const
{
    qint64 frames = 0;
    for (int i = 1; i < _count; ++i) {
        const Copy &copy = _copies[size_t(i)];
        if (copy.first < 0) continue; // it never was open
        if (copy.first > frames) break;
        frames = copy.first + copy.durable;
    }
    return frames;
}

/// With the mutex held, as the others of its name.
void StreamTally::publish()
{
    if (!_shown) return;
    const qint64 first = _copies.front().durable;
    const qint64 second = secondDurable();
    QmxCounters &counters = _environment.deck->counters;
    counters.set(QmxCounters::RecordedUpTo, std::max(first, second));
    counters.set(QmxCounters::SafeOnBoth, _count > 1 ? std::min(first, second) : 0);
}

void StreamTally::publish(QmxCounters::Row row)
{
    if (!_shown) return;
    qint64 most = 0;
    for (int i = 0; i < _count; ++i) {
        Copy &copy = _copies[size_t(i)];
        if (!copy.left) most = std::max(most, copy.figures[row]);
    }
    _environment.deck->counters.set(row, most);
}

void StreamTally::show(bool on)
{
    const std::lock_guard lock(_mutex);
    _shown = on;
    if (on) {
        _environment.deck->counters.set(QmxCounters::TakeCopies, present());
        return;
    }
    // Who comes next tells of his own; whoever gives way to waiting frames would wait for these for ever.
    for (const auto row : {QmxCounters::WriterQueue, QmxCounters::WriterQueueBytes})
        _environment.deck->counters.set(row, 0);
}

void StreamTally::setDurable(int copy, qint64 frames)
{
    const std::lock_guard lock(_mutex);
    _copies[size_t(copy)].durable = frames;
    publish();
}

void StreamTally::set(int copy, QmxCounters::Row row, qint64 value)
{
    const std::lock_guard lock(_mutex);
    _copies[size_t(copy)].figures[row] = value;
    publish(row);
}

void StreamTally::setSlow(int copy, bool slow, const QString &path)
{
    const std::lock_guard lock(_mutex);
    if (_copies[size_t(copy)].slow == slow) return;
    _copies[size_t(copy)].slow = slow;
    const bool any = std::any_of(_copies.begin(), _copies.end(), [](const Copy &each) { return each.slow; });
    if (any && !slow) return; // the other one still is
    const QString text =
        slow ? QStringLiteral("The medium of %1 is slow: frames are waiting in memory").arg(path) : QString();
    _environment.deck->alarms.post(QmxAlarm(QmxIds::alarmMediaSlow,
                                            slow ? QmxAlarm::Warning : QmxAlarm::Clear, text,
                                            QStringLiteral("streamwriter"), __LINE__));
}

void StreamTally::leave(int copy)
{
    const std::lock_guard lock(_mutex);
    if (std::exchange(_copies[size_t(copy)].left, true)) return;
    _claims.notify_all();
    if (_shown && present() > 0) _environment.deck->counters.set(QmxCounters::TakeCopies, present());
}

bool StreamTally::lose(int copy, qint64 frames)
{
    const std::lock_guard lock(_mutex);
    if (!isAlone(copy)) return false;
    _environment.deck->counters.add(QmxCounters::FramesDroppedCapture, frames);
    return true;
}

bool StreamTally::speaks(int copy) const
{
    const std::lock_guard lock(_mutex);
    return copy == 0 || _copies[0].left;
}

void StreamTally::refuse(int copy)
{
    if (speaks(copy)) _environment.deck->counters.add(QmxCounters::FramesDroppedCapture);
}

bool StreamTally::sameMedium(int number, int before) const
{
    const Copy &one = _copies[size_t(before)];
    const Copy &other = _copies[size_t(number)];
    if (!one.claimed || !other.claimed) return false;
    constexpr fsid_t none = {};
    // Where a file system gives no identity, the device tells.
    if (std::memcmp(&one.fileSystem, &none, sizeof none) == 0 &&
        std::memcmp(&other.fileSystem, &none, sizeof none) == 0)
        return one.device == other.device;
    return std::memcmp(&one.fileSystem, &other.fileSystem, sizeof none) == 0;
}

/// Only media are recorded on: a folder of the system's own file system is one whose medium is not there.
QmxError StreamTally::claim(int copy, const QString &path)
{
    // A name may come with the camera's data.
    if (path.split('/').contains(QStringLiteral("..")))
        return {EINVAL, QStringLiteral("%1 cannot be recorded: the name leads out of its medium").arg(path)};
    QmxFiles &files = *_environment.files;
    const QString folder = QFileInfo(path).path();
    struct statfs64 medium = {};
    struct statfs64 root = {};
    if (files.statfs(folder, &medium) != 0) {
        const int reason = errno;
        return {reason, QStringLiteral("%1 cannot be recorded: the medium at %2 does not answer (%3)")
                            .arg(QFileInfo(path).fileName(), folder, QmxError(reason).toString())};
    }
    if (files.statfs(QStringLiteral("/"), &root) == 0 &&
        qmxSameFileSystem(files, QStringLiteral("/"), root, folder, medium))
        return {ENODEV, QStringLiteral("%1 cannot be recorded: no medium is mounted at %2")
                            .arg(QFileInfo(path).fileName(), folder)};
    return claimMedium(copy, folder, medium);
}

QmxError StreamTally::claimMedium(int copy, const QString &folder, const struct statfs64 &medium)
{
    std::unique_lock lock(_mutex);
    if (_count < 2) return {};
    lock.unlock();
    struct stat64 status = {};
    _environment.files->stat(folder, &status);
    lock.lock();
    Copy &mine = _copies[size_t(copy)];
    std::memcpy(&mine.fileSystem, &medium.f_fsid, sizeof mine.fileSystem);
    mine.device = status.st_dev;
    mine.claimed = true;
    _claims.notify_all();
    if (copy == 0) return {};
    _claims.wait_for(lock, claimWait, [this] { return _copies[0].claimed || _copies[0].left; });
    // Where the take itself is, or where the copy has been and found no room.
    for (const int before : {0, copy - 1})
        if (sameMedium(copy, before))
            return {EXDEV, QStringLiteral("%1 is on the same medium as %2; choose a folder on another medium "
                                          "as mirror_media_path")
                               .arg(folder, before == 0 ? QStringLiteral("the take itself")
                                                        : QStringLiteral("the second copy so far"))};
    return {};
}

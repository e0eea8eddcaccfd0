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
{}

int StreamTally::present() const
{
    return int(std::count_if(_copies.begin(), _copies.begin() + _count,
                             [](const Copy &copy) { return !copy.left; }));
}

bool StreamTally::isAlone(int copy) const
{
    return present() == (_copies[size_t(copy)].left ? 0 : 1);
}

/// With the mutex held, as the others of its name.
void StreamTally::publish()
{
    if (!_shown) return;
    qint64 one = 0;
    qint64 all = _copies.front().durable;
    for (int i = 0; i < _count; ++i) {
        one = std::max(one, _copies[size_t(i)].durable);
        all = std::min(all, _copies[size_t(i)].durable);
    }
    QmxCounters &counters = _environment.deck->counters;
    counters.set(QmxCounters::RecordedUpTo, one);
    counters.set(QmxCounters::SafeOnBoth, _count > 1 ? all : 0);
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
    if (on) _environment.deck->counters.set(QmxCounters::TakeCopies, present());
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
    const bool any = _copies[0].slow || _copies[1].slow;
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

bool StreamTally::sameMedium() const
{
    const Copy &one = _copies[0];
    const Copy &other = _copies[1];
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
    if (_count < 2) return {};
    struct stat64 status = {};
    _environment.files->stat(folder, &status);
    std::unique_lock lock(_mutex);
    Copy &mine = _copies[size_t(copy)];
    std::memcpy(&mine.fileSystem, &medium.f_fsid, sizeof mine.fileSystem);
    mine.device = status.st_dev;
    mine.claimed = true;
    _claims.notify_all();
    if (copy == 0) return {};
    _claims.wait_for(lock, claimWait, [this] { return _copies[0].claimed || _copies[0].left; });
    if (!sameMedium()) return {};
    return {EXDEV, QStringLiteral("%1 is on the same medium as the take itself; choose a folder on another "
                                  "medium as mirror_media_path")
                       .arg(folder)};
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/streamreaderentries.h"

#include "platform/qmx/core/qmxloglevel.h"

#include <algorithm>
#include <cerrno>

namespace {
/// The one that is played, its neighbours, and some for who jumps to and fro.
constexpr int maximumOpen = 6;
/// A wait that somebody else ends.
constexpr qint64 longWait = 3600 * QmxClock::nsPerSecond;
} // namespace

StreamReaderEntries::StreamReaderEntries(const StreamReaderSource &source, const QmxEnvironment &environment)
    : _environment(environment),
      _given(source.entries.size()),
      _source(source),
      _entries(size_t(source.entries.size()))
{}

int StreamReaderEntries::count() const
{
    const std::lock_guard lock(_mutex);
    return int(_entries.size());
}

QString StreamReaderEntries::name(int index) const
{
    const std::lock_guard lock(_mutex);
    return _source.entries.at(index).name;
}

void StreamReaderEntries::append(const QString &path, int length)
{
    const std::lock_guard lock(_mutex);
    StreamReaderSource::Entry &last = _source.entries.last();
    last.length = length;
    _source.entries.append({path.section(QLatin1Char('/'), -1), path, last.first + length, 0, {}});
    _entries.emplace_back();
}

QStringList StreamReaderEntries::appended() const
{
    const std::lock_guard lock(_mutex);
    QStringList paths;
    for (qsizetype i = _given; i < _source.entries.size(); ++i)
        paths.append(_source.entries.at(i).path);
    return paths;
}

StreamReaderEntries::Place StreamReaderEntries::place(int frame) const
{
    const std::lock_guard lock(_mutex);
    const QList<StreamReaderSource::Entry> &entries = _source.entries;
    if (frame < 0) return {_source.isList ? -1 : 0, frame};
    const auto after = std::upper_bound(
        entries.begin(), entries.end(), frame,
        [](int value, const StreamReaderSource::Entry &entry) { return value < entry.first; });
    const int index = int(after - entries.begin()) - 1;
    if (index < 0) return {};
    return {index, frame - entries.at(index).first + _entries[size_t(index)].range.first};
}

QmxClipPart::Range StreamReaderEntries::range(int index) const
{
    const std::lock_guard lock(_mutex);
    return _entries[size_t(index)].range;
}

std::shared_ptr<QmxClipReader> StreamReaderEntries::openFile(const StreamReaderSource::Entry &what,
                                                             QmxClipPart::Range &range, QmxError &error) const
{
    auto reader = std::make_shared<QmxClipReader>(_environment);
    error = what.path.isEmpty()
                ? QmxError(ENOENT, QStringLiteral("The play list names no file for %1").arg(what.name))
                : reader->open(what.path);
    if (!error.isError() && what.part.isPart) error = what.part.resolve(reader->info(), range);
    if (!error.isError()) return reader;
    qmxLogOutput(QmxLogLevel::Error, "streamreader", __LINE__, "%s cannot be opened: %s\n",
                 qPrintable(what.path), qPrintable(error.toString()));
    return nullptr;
}

std::shared_ptr<QmxClipReader> StreamReaderEntries::open(int index, QmxError &error)
{
    std::shared_ptr<QmxClipReader> tooOld; // dropped, and so closed, without the lock
    std::unique_lock lock(_mutex);
    Entry &entry = _entries[size_t(index)];
    waitUntilOpened(entry, lock);
    entry.lastUse = ++_uses;
    if (entry.stage == Stage::Open) return entry.reader;
    if (entry.stage == Stage::Failed) {
        error = entry.error;
        return nullptr;
    }
    entry.stage = Stage::Opening;
    const StreamReaderSource::Entry what = _source.entries.at(index);
    lock.unlock();
    QmxClipPart::Range range;
    std::shared_ptr<QmxClipReader> reader = openFile(what, range, error);

    lock.lock();
    if (!reader) {
        entry.stage = Stage::Failed;
        entry.error = error;
    } else {
        entry.stage = Stage::Open;
        entry.reader = reader;
        entry.info = reader->info();
        entry.description = Description{entry.info->image, entry.info->audio};
        entry.range = what.part.isPart ? range : QmxClipPart::Range{0, entry.info->frames};
        if (++_open > maximumOpen) tooOld = takeOldest();
    }
    for (QmxInterrupt *waiting : _waiting)
        waiting->interrupt();
    lock.unlock();
    return reader;
}

/// While another thread opens the entry. Waits on the clock, so that a clock of a test knows that this
/// thread does nothing.
void StreamReaderEntries::waitUntilOpened(const Entry &entry, std::unique_lock<std::mutex> &lock)
{
    while (entry.stage == Stage::Opening) {
        QmxInterrupt opened;
        const auto place = _waiting.insert(_waiting.end(), &opened);
        lock.unlock();
        _environment.clock->sleepUntil(_environment.clock->now() + longWait, &opened);
        lock.lock();
        _waiting.erase(place);
    }
}

/// With the lock held.
std::shared_ptr<QmxClipReader> StreamReaderEntries::takeOldest()
{
    Entry *oldest = nullptr;
    for (Entry &entry : _entries)
        if (entry.stage == Stage::Open && (!oldest || entry.lastUse < oldest->lastUse)) oldest = &entry;
    if (!oldest) return nullptr;
    oldest->stage = Stage::Closed;
    --_open;
    return std::move(oldest->reader);
}

void StreamReaderEntries::update(int index, const QmxClipInfo &info)
{
    const std::lock_guard lock(_mutex);
    _entries[size_t(index)].info = info;
}

StreamReaderEntries::Description StreamReaderEntries::description(int index)
{
    const std::lock_guard lock(_mutex);
    Entry &entry = _entries[size_t(index)];
    if (entry.description) return *entry.description;
    const int count = int(_entries.size());
    for (int distance = 1; distance < count; ++distance) {
        for (const int neighbour : {index - distance, index + distance}) {
            if (neighbour < 0 || neighbour >= count) continue;
            if (!_entries[size_t(neighbour)].description) continue;
            entry.description = _entries[size_t(neighbour)].description;
            return *entry.description;
        }
    }
    return {};
}

std::optional<QmxClipInfo> StreamReaderEntries::info(int index) const
{
    const std::lock_guard lock(_mutex);
    return _entries[size_t(index)].info;
}

void StreamReaderEntries::closeAll()
{
    std::vector<std::shared_ptr<QmxClipReader>> readers; // before the lock: closed after it is released
    const std::lock_guard lock(_mutex);
    for (Entry &entry : _entries) {
        if (entry.stage != Stage::Open) continue;
        entry.stage = Stage::Closed;
        readers.push_back(std::move(entry.reader));
    }
    _open = 0;
}

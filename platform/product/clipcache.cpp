// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/clipcache.h"

#include "platform/product/processmark.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/core/qmxsharedmemory.h"
#include "platform/store/storefiles.h"

#include <QByteArray>
#include <QDataStream>
#include <QIODevice>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <boost/crc.hpp>

namespace {

/// Counts up when what follows it changes its form.
constexpr quint64 formatMark = 0x5850'434C'4950'0001; // "XPCLIP", 1
constexpr std::size_t headSize = 4096;
constexpr int slotCount = 2;

struct Slot
{
    quint64 length = 0;
    quint64 checksum = 0;
};

/// The first page of a segment. Words that are not said to be atomic are touched under the mutex only.
struct Head
{
    quint64 format = 0;
    quint64 owner = 0;      ///< of the mutex; atomic
    quint64 publisher = 0;  ///< mark of the process that keeps this current; atomic
    quint64 generation = 0; ///< counts states, its last bit is the slot of the current one; atomic
    Slot states[slotCount];
};
static_assert(sizeof(Head) <= headSize);

quint64 checksumOf(const char *data, std::size_t size)
{
    boost::crc_32_type crc;
    crc.process_bytes(data, size);
    return crc.checksum();
}

QByteArray bytes(const std::string &text)
{
    return QByteArray::fromStdString(text);
}

QByteArray serialized(const std::vector<ClipListing> &listings)
{
    QByteArray result;
    QDataStream out(&result, QIODevice::WriteOnly);
    out.setVersion(QDataStream::Qt_6_0);
    out << static_cast<quint32>(listings.size());
    for (const ClipListing &listing : listings) {
        out << bytes(listing.folder) << listing.changed << listing.settled << bytes(listing.playList)
            << static_cast<quint32>(listing.clips.size());
        for (const Clip &clip : listing.clips)
            out << bytes(clip.getName()) << bytes(clip.getPath()) << static_cast<qint32>(clip.frames())
                << clip.getRecordedAt() << clip.isClosed();
    }
    return result;
}

/// The checksum has been found right.
std::vector<ClipListing> parsed(const QByteArray &text)
{
    QDataStream in(text);
    in.setVersion(QDataStream::Qt_6_0);
    quint32 listingCount = 0;
    in >> listingCount;
    std::vector<ClipListing> listings;
    while (listings.size() < listingCount && in.status() == QDataStream::Ok) {
        ClipListing &listing = listings.emplace_back();
        QByteArray folder;
        QByteArray playList;
        quint32 count = 0;
        in >> folder >> listing.changed >> listing.settled >> playList >> count;
        listing.folder = folder.toStdString();
        listing.playList = playList.toStdString();
        while (listing.clips.size() < count && in.status() == QDataStream::Ok) {
            QByteArray name;
            QByteArray path;
            qint32 frames = 0;
            qint64 recordedAt = 0;
            bool closed = false;
            in >> name >> path >> frames >> recordedAt >> closed;
            listing.clips.emplace_back(name.toStdString(), path.toStdString(), frames, recordedAt, closed);
        }
    }
    if (in.status() != QDataStream::Ok) listings.clear();
    return listings;
}

} // namespace

class ClipCache::Segment
{
public:
    Segment(std::unique_ptr<QmxSharedMemory> memory, const Names &names)
        : _memory(std::move(memory)), _identity(StoreFiles::identity(pathOf(names)))
    {}

    Head &head() const { return *reinterpret_cast<Head *>(_memory->data()); }
    bool isWhole() const { return head().format == formatMark; }
    std::atomic_ref<quint64> owner() const { return std::atomic_ref(head().owner); }
    std::atomic_ref<quint64> publisher() const { return std::atomic_ref(head().publisher); }
    std::atomic_ref<quint64> generation() const { return std::atomic_ref(head().generation); }
    std::size_t room() const { return (std::size_t(_memory->size()) - headSize) / slotCount; }
    char *slot(quint64 generation) const
    {
        return reinterpret_cast<char *>(_memory->data()) + headSize + (generation % slotCount) * room();
    }

    /// The segment is far larger than most lists: what is about to be written is made sure of.
    bool reserve(quint64 generation, std::size_t bytes) const
    {
        const std::size_t from = headSize + (generation % slotCount) * room();
        return QmxSharedMemory::reserve(_memory->descriptor(), qsizetype(from), qsizetype(bytes));
    }

    /// The name still stands for this segment.
    bool isAt(const Names &names) const { return _identity == StoreFiles::identity(pathOf(names)); }

    static std::unique_ptr<Segment> open(const Names &names);
    static std::unique_ptr<Segment> make(const Names &names);

private:
    static std::string pathOf(const Names &names)
    {
        return QmxSharedMemory::fileOf(QString::fromStdString(names.segment)).toStdString();
    }

    std::unique_ptr<QmxSharedMemory> _memory;
    std::optional<StoreFiles::Identity> _identity;
};

/// Null when there is none, or one of another size or form.
std::unique_ptr<ClipCache::Segment> ClipCache::Segment::open(const Names &names)
{
    const auto size = qsizetype(names.size);
    auto memory =
        QmxSharedMemory::open(QString::fromStdString(names.segment), QmxSharedMemory::Access::Write, size);
    if (!memory || memory->size() != size) return nullptr;
    auto segment = std::make_unique<Segment>(std::move(memory), names);
    return segment->isWhole() ? std::move(segment) : nullptr;
}

/// In place of whatever has the name. Nobody finds it before it has its form.
std::unique_ptr<ClipCache::Segment> ClipCache::Segment::make(const Names &names)
{
    // Those who have the old one mapped see that its publisher has gone and look for the new one.
    auto memory = QmxSharedMemory::make(QString::fromStdString(names.segment), qsizetype(names.size),
                                        StoreFiles::fileMode, QmxSharedMemory::Existing::Replace, headSize);
    if (!memory) return nullptr;
    StoreFiles::shareWithGroup(pathOf(names));
    auto segment = std::make_unique<Segment>(std::move(memory), names);
    std::atomic_ref(segment->head().format).store(formatMark);
    return segment;
}

ClipCache::Names ClipCache::namesOf(Kind kind)
{
    constexpr std::size_t allClipsSize = 26'771'475;
    constexpr std::size_t playListSize = 54'595'607;
    const std::shared_ptr<const QmxPlaces> places = QmxEnvironment::current().places;
    const bool all = kind == AllClips;
    const std::string name = (all ? places->clipList : places->playList).toStdString();
    return {name + "_shm", name + "_mutex", all ? allClipsSize : playListSize};
}

ClipCache::ClipCache(Kind kind) : _names(namesOf(kind)) {}

ClipCache::~ClipCache()
{
    quint64 self = ProcessMark::self();
    if (_publishes && _segment) _segment->publisher().compare_exchange_strong(self, 0);
}

bool ClipCache::attach()
{
    if (!_mutex) _mutex = std::make_unique<SharedMutex>(_names.mutex);
    // A segment that nobody keeps current any more may have been replaced.
    if (_segment && _segment->isAt(_names) && ProcessMark::isAlive(_segment->publisher().load())) return true;
    _segment = Segment::open(_names);
    _generation = 0;
    _listings.clear();
    return _segment && ProcessMark::isAlive(_segment->publisher().load());
}

bool ClipCache::publish(const std::vector<ClipListing> &listings, std::string *error,
                        std::chrono::milliseconds wait)
{
    const auto fail = [error](const std::string &reason) {
        if (error) *error = "the list of clips cannot be shared: " + reason;
        return false;
    };
    if (_segment && !(_segment->isAt(_names) && _segment->isWhole())) _segment.reset();
    if (!_segment) _segment = Segment::open(_names);
    if (!_segment) _segment = Segment::make(_names);
    if (!_segment)
        return fail("shared memory " + _names.segment + " cannot be made: " + std::strerror(errno));
    if (!_mutex) _mutex = std::make_unique<SharedMutex>(_names.mutex);
    const QByteArray text = serialized(listings);
    if (static_cast<std::size_t>(text.size()) > _segment->room()) return fail("there are too many clips");
    if (!_mutex->lock(_segment->owner(), wait)) return fail("another process holds its mutex");
    const SharedMutexHolder holder(*_mutex, _segment->owner());
    const quint64 next = _segment->generation().load() + 1;
    if (!_segment->reserve(next, static_cast<std::size_t>(text.size())))
        return fail("shared memory " + _names.segment + " has no room: " + std::strerror(errno));
    Slot &slot = _segment->head().states[next % slotCount];
    slot = {};
    std::memcpy(_segment->slot(next), text.constData(), static_cast<std::size_t>(text.size()));
    slot = {static_cast<quint64>(text.size()),
            checksumOf(text.constData(), static_cast<std::size_t>(text.size()))};
    _segment->generation().store(next);
    _segment->publisher().store(ProcessMark::self());
    _publishes = true;
    return true;
}

/// Brings the copy up to date; false when the current state is no good.
bool ClipCache::update(std::chrono::milliseconds wait)
{
    if (_segment->generation().load() == _generation) return true;
    QByteArray text;
    quint64 generation = 0;
    quint64 checksum = 0;
    {
        if (!_mutex->lock(_segment->owner(), wait)) return true;
        const SharedMutexHolder holder(*_mutex, _segment->owner());
        generation = _segment->generation().load();
        const Slot slot = _segment->head().states[generation % slotCount];
        if (slot.length > _segment->room()) return false;
        text = QByteArray(_segment->slot(generation), static_cast<qsizetype>(slot.length));
        checksum = slot.checksum;
    }
    if (checksumOf(text.constData(), static_cast<std::size_t>(text.size())) != checksum) return false;
    _listings = parsed(text);
    _generation = generation;
    return true;
}

std::optional<ClipListing> ClipCache::listing(const std::string &folder, std::chrono::milliseconds wait)
{
    if (!attach() || !update(wait)) {
        _listings.clear();
        _generation = 0;
        return std::nullopt;
    }
    const auto found =
        std::find_if(_listings.begin(), _listings.end(),
                     [&folder](const ClipListing &listing) { return listing.folder == folder; });
    return found == _listings.end() ? std::nullopt : std::optional(*found);
}

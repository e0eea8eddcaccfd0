// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/clipfinder.h"

#include "platform/product/clipcache.h"
#include "platform/product/clipnames.h"
#include "platform/product/clipscan.h"
#include "platform/product/mediumhelper.h"
#include "platform/product/sharedclipsource.h"
#include "platform/product/startorders.h"
#include "platform/product/takesequel.h"
#include "platform/product/takesettings.h"
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxrecordtable.h"
#include "platform/store/config.h"

#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <tuple>

#include <sys/stat.h>

namespace {

constexpr std::chrono::milliseconds firstLook{2000};
constexpr unsigned takesTried = 10000; // names looked at before a folder counts as full of them
constexpr int rolloverIndicesTried = 100;

std::string text(Config *config, eParam_t id)
{
    std::string value;
    config->getString(id, value);
    return value;
}

unsigned number(Config *config, eParam_t id)
{
    unsigned value = 0;
    config->getUInt(id, value);
    return value;
}

/// The first of the names that `next` gives (until it gives an empty one) which is not in the folder. Empty:
/// none is free, or the medium does not answer.
std::string firstFree(const std::string &folder, const std::function<std::string()> &next)
{
    const auto files = QmxEnvironment::current().files;
    return MediumHelper::instance()
        .answer<std::string>(
            folder,
            [files, folder, next] {
                for (std::string name = next(); !name.empty(); name = next()) {
                    struct stat64 info
                    {};
                    const QString path = QString::fromLocal8Bit(folder + "/" + name);
                    if (files->stat(path, &info) != 0 && errno == ENOENT) return name;
                }
                return std::string();
            },
            MediumHelper::limit, MediumHelper::Lane::Names)
        .value_or(std::string());
}

} // namespace

class ClipFinder::Private
{
public:
    /// The store, for a thread that may come back when there is none any more.
    struct LateWord
    {
        std::mutex mutex;
        Config *config = nullptr;
        bool waits = false;
    };

    explicit Private(Config *store) : config(store) { late->config = store; }
    ~Private()
    {
        const std::lock_guard lock(late->mutex);
        late->config = nullptr;
    }

    void listLater(const std::string &folder);
    void list(const std::string &folder, std::chrono::milliseconds wait = MediumHelper::limit);
    std::optional<std::vector<Clip>> sharedPlayList(const std::string &folder, const std::string &names);

    const QmxEnvironment environment = QmxEnvironment::current();
    const std::shared_ptr<LateWord> late = std::make_shared<LateWord>();
    Config *const config;
    QObject context; ///< of what comes back to the event loop
    // By folder, each for its helper thread.
    std::map<std::string, std::shared_ptr<ClipSource>> sources;
    std::map<std::string, std::shared_ptr<ClipCache>> playListCaches;
    std::string folder;          ///< that was listed last
    bool isListed = false;       ///< it has answered
    std::vector<Clip> clips;     ///< of the last listing, in the order of recording
    std::shared_ptr<void> namer; ///< of the clip after the one that is being recorded
    /// A clip on the rollover medium, and that which it continues: found once, it is good until a take ends
    /// there.
    struct Next
    {
        std::string folder, current, name;
        bool follows(const std::string &where, const std::string &clip) const
        {
            return folder == where && current == clip;
        }
    };
    Next next;
    unsigned takeGiven = 0; ///< in the name given last; 0: no take in it
};

/// Brings `clips` up to date. Clips that were there keep their order, new ones come last: a list that is
/// played must not change its order because a clock was set.
void ClipFinder::Private::list(const std::string &path, std::chrono::milliseconds wait)
{
    using Listing = std::optional<std::vector<Clip>>;
    if (path != folder) {
        clips.clear();
        isListed = false;
    }
    folder = path;
    std::shared_ptr<ClipSource> &medium = sources[path];
    if (!medium) medium = std::make_shared<SharedClipSource>(environment);
    auto answer = MediumHelper::instance().answer<Listing>(
        path, [source = medium, path] { return source->clips(path); }, wait);
    if (!answer) {
        listLater(path);
        return;
    }
    isListed = true;
    std::vector<Clip> found = answer->value_or(std::vector<Clip>());
    std::map<std::string, std::size_t> before;
    for (std::size_t i = 0; i < clips.size(); ++i)
        before.emplace(clips[i].getName(), i);
    const auto place = [&before](const Clip &clip) {
        const auto known = before.find(clip.getName());
        return std::make_tuple(known == before.end() ? before.size() : known->second, clip.getRecordedAt(),
                               clip.getName());
    };
    std::sort(found.begin(), found.end(),
              [&place](const Clip &a, const Clip &b) { return place(a) < place(b); });
    clips = std::move(found);
}

/// The medium is too slow for who waits now. Its thread lists the clips all the same, so that the next
/// listing is a quick one, and then says that it wants one: nobody else knows that the lists lack something.
void ClipFinder::Private::listLater(const std::string &path)
{
    {
        const std::lock_guard lock(late->mutex);
        if (late->waits) return;
        late->waits = true;
    }
    const bool posted = MediumHelper::instance().whenBack(path, [source = sources[path], path, word = late] {
        source->clips(path);
        const std::lock_guard lock(word->mutex);
        word->waits = false;
        if (word->config) word->config->setUInt(eParam_ListingWanted, 1);
    });
    if (posted) return;
    const std::lock_guard lock(late->mutex);
    late->waits = false;
}

/// As the media daemon has shared it, if it is of these names and nothing has changed since.
std::optional<std::vector<Clip>> ClipFinder::Private::sharedPlayList(const std::string &path,
                                                                     const std::string &names)
{
    using Listing = std::optional<std::vector<Clip>>;
    std::shared_ptr<ClipCache> &ofFolder = playListCaches[path];
    if (!ofFolder) ofFolder = std::make_shared<ClipCache>(ClipCache::PlayList);
    auto answer =
        MediumHelper::instance().answer<Listing>(path, [cache = ofFolder, path, names]() -> Listing {
            const auto listing = cache->listing(path);
            if (!listing || listing->playList != names || !isUpToDate(*listing)) return std::nullopt;
            return listing->clips;
        });
    return answer.value_or(std::nullopt);
}

ClipFinder::ClipFinder(Config *config) : d(std::make_unique<Private>(config))
{
    // The first look at a full medium opens every clip. No event loop turns yet, so it may take longer; all
    // later ones open only what is new.
    const std::string folder = config ? text(config, eParam_ActiveMediaPath) : std::string();
    if (!folder.empty()) d->list(folder, firstLook);
    if (!config) return;
    d->namer =
        d->environment.deck->nextClip.setNamer([this](const QString &path) { return clipAfter(path); });
    followTakeSettings(config, &d->context);
    followStartOrders(config);
    d->environment.deck->takeSequel.setFinder(takeMayGoOnIn);
}

ClipFinder::~ClipFinder() = default;

std::list<Clip> ClipFinder::findClips(bool playableOnly, bool playListOnly, bool sorted)
{
    if (!d->config) return {};
    const std::string folder = text(d->config, eParam_ActiveMediaPath);
    if (folder.empty()) return {};
    const std::string names = playListOnly ? text(d->config, eParam_PlayList) : std::string();
    std::optional<std::vector<Clip>> listed;
    if (playListOnly) listed = d->sharedPlayList(folder, names);
    if (!listed) {
        d->list(folder);
        listed = playListOnly ? clipsOfPlayList(d->clips, names) : d->clips;
    }
    d->environment.deck->givenClips.clear();
    std::list<Clip> result(listed->begin(), listed->end());
    if (!sorted && !playListOnly)
        result.sort([](const Clip &a, const Clip &b) { return a.getName() < b.getName(); });
    if (playableOnly) result.remove_if([](const Clip &clip) { return clip.frames() <= 0; });
    return result;
}

bool ClipFinder::knowsMedium() const
{
    return d->isListed;
}

int ClipFinder::buildClipName(std::string &name, std::list<Clip> *existing)
{
    d->takeGiven = 0;
    if (!d->config) return -1;
    const std::string folder = text(d->config, eParam_ActiveMediaPath);
    const std::string pattern = text(d->config, eParam_ClipNamePattern);
    ClipNameWords words{text(d->config, eParam_ClipBaseName), number(d->config, eParam_TakeNumber),
                        text(d->config, eParam_ReelNumber), d->environment.clock->wallTime()};
    name = clipNameFromPattern(pattern, words);
    if (folder.empty()) return -1;

    std::set<std::string> taken;
    if (existing)
        for (const Clip &clip : *existing)
            taken.insert(clip.getName());
    const bool countsTakes = patternCountsTakes(pattern);
    const bool goesOn = countsTakes && number(d->config, eParam_AutomaticTake) != 0;
    // Shared with the helper thread, which may outlive this call.
    struct Search
    {
        ClipNameWords words;
        unsigned end = 0;
        unsigned take = 0;
    };
    const auto search = std::make_shared<Search>(Search{words, words.take + (goesOn ? takesTried : 1), 0});
    const std::string free = firstFree(folder, [search, pattern, taken]() -> std::string {
        while (search->words.take < search->end) {
            search->take = search->words.take;
            std::string candidate = clipNameFromPattern(pattern, search->words);
            ++search->words.take;
            if (!taken.contains(candidate)) return candidate;
        }
        return {};
    });
    if (free.empty()) return -1;
    name = free;
    if (countsTakes) d->takeGiven = search->take;
    return 0;
}

void ClipFinder::incrementTakeIfAppropriate()
{
    if (!d->config || d->takeGiven == 0 || number(d->config, eParam_AutomaticTake) == 0) return;
    const ParamDescriptor *take = d->config->descriptor(eParam_TakeNumber);
    const unsigned next = d->takeGiven >= take->maximum() ? take->minimum() : d->takeGiven + 1;
    d->config->setUInt(eParam_TakeNumber, next);
    d->takeGiven = 0;
}

/// Where the recorder would go on with a take.
QString ClipFinder::clipAfter(const QString &path)
{
    const std::string folder = text(d->config, eParam_RolloverMediaPath);
    const QFileInfo clip(path);
    if (number(d->config, eParam_RolloverEnabled) == 0 || clip.path().toLocal8Bit().toStdString() == folder)
        return {};
    std::string current = clip.fileName().toLocal8Bit().toStdString();
    std::string next = d->next.follows(folder, current) ? d->next.name : std::string();
    if (next.empty() && getClipNameWithIncrementedRolloverIndex(current, next)) return {};
    return QString::fromLocal8Bit(folder + "/" + next);
}

bool ClipFinder::getClipNameWithIncrementedRolloverIndex(std::string &current, std::string &next)
{
    if (!d->config || current.empty()) return true;
    const std::string folder = text(d->config, eParam_RolloverMediaPath);
    if (folder.empty()) return true;
    struct Search
    {
        std::string name;
        int left = rolloverIndicesTried;
    };
    const auto search = std::make_shared<Search>(Search{current});
    std::string free = firstFree(folder, [search]() -> std::string {
        if (search->left-- == 0) return {};
        search->name = clipNameWithNextRolloverIndex(search->name);
        return search->name;
    });
    // The clip may be being opened ahead, and the medium too busy with that to be asked.
    if (free.empty() && d->next.follows(folder, current)) free = d->next.name;
    if (free.empty()) return true;
    d->next = {folder, current, free};
    next = free;
    return false;
}

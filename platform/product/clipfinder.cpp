// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/clipfinder.h"

#include "platform/product/clipcache.h"
#include "platform/product/clipnames.h"
#include "platform/product/clipscan.h"
#include "platform/product/givenclips.h"
#include "platform/product/mediumhelper.h"
#include "platform/product/sharedclipsource.h"
#include "platform/qmx/core/qmxrecordtable.h"
#include "platform/store/config.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <functional>
#include <map>
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
        .answer<std::string>(folder,
                             [files, folder, next] {
                                 for (std::string name = next(); !name.empty(); name = next()) {
                                     struct stat64 info
                                     {};
                                     const QString path = QString::fromLocal8Bit(folder + "/" + name);
                                     if (files->stat(path, &info) != 0 && errno == ENOENT) return name;
                                 }
                                 return std::string();
                             })
        .value_or(std::string());
}

} // namespace

class ClipFinder::Private
{
public:
    explicit Private(Config *store) : config(store) {}

    void list(const std::string &folder, std::chrono::milliseconds wait = MediumHelper::limit);
    std::optional<std::vector<Clip>> sharedPlayList(const std::string &folder, const std::string &names);

    const QmxEnvironment environment = QmxEnvironment::current();
    Config *const config;
    // By folder, each for its helper thread.
    std::map<std::string, std::shared_ptr<ClipSource>> sources;
    std::map<std::string, std::shared_ptr<ClipCache>> playListCaches;
    std::string folder;      ///< that was listed last
    std::vector<Clip> clips; ///< of the last listing, in the order of recording
    unsigned takeGiven = 0;  ///< in the name given last; 0: no take in it
};

/// Brings `clips` up to date. Clips that were there keep their order, new ones come last: a list that is
/// played must not change its order because a clock was set.
void ClipFinder::Private::list(const std::string &path, std::chrono::milliseconds wait)
{
    using Listing = std::optional<std::vector<Clip>>;
    if (path != folder) clips.clear();
    folder = path;
    std::shared_ptr<ClipSource> &medium = sources[path];
    if (!medium) medium = std::make_shared<SharedClipSource>(environment);
    auto answer = MediumHelper::instance().answer<Listing>(
        path, [source = medium, path] { return source->clips(path); }, wait);
    if (!answer) return;
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
    GivenClips::instance().clear();
    std::list<Clip> result(listed->begin(), listed->end());
    if (!sorted && !playListOnly)
        result.sort([](const Clip &a, const Clip &b) { return a.getName() < b.getName(); });
    if (playableOnly) result.remove_if([](const Clip &clip) { return clip.getFrameCount() <= 0; });
    return result;
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
    const std::string free = firstFree(folder, [search]() -> std::string {
        if (search->left-- == 0) return {};
        search->name = clipNameWithNextRolloverIndex(search->name);
        return search->name;
    });
    if (free.empty()) return true;
    next = free;
    return false;
}

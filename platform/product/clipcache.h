// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/product/cliplisting.h"
#include "platform/product/sharedmutex.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The lists of clips that the media daemon keeps for everybody, in shared memory.
///
/// The segment has room for two states: one is read, the next one is written into the other and becomes the
/// current one by a single word, all under the mutex. So whoever dies at any moment leaves a whole state
/// behind; each carries a checksum all the same. A segment of another form is made anew. One thread at a
/// time; nothing blocks longer than the given wait.
class ClipCache
{
public:
    enum Kind {
        AllClips, ///< QmxPlaces::clipList
        PlayList  ///< QmxPlaces::playList
    };
    static constexpr std::chrono::milliseconds readLimit{5};
    static constexpr std::chrono::milliseconds publishLimit{100};

    explicit ClipCache(Kind kind);
    /// What this object has published is not given out any more.
    ~ClipCache();
    ClipCache(const ClipCache &) = delete;
    ClipCache &operator=(const ClipCache &) = delete;

    /// Makes `listings` the state that all others read. One process publishes. False with a sentence in
    /// `error` (may be null) when it could not; then the state before stays.
    bool publish(const std::vector<ClipListing> &listings, std::string *error = nullptr,
                 std::chrono::milliseconds wait = publishLimit);
    /// What is published about a folder. Nothing when nobody publishes (the process has ended) or the segment
    /// is no good. While the mutex cannot be had in time it is the last copy.
    std::optional<ClipListing> listing(const std::string &folder, std::chrono::milliseconds wait = readLimit);

private:
    struct Names
    {
        std::string segment;
        std::string mutex;
        std::size_t size;
    };
    class Segment;
    static Names namesOf(Kind kind);
    bool attach();
    bool update(std::chrono::milliseconds wait);

    const Names _names;
    std::unique_ptr<SharedMutex> _mutex;
    std::unique_ptr<Segment> _segment;
    quint64 _generation = 0;            ///< of the copy
    std::vector<ClipListing> _listings; ///< the last copy
    bool _publishes = false;
};

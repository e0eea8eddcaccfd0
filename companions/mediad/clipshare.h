// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/mediad/medium.h"
#include "platform/product/clipcache.h"
#include "platform/qmx/core/qmxenvironment.h"

#include <QObject>

#include <functional>
#include <map>
#include <memory>
#include <string>

class MediumClipSource;

/// Keeps the shared lists of clips as the media are: a medium whose clips have changed is listed anew, on the
/// thread that `run` gives the work to, and published when it comes back.
///
/// Threads: all members on the event loop.
class ClipShare : public QObject
{
    Q_OBJECT

public:
    /// Gives a job to the thread of a medium; false when that has too much to do already.
    using Run = std::function<bool(const std::string &medium, std::function<void()> job)>;

    ClipShare(const QmxEnvironment &environment, Run run, QObject *parent = nullptr);
    ~ClipShare() override;

    /// Looks for what has changed: media (those that have gone are forgotten), the active one, the play list
    /// (names, a line each).
    void follow(const std::vector<Medium> &media, const std::string &active, const std::string &playList);

private:
    struct Shared
    {
        std::uint64_t mount = 0;
        std::uint64_t clips = 0; ///< as Medium::clips when it was listed
        bool underWay = false;
        qint64 again = 0; ///< when to list once more; 0: when the clips change
        ClipListing listing;
        std::shared_ptr<MediumClipSource> source; ///< only on the medium's thread
    };

    void list(const std::string &path, Shared &medium, std::uint64_t clips);
    void listed(const std::string &path, std::uint64_t mount, const std::optional<ClipListing> &listing);
    void publish();

    const QmxEnvironment _environment;
    const Run _run;
    ClipCache _allClips{ClipCache::AllClips};
    ClipCache _listedClips{ClipCache::PlayList};
    std::map<std::string, Shared> _media; ///< by path
    std::string _active;
    std::string _playList;
};

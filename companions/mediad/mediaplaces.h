// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/mediad/mediumlook.h"
#include "platform/qmx/core/qmxenvironment.h"

#include <QFile>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

class QmxTaskThread;

/// The media that are mounted now: what was seen of each last, and the threads that work on it.
///
/// Threads: each medium is asked on its helper thread (MediumHelper), and has two of its own: "media-work"
/// for what must happen, "media-pictures" for pictures of its clips. Whoever hangs there with his medium is
/// left behind. All members: the event loop.
class MediaPlaces
{
public:
    explicit MediaPlaces(const QmxEnvironment &environment);
    ~MediaPlaces();

    /// The descriptor on which the kernel reports a changed mount table as an exceptional condition; -1: it
    /// cannot be read, and no media are found.
    int mountTable() const { return _mountTable.isOpen() ? _mountTable.handle() : -1; }
    /// What is seen of them. Waits at most as long as MediumHelper does for each; `isFirst`: longer.
    std::vector<Medium> look(bool isFirst);
    /// The next look reads the clips of all, too, which it else does once a second.
    void listAgain() { _listedAt = 0; }

    /// What was seen of one last, and when its clips began to be read.
    struct Seen
    {
        Medium medium;
        qint64 since = 0;
    };
    std::optional<Seen> seen(const std::string &path) const;

    /// Queues work on a medium; false when it has gone or has too much to do.
    bool work(const std::string &path, std::function<void()> job);
    /// Pictures of clips are made while nothing is recorded; what a take has interrupted begins again after
    /// it.
    void makePictures(bool isRecording);

private:
    struct Place;

    std::vector<Mount> mounts();
    void lookAt(Place &place, const Mount &mount, bool list, bool isFirst);

    const QmxEnvironment _environment;
    QFile _mountTable;
    std::map<std::string, std::unique_ptr<Place>> _places; ///< by path
    qint64 _listedAt = 0;
    /// Asked by the threads of the media, which may outlive this object.
    const std::shared_ptr<std::atomic<bool>> _recording = std::make_shared<std::atomic<bool>>(false);
};

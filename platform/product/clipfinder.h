// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/product/clip.h"

#include <QString>

#include <list>
#include <memory>
#include <string>

class Config;

/// Lists the clips of the active medium and names new ones.
///
/// Which medium, which play list and how clips are named is read from the configuration store. Called from
/// one thread (the event loop's). What has to be asked of the medium runs on helper threads; a call waits
/// for them at most 100 ms in all and then goes on with what it knew last.
class ClipFinder
{
public:
    /// Takes a first look at the active medium, at most 2 s: make it before the event loop turns. Without a
    /// configuration store nothing is found and no name is free.
    explicit ClipFinder(Config *config);
    ~ClipFinder();
    ClipFinder(const ClipFinder &) = delete;
    ClipFinder &operator=(const ClipFinder &) = delete;

    /// Clips of the active medium. What this process records is not listed;
    /// what another one records is, not closed, with the frames it has now. `playableOnly` leaves out what
    /// has no frames; `playListOnly` gives the clips of the play list in its order, a clip as often as it
    /// stands there; `sorted` puts the others in the order of recording, the newest last, else by name.
    std::list<Clip> findClips(bool playableOnly, bool playListOnly, bool sorted);
    /// False: the active medium has not answered yet, and findClips() does not know what is on it.
    bool knowsMedium() const;
    /// Name of the next new clip. -1: that name is taken on the medium or by `existing` (may be null);
    /// `name` is filled in either way. With automatic takes the next free take is chosen.
    int buildClipName(std::string &name, std::list<Clip> *existing);
    /// After each name that was given: the next clip gets the next take.
    void incrementTakeIfAppropriate();
    /// Name under which `current` continues on the rollover medium. TRUE IS FAILURE.
    bool getClipNameWithIncrementedRolloverIndex(std::string &current, std::string &next);

private:
    QString clipAfter(const QString &path);
    class Private;
    std::unique_ptr<Private> d;
};

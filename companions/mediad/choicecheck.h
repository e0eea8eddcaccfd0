// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/mediad/mediamachine.h"

#include <map>
#include <mutex>

/// Judges what any program has written of clips that are to be played: a clip, a place in the list, a list.
/// The transport passes over what is not there; this makes an alarm of it. Our own programs refuse such words
/// before they write them, so this is for those that have written to the store themselves.
///
/// No clock and no files. note() from any thread, step() from one.
class ChoiceCheck
{
public:
    struct Choice
    {
        std::string text;
        unsigned number = 0;
        std::int64_t since = 0; ///< when it was written
    };

    /// Whether a parameter is one of those that are judged.
    static bool isChoice(eParam_t id);
    /// The newest one of each parameter counts.
    void note(eParam_t id, const Choice &choice);
    /// What is to be written now. `active`: the active medium, null when there is none; `listedSince`: when
    /// its newest listing was begun, since a clip may have come a moment before it was named.
    std::vector<MediaWrite> step(std::int64_t now, const Medium *active, std::int64_t listedSince,
                                 const MediaParameters &is, const std::string &playList, bool takeBegun);

private:
    std::mutex _mutex;
    std::map<eParam_t, Choice> _choices; ///< not judged yet; under _mutex
    bool _told = false;
};

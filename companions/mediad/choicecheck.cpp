// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/choicecheck.h"

#include "platform/qmx/clip/qmxclippart.h"
#include "platform/store/eparammedia.h"
#include "platform/store/paramdescriptor.h"

#include <algorithm>
#include <sstream>

namespace {

/// A medium that has not been listed for so long will not tell any more.
constexpr std::int64_t longestWait = 5'000'000'000;

bool isThere(const Medium &medium, const std::string &name)
{
    const auto part = QmxClipPart::fromText(QString::fromStdString(name));
    if (!part) return false;
    const std::string clip = part->clip.toStdString();
    const auto in = [&clip](const std::vector<std::string> &names) {
        return std::find(names.begin(), names.end(), clip) != names.end();
    };
    return medium.holds(clip) || in(medium.recorded) || in(medium.growing);
}

std::vector<std::string> linesOf(const std::string &text)
{
    std::vector<std::string> lines;
    std::istringstream all(text);
    for (std::string line; std::getline(all, line);)
        if (!line.empty()) lines.push_back(line);
    return lines;
}

std::string whyNoClip(const Medium &medium, const std::string &name)
{
    if (name.empty() || name == noClip || isThere(medium, name)) return {};
    return "there is no clip " + name + " on " + medium.path + "; `xpctl clips` lists those there are";
}

bool isOfTake(const std::string &clip, const std::string &take)
{
    return !take.empty() && clip.substr(0, clip.rfind('.')) == take;
}

std::string whyNoPlace(const Medium &medium, unsigned place, const MediaParameters &is,
                       const std::string &playList)
{
    const bool isList = is.playbackSource == PlaybackSource::PlayList;
    const std::size_t count = isList ? linesOf(playList).size()
                                     : medium.names.size() + medium.recorded.size() + medium.growing.size();
    if (place < count) return {};
    return "there is no clip " + std::to_string(place) + " in the list" +
           (count > 0 ? "; places go from 0 to " + std::to_string(count - 1) : ", which is empty");
}

} // namespace

bool ChoiceCheck::isChoice(eParam_t id)
{
    return id == eParam_GoToClipName || id == eParam_GoToClipIndex || id == eParam_CurrentClip ||
           id == eParam_PlayList;
}

void ChoiceCheck::note(eParam_t id, const Choice &choice)
{
    const std::lock_guard lock(_mutex);
    _choices[id] = choice;
}

std::vector<MediaWrite> ChoiceCheck::step(std::int64_t now, const Medium *active, std::int64_t listedSince,
                                          const MediaParameters &is, const std::string &playList,
                                          bool takeBegun)
{
    std::map<eParam_t, Choice> due;
    {
        const std::lock_guard lock(_mutex);
        std::erase_if(_choices, [&](const auto &entry) {
            const bool isSeen = active && listedSince >= entry.second.since;
            if (isSeen) due.insert(entry);
            return isSeen || now - entry.second.since > longestWait;
        });
    }
    std::string why;
    bool isGood = takeBegun;
    for (const auto &[id, choice] : due) {
        std::string wrong;
        // The transport names the clip of a take, before that is there and although it may never be.
        const bool isOfTransport =
            id == eParam_CurrentClip && (is.status == TransportStatus::Recording ||
                                         choice.text != is.currentClip || isOfTake(choice.text, is.lastTake));
        if (id == eParam_GoToClipIndex)
            wrong = whyNoPlace(*active, choice.number, is, playList);
        else if (!isOfTransport)
            for (const std::string &name : linesOf(choice.text))
                if (wrong.empty()) wrong = whyNoClip(*active, name);
        if (!wrong.empty())
            why = GetDescriptor(id)->name() + " was written with what cannot be played: " + wrong;
        else if (!isOfTransport)
            isGood = true;
    }
    if (!why.empty()) {
        _told = true;
        return {{eParam_AlarmChoiceRefused, MediaWrite::RaiseAlarm, 0, why}};
    }
    if (!_told || !isGood) return {};
    _told = false;
    return {{eParam_AlarmChoiceRefused, MediaWrite::ClearAlarm, 0, {}}};
}

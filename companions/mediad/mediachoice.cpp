// SPDX-License-Identifier: GPL-3.0-or-later
// Which medium is active and which one comes next.
#include "companions/mediad/mediamachine.h"
#include "companions/mediad/mediastep.h"

namespace {

/// The best medium with more than `level` percent free, other than `except` and `mirror`: the one with the
/// current clip, else the first behind `except` in the order of paths. Null: none.
const Medium *bestOf(const std::vector<Medium> &media, double level, const std::string &except,
                     const Medium *mirror = nullptr, const std::string &currentClip = {})
{
    const Medium *first = nullptr;
    const Medium *behind = nullptr;
    for (const Medium &medium : media) {
        if (medium.path == except || &medium == mirror || !medium.writable || medium.percentFree <= level) {
            continue;
        }
        if (!currentClip.empty() && medium.holds(currentClip)) {
            return &medium;
        }
        if (!first) {
            first = &medium;
        }
        if (!behind && medium.path > except) {
            behind = &medium;
        }
    }
    return behind ? behind : first;
}

const Medium *bestToRecord(const std::vector<Medium> &media, const std::string &except,
                           const std::string &currentClip = {})
{
    const Medium *best = bestOf(media, MediumLevel::target, except, nullptr, currentClip);
    return best ? best : bestOf(media, MediumLevel::full, except, nullptr, currentClip);
}

} // namespace

/// Somebody has chosen a medium that cannot be had, whatever program he used: he is told, and a take keeps
/// its own.
void MediaMachine::refuseChoice(Step &step)
{
    const MediaParameters &is = step.is;
    const bool isNewTake = step.recording() && !_recordingBefore;
    _recordingBefore = step.recording();
    std::string why;
    if (step.events.activeSet && step.recording() && !_answerSince && is.active != _active &&
        step.mediumOf(_active)) {
        why = is.active + " was not made the active medium: a take is being recorded on " + _active;
        step.setActive(_active);
    } else if (step.events.activeSet && !is.active.empty() && isManaged(is.active) &&
               !step.mediumOf(is.active)) {
        why = is.active + " was not made the active medium: no medium is mounted there";
        if (step.mediumOf(_active)) step.setActive(_active);
    }
    // (One that this program has chosen and that has gone since is exchanged without a word.)
    const bool isRolloverChosen = step.events.rolloverSet && is.rollover != _rollover;
    if (isRolloverChosen && why.empty() && !is.rollover.empty() && isManaged(is.rollover)) {
        const Medium *medium = step.mediumOf(is.rollover);
        if (!medium)
            why = is.rollover + " was not made the next medium: no medium is mounted there";
        else if (medium == step.mediumOf(is.active))
            why = is.rollover + " was not made the next medium: it is the one that is recorded on";
        if (!why.empty() && step.mediumOf(_rollover)) step.setRollover(_rollover);
    }
    if (!why.empty())
        step.orders.writes.push_back({eParam_AlarmMediumRefused, MediaWrite::RaiseAlarm, 0, why});
    else if (_choiceRefused && (step.events.activeSet || isRolloverChosen || isNewTake))
        step.orders.writes.push_back({eParam_AlarmMediumRefused, MediaWrite::ClearAlarm, 0, {}});
    else
        return;
    _choiceRefused = !why.empty();
}

void MediaMachine::chooseActive(Step &step)
{
    const MediaParameters &is = step.is;
    if (!isManaged(is.active)) {
        return;
    }
    const Medium *active = is.active.empty() ? nullptr : step.mediumOf(is.active);
    const bool isFull = active && active->percentFree <= MediumLevel::full;
    if (step.events.activeSet) {
        _chosenFull = isFull ? is.active : std::string();
    }
    if (active) {
        // No take can begin on it, so it makes room for one that can be recorded on, unless somebody has
        // asked for it as it is, to play its clips.
        const bool makesRoom = isFull && mediaAreFree(step) && _chosenFull != is.active;
        // One that holds no second copies; else a take on one medium is better than none.
        const Medium *other =
            makesRoom ? bestOf(step.media, MediumLevel::target, active->path, step.mirror()) : nullptr;
        if (makesRoom && !other) {
            other = bestToRecord(step.media, active->path);
        }
        if (other) {
            moveActive(step, other->path);
        }
        return;
    }
    // Gone, or never there. A take on it ends by itself; what comes after is chosen then.
    const Medium *next = nullptr;
    if (!step.recording()) {
        next = bestToRecord(step.media, {}, is.currentClip);
        if (!next && !step.media.empty()) {
            next = &step.media.front(); // to play from
        }
    }
    if (next) {
        moveActive(step, next->path);
    } else if (!is.active.empty()) {
        step.setActive({});
    }
}

/// A clip that is not on the new medium cannot be the current one there.
void MediaMachine::moveActive(Step &step, const std::string &path)
{
    const Medium *medium = step.mediumOf(path);
    const std::string &clip = step.is.currentClip;
    const bool isThere = clip.empty() || clip == noClip || (medium && medium->holds(clip));
    if (!isThere && !step.recording()) {
        step.is.currentClip = noClip;
        step.write(eParam_CurrentClip, std::string(noClip));
    }
    step.setActive(path);
}

/// The second copy of the next clip needs room of its own. Whatever is chosen, the two copies are apart.
void MediaMachine::chooseMirror(Step &step)
{
    const MediaParameters &is = step.is;
    const Medium *mirror = step.mirror();
    const Medium *active = step.mediumOf(is.active);
    if (!mirror || !active || mirror == active || !isManaged(is.mirror) ||
        mirror->percentFree > MediumLevel::full) {
        return;
    }
    const Medium *next = nullptr;
    for (const Medium &medium : step.media) {
        const bool fits = &medium != mirror && &medium != active && medium.writable &&
                          medium.percentFree > MediumLevel::target;
        if (!fits || (_frozen && medium.path == is.rollover)) {
            continue;
        }
        // Where a take is to go on is the last choice: nothing else may be left for it.
        if (!next || next->path == is.rollover) {
            next = &medium;
        }
    }
    if (next) {
        step.setMirror(next->path);
    }
}

void MediaMachine::chooseRollover(Step &step)
{
    const MediaParameters &is = step.is;
    if (_frozen || !isManaged(is.rollover)) {
        return;
    }
    const Medium *active = step.mediumOf(is.active);
    const Medium *now = is.rollover.empty() ? nullptr : step.mediumOf(is.rollover);
    const std::string activePath = active ? active->path : std::string();
    const Medium *mirror = step.mirror();
    if (now && now != active && now != mirror && now->writable && now->percentFree > MediumLevel::target) {
        return;
    }
    const Medium *next = active ? bestOf(step.media, MediumLevel::target, activePath, mirror) : nullptr;
    // A take that goes on on one medium alone is better than none. Not before it has to: till then both
    // copies have a medium of their own, and another may still come.
    const bool endsSoon = active && active->percentFree <= MediumLevel::target;
    if (!next && endsSoon && mirror && mirror != active && mirror->writable &&
        mirror->percentFree > MediumLevel::target)
        next = mirror;
    const std::string path = next ? next->path : std::string();
    if (path != is.rollover) {
        step.setRollover(path);
    }
}

void MediaMachine::chooseLabel(Step &step)
{
    const Medium *active = step.mediumOf(step.is.active);
    const std::string label = active ? active->label : std::string();
    if (label != step.is.label && isManaged(step.is.active)) {
        step.is.label = label;
        step.write(eParam_MediaLabel, label);
    }
}

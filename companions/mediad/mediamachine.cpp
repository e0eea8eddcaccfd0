// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/mediamachine.h"

#include "companions/mediad/mediastep.h"

#include <algorithm>

namespace {

constexpr std::int64_t nsPerMillisecond = 1'000'000;
/// Stopped for so long, the transport has let go of the media whatever it says of them.
constexpr std::int64_t freeAfter = 2000 * nsPerMillisecond;
/// The transport says "still" for an instant before it plays.
constexpr std::int64_t stillIsSure = 1000 * nsPerMillisecond;
/// The transport waits for the answer to a rollover, but not for long.
constexpr std::int64_t answerTime = 800 * nsPerMillisecond;
/// A medium that could not be written a moment ago may be well again.
constexpr std::int64_t repairAgain = 5000 * nsPerMillisecond;
/// A command shows in the status after so long, or not at all.
constexpr std::int64_t commandIsSlow = 2000 * nsPerMillisecond;

} // namespace

MediaMachine::MediaMachine(std::string root) : _root(std::move(root)) {}

MediaOrders MediaMachine::step(std::int64_t now, const std::vector<Medium> &media,
                               const MediaParameters &parameters, const MediaEvents &events)
{
    Step step{now, media, parameters, events, {}};
    recorderGone(step);
    lookAtTakes(step);
    followTransport(step);
    noteMounts(step);
    followTake(step);
    answerRollover(step);
    refuseChoice(step);
    chooseActive(step);
    chooseMirror(step);
    chooseRollover(step);
    chooseLabel(step);
    followClips(step);
    tellUpdated(step);
    _first = false;
    _active = step.is.active;
    _rollover = step.is.rollover;
    return std::move(step.orders);
}

bool MediaMachine::isManaged(const std::string &path) const
{
    return path.empty() || path.starts_with(_root + "/");
}

void MediaMachine::couldNotRepair(std::int64_t now, const std::string &path)
{
    _lookAgain[path] = now + repairAgain;
}

/// What a take has left is looked at when its clip is let go of: a close that failed leaves it unfinished.
void MediaMachine::lookAtTakes(Step &step)
{
    for (const Medium &medium : step.media) {
        if (medium.beingRecorded) {
            _recordedOn.insert(medium.path);
        } else if (!step.recording() && _recordedOn.erase(medium.path) > 0) {
            _lookAgain.emplace(medium.path, step.now);
        }
        const auto due = _lookAgain.find(medium.path);
        if (due != _lookAgain.end() && due->second <= step.now) {
            _repairs.push_back(medium.path);
            _lookAgain.erase(due);
        }
    }
}

/// A recorder that was killed has told nobody.
void MediaMachine::recorderGone(Step &step)
{
    MediaParameters &is = step.is;
    // One that is back before anybody has looked has the lock, but is another one.
    const bool replaced = is.recorder > 0 && _recorder > 0 && is.recorder != _recorder;
    if (is.recorder > 0) {
        _recorder = is.recorder;
    }
    if (replaced) {
        for (const Medium &medium : step.media) {
            _repairs.push_back(medium.path);
        }
    }
    const bool saysGone =
        is.status == TransportStatus::ShutDown && !is.running && is.storage != StorageState::InUse;
    if (is.daemonRuns || saysGone) {
        return;
    }
    is.storage = StorageState::Released;
    is.running = false;
    is.status = TransportStatus::ShutDown;
    step.write(eParam_StorageState, is.storage);
    step.write(eParam_TransportRunning, 0u);
    step.write(eParam_TransportStatus, is.status);
    for (const Medium &medium : step.media) {
        _repairs.push_back(medium.path);
    }
}

void MediaMachine::followTransport(Step &step)
{
    if (_first || step.is.status != _status) {
        _status = step.is.status;
        _statusSince = step.now;
        _commandPending = false;
    }
    if (step.events.playCommands > 0) {
        _commandPending = true;
        _commandAt = step.now;
    }
    if (_commandPending && step.now - _commandAt >= commandIsSlow) {
        _commandPending = false;
    }
}

bool MediaMachine::mediaAreFree(const Step &step) const
{
    if (!step.is.daemonRuns) {
        return true;
    }
    return step.is.status == TransportStatus::Stopped &&
           (step.is.storage != StorageState::InUse || step.now - _statusSince >= freeAfter);
}

/// New media are looked at and repaired; a medium that is being recorded on has better things to do.
void MediaMachine::noteMounts(Step &step)
{
    std::map<std::string, std::uint64_t> mounts;
    bool anyNew = false;
    for (const Medium &medium : step.media) {
        mounts[medium.path] = medium.mount;
        const auto known = _mounts.find(medium.path);
        if (known == _mounts.end() || known->second != medium.mount) {
            _repairs.push_back(medium.path);
            anyNew = true;
        }
    }
    if (anyNew && !_first) {
        step.write(eParam_MediaLoading, 1u);
    }
    // The active medium was away between two looks: the transport must hear it, or it would go on with what
    // it knows of the other one.
    const Medium *active = step.mediumOf(step.is.active);
    if (active && !_first && _mounts.contains(active->path) && _mounts[active->path] != active->mount) {
        const std::string path = step.is.active;
        step.setActive({});
        moveActive(step, path);
    }
    _mounts = std::move(mounts);

    const auto ordered = std::partition(_repairs.begin(), _repairs.end(), [&step](const std::string &path) {
        const Medium *medium = step.mediumOf(path);
        return step.recording() && medium && (medium->beingRecorded || medium->path == step.is.active);
    });
    step.orders.repairs.assign(ordered, _repairs.end());
    _repairs.erase(ordered, _repairs.end());
}

void MediaMachine::followTake(Step &step)
{
    const bool recording = step.recording();
    const Medium *active = step.mediumOf(step.is.active);
    if (recording && !_recording) {
        _lowest = 100;
        _commanded = false;
        _chosenFull.clear();
        if (!_first) {
            step.orders.writes.push_back({eParam_AlarmMediaFull, MediaWrite::ClearAlarm, 0, {}});
        }
    }
    if (_recording) {
        _commanded = _commanded || step.events.commands > 0;
    }
    if ((recording || _recording) && active && step.events.rolloversDone == 0) {
        _lowest = std::min(_lowest, active->percentFree);
    }
    if (_recording && !recording && step.is.daemonRuns) {
        mediumFull(step);
    }
    _recording = recording;

    // From here on the transport may start a rollover at any moment; it is over with its notice, or with the
    // media when the take has ended without one.
    // Begun in the middle of a take, one cannot know: the medium that is left has more room again.
    const bool mayBeSwitching = _first && !step.is.rollover.empty() && active &&
                                (active->percentFree <= MediumLevel::target || !active->beingRecorded);
    if (recording && active && (active->percentFree <= freezeLevel || mayBeSwitching)) {
        _frozen = true;
    } else if (!recording && step.is.storage != StorageState::InUse) {
        _frozen = false;
    }
}

/// A take has ended; tells whether it was for want of room.
void MediaMachine::mediumFull(Step &step)
{
    const double limit = step.is.rolloverEnabled ? MediumLevel::stop : MediumLevel::full;
    // The closed clip gives back what was allocated ahead, and the transport measures at moments of its own:
    // a percent more is believed when nobody has ended the take.
    constexpr double tolerance = 1;
    if (_lowest > limit + (_commanded ? 0 : tolerance)) {
        return;
    }
    step.orders.writes.push_back({eParam_AlarmMediaFull, MediaWrite::RaiseAlarm, 0,
                                  "The recording has ended because " + step.is.active +
                                      " is full; record on another medium or delete clips"});
}

/// The transport has swapped the media itself; the store follows in the order that it waits for.
void MediaMachine::answerRollover(Step &step)
{
    const MediaParameters &is = step.is;
    const Medium *target = step.mediumOf(is.rollover);
    const Medium *active = step.mediumOf(is.active);
    // The notice came while no media daemon was running, or one died in the middle of its answer: the take
    // already goes on on the other medium.
    const bool missed = _first && step.recording() && is.storage == StorageState::RolloverDone && target &&
                        target->beingRecorded && !(active && active != target && active->beingRecorded);
    if ((step.events.rolloversDone > 0 || missed) && !_answerSince) {
        _answerSince = step.now;
    }
    if (!_answerSince || is.rollover.empty()) {
        _answerSince.reset();
        return;
    }
    const bool isGood = target && (target->writable || target->beingRecorded);
    // A medium that looks bad may only be slow to answer. If the second clip could not be opened the take
    // ends at once; if it goes on, it does so there.
    if (!isGood && step.recording() && step.now - *_answerSince < answerTime) {
        return;
    }
    _answerSince.reset();
    step.setActive(isGood || step.recording() ? is.rollover : is.active);
    step.setRollover({});
    _frozen = false;
    _lowest = 100;
    _due = Due::List;
    tellUpdated(step);
    if (const Medium *now = step.mediumOf(is.active)) {
        _listedPath = is.active;
        _listed = now->clips;
    }
}

/// Compares the clips of the active medium with those that the transport knows.
void MediaMachine::followClips(Step &step)
{
    const Medium *active = step.mediumOf(step.is.active);
    if (!active) {
        _listedPath.clear();
        return;
    }
    if (step.events.listingWanted) {
        _due = Due::List;
    }
    if (_listedPath == step.is.active && _listed != active->clips) {
        _due = Due::List;
    }
    // A new path alone makes the transport list its clips.
    _listedPath = step.is.active;
    _listed = active->clips;
}

/// "Media updated" ends a running playback, so it waits until none runs.
void MediaMachine::tellUpdated(Step &step)
{
    if (!step.is.daemonRuns) {
        _due = Due::Nothing; // it lists the clips when it starts
    }
    const bool isStill = step.is.status == TransportStatus::Still && !_commandPending &&
                         step.now - _statusSince >= stillIsSure;
    // Until the clip of an ended take is closed a listing would lack it.
    const Medium *active = step.mediumOf(step.is.active);
    const bool isClosing = active && active->beingRecorded;
    const bool isStopped = step.is.status == TransportStatus::Stopped && !_commandPending && !isClosing;
    const bool allowed = _due == Due::List ? isStopped || isStill || step.recording() : isStopped;
    if (_due == Due::Nothing || !allowed) {
        return;
    }
    step.write(eParam_MediaUpdated, 1u);
    _due = Due::Nothing;
}

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/mediad/medium.h"
#include "platform/store/eparam.h"
#include "platform/store/values.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

/// Parameters of the store at one moment, and whether the recorder's lock is held.
struct MediaParameters
{
    bool daemonRuns = false;
    int recorder = 0; ///< process id of the one that holds the lock; not above 0: not known
    TransportStatus status = TransportStatus::ShutDown;
    StorageState storage = StorageState::Unknown;
    bool running = false;
    bool rolloverEnabled = false;
    std::string active;
    std::string rollover;
    std::string mirror; ///< folder that takes are written to as well; empty: none
    std::string label;
    std::string currentClip;
    std::string lastTake; ///< name of the clip that was begun last, without its ending
    PlaybackSource playbackSource = PlaybackSource::CurrentClip;
};

/// What other programs have written since the step before.
struct MediaEvents
{
    int rolloversDone = 0;      ///< the transport has changed media in a take
    int commands = 0;           ///< commands that end a take (all but record)
    int playCommands = 0;       ///< of them those after which a playback may run (all but stop)
    bool activeSet = false;     ///< somebody has chosen the active medium
    bool listingWanted = false; ///< the transport has missed a listing
    bool takeBegun = false;
    bool rolloverSet = false; ///< somebody has chosen the medium that comes next
};

/// One write to the store.
struct MediaWrite
{
    enum Kind { Number, Text, RaiseAlarm, ClearAlarm };

    eParam_t id{};
    Kind kind = Number;
    unsigned number = 0;
    std::string text;

    friend bool operator==(const MediaWrite &, const MediaWrite &) = default;
};

/// What is to be done now.
struct MediaOrders
{
    std::vector<MediaWrite> writes; ///< in this order
    std::vector<std::string>
        repairs; ///< media on which clips that nobody records may have been left unfinished
};

/// Decides which medium is active, which one comes next, and what the transport is told about media.
///
/// It has no threads, no clock and no files. step() gets all there is to know and gives what is to be
/// written; it expects that its writes are carried out. One thread.
class MediaMachine
{
public:
    /// Percent free at and below which a rollover may begin any moment: some more than MediumLevel::full.
    static constexpr double freezeLevel = 12;

    /// Media are mounted below `root`; other active paths are somebody's own choice and left alone.
    explicit MediaMachine(std::string root = "/media");

    /// `now` in nanoseconds of a steady clock; `media` in the order of their paths.
    MediaOrders step(std::int64_t now, const std::vector<Medium> &media, const MediaParameters &parameters,
                     const MediaEvents &events);

    /// A clip on this medium could not be repaired: it is looked at once more after a while.
    void couldNotRepair(std::int64_t now, const std::string &path);

private:
    struct Step; ///< one call's view of the world, with its writes applied

    void recorderGone(Step &step);
    void lookAtTakes(Step &step);
    void followTransport(Step &step);
    void followTake(Step &step);
    void mediumFull(Step &step);
    void noteMounts(Step &step);
    void answerRollover(Step &step);
    void refuseChoice(Step &step);
    void chooseActive(Step &step);
    void moveActive(Step &step, const std::string &path);
    void chooseMirror(Step &step);
    void chooseRollover(Step &step);
    void chooseLabel(Step &step);
    void followClips(Step &step);
    void tellUpdated(Step &step);
    bool isManaged(const std::string &path) const;
    bool mediaAreFree(const Step &step) const;

    enum class Due { Nothing, Start, List };

    const std::string _root;
    bool _first = true;
    TransportStatus _status = TransportStatus::None;
    std::int64_t _statusSince = 0;
    std::int64_t _commandAt = 0;
    bool _commandPending = false; ///< a command may not show in the status yet
    int _recorder = 0;            ///< known last
    bool _recording = false;
    std::set<std::string> _recordedOn; ///< media of the take, until what it left has been looked at
    std::map<std::string, std::int64_t> _lookAgain; ///< when, by path
    bool _commanded = false;                        ///< in this take, by a command that ends it
    double _lowest = 100;                           ///< percent free in this take
    bool _frozen = false;                           ///< the transport may be using the rollover path
    std::optional<std::int64_t> _answerSince;       ///< a rollover waits for its answer
    std::string _active;                            ///< active path after the step before
    std::string _rollover;                          ///< the next one, likewise
    bool _recordingBefore = false;                  ///< in the step before
    bool _choiceRefused = false;                    ///< its alarm is up
    std::string _chosenFull;                        ///< somebody wants this medium although it is full
    std::map<std::string, std::uint64_t> _mounts;   ///< by path
    std::vector<std::string> _repairs;              ///< not yet ordered
    std::string _listedPath;                        ///< active path of _listed
    std::uint64_t _listed = 0;                      ///< the clips that the transport knows of
    Due _due = Due::Start;
};

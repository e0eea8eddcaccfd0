// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/mediad/choicecheck.h"
#include "companions/mediad/clipshare.h"
#include "companions/mediad/mediajobs.h"
#include "companions/mediad/mediamachine.h"
#include "companions/mediad/mediaplaces.h"
#include "companions/mediad/mediastore.h"
#include "companions/mediad/mirrorcare.h"
#include "companions/mediad/recordtime.h"
#include "companions/mediad/schedulemachine.h"
#include "companions/mediad/tablecheck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxlockfile.h"
#include "platform/store/configeventlistener.h"

#include <QObject>

#include <atomic>
#include <deque>
#include <memory>
#include <mutex>
#include <set>

class Config;

/// Runs the media machine on the real machine: looks at mount table, media and store, lets it decide, writes.
///
/// Threads: everything runs on the event loop but the listener's calls, which come on the store's thread and
/// only note and wake. Media are looked at and worked on by threads of theirs (MediaPlaces). Orders run on
/// "media-jobs" and "media-orders" (MediaJobs).
class MediaDaemon : public QObject, private ConfigEventListener
{
    Q_OBJECT

public:
    /// Takes the first look, at most 2 s a medium: when it returns, media are chosen. `config` is the access
    /// to the store, a direct one.
    explicit MediaDaemon(std::unique_ptr<Config> config, QObject *parent = nullptr);
    ~MediaDaemon() override;

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    using ConfigEventListener::ParamChanged;
    void ParamChanged(eParam_t id, unsigned value, timeval time) override;
    void ParamChanged(eParam_t id, std::string value, timeval time) override;
    bool DataChanged(eParam_t id, std::string &value, timeval time) override;

    void wake();
    void step();
    MediaParameters parameters();
    MediaEvents events();
    static void log(const MediaWrite &order);
    void repair(const std::string &path);
    void repaired(const std::vector<std::string> &report);
    void tellRepairs();
    RecordSchedule &schedule();
    void followSchedule(const MediaParameters &is, const MediaEvents &happened,
                        std::vector<MediaWrite> &writes);
    void checkChoices(const MediaParameters &is, const MediaEvents &happened,
                      std::vector<MediaWrite> &writes);
    TableCheck::Setting tableSetting();
    bool takeScheduleOrder(const MediaOrder &order);
    void readOrders();
    void takeOrders(const std::vector<Medium> &media, const MediaParameters &is);
    bool mayStillCome(const MediaOrder &order, const MediaParameters &is, qint64 since) const;
    void careForCopies(const std::vector<Medium> &media, const MediaParameters &is, bool takeBegun);
    void orderTold(const MediaOrder &order, const MediaOrderState &state);
    void report(const std::vector<Medium> &media, const MediaParameters &is);

    QmxEnvironment _environment;
    QmxLockFile _recorderLock;
    MediaMachine _machine;
    ChoiceCheck _choices;
    TableCheck _table;
    ScheduleMachine _scheduleMachine;
    RecordSchedule _schedule;
    std::string _scheduleText; ///< as the store has it
    MediaPlaces _media;
    RecordTime _recordTime;
    MediaJobs _jobs;
    ClipShare _clips;
    MirrorCare _copies;
    bool _copyIsLeft = false; ///< one of the last take cannot be completed
    std::string _copiesKept;  ///< as the store has it
    std::string _reported;    ///< as the store has it
    std::string _reportedPaths;
    qint64 _reportedAt = 0;
    std::vector<std::string> _repairs;   ///< since the last take
    std::set<std::string> _repairsKnown; ///< ever told
    bool _repairsTold = true;
    bool _first = true;
    std::atomic<bool> _woken = false;
    std::atomic<int> _rolloversDone = 0;
    std::atomic<int> _commands = 0;
    std::atomic<int> _playCommands = 0;
    std::atomic<bool> _activeSet = false;
    std::atomic<bool> _listingWanted = false;
    std::atomic<bool> _takeBegun = false;
    std::atomic<bool> _rolloverSet = false;
    std::mutex _ordersMutex;
    std::deque<std::string> _orders; ///< as they came
    struct Unread
    {
        std::string text;
        qint64 since = 0; ///< when it was found
    };
    std::deque<Unread> _unread; ///< to be judged by what is seen of the media from then on
    MediaStore _store;          ///< last: it goes first, and with it the listener's calls
};

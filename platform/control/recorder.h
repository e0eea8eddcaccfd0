// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxcounters.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxid.h"
#include "platform/qmx/edges/qmxpreview.h"
#include "platform/store/config.h"
#include "platform/store/values.h"

#include <QList>
#include <QString>

#include <functional>
#include <map>
#include <memory>
#include <optional>

/// The recorder as a companion sees it: parameters of the store, strings and counters in shared memory, the
/// holder of the daemon's lock. One thread.
class Recorder
{
public:
    /// `client` names this program to the store.
    explicit Recorder(const QString &client);
    ~Recorder();
    Recorder(const Recorder &) = delete;
    Recorder &operator=(const Recorder &) = delete;

    /// Empty when the store can be reached, else the sentence for the operator.
    QString storeProblem() const;
    bool hasStore() const { return _config != nullptr; } ///< its address makes sense
    bool daemonIsRunning() const { return daemonPid() != 0; }
    int daemonPid() const; ///< 0: it is not running; see QmxLockFile
    /// The daemon is there, but its video clock has stood still for a second: nothing given to it is done
    /// now.
    bool daemonStandsStill() const;

    Config &config() { return *_config; }
    const QmxEnvironment &environment() const { return _environment; }
    unsigned number(eParam_t id) const; ///< the parameter's default when it was never written
    QString text(eParam_t id) const;
    /// Empty when written, else why not.
    QString write(eParam_t id, unsigned value);
    QString write(eParam_t id, const QString &value);

    template <typename Value>
    Value value(eParam_t id) const
    {
        return Value(number(id));
    }
    TransportStatus status() const { return value<TransportStatus>(eParam_TransportStatus); }
    bool isPlaying() const; ///< forward or reverse, not still
    bool isInPlay() const;  ///< playing or still
    QString statusLabel() const;
    QString clip() const; ///< empty when there is none
    /// Where a path of the recorder's ("/media/A/x.mov") is for this program.
    QString here(const QString &path) const;
    QString timecode() const;
    QString inputTimecode() const;
    /// A counter of the running daemon by name ("recorded_up_to"); 0 when there is none.
    qint64 counter(const char *name) const;
    QList<QmxCountersReader::Counter> counters() const;
    /// What the card says of its input and outputs now, with the meters of the output; no picture. Not given:
    /// it shows nothing.
    std::optional<QmxPreviewPicture> card() const;
    /// Empty while the input has a picture (or the card shows something else), else what the input says of
    /// itself.
    QString inputProblem() const;

    struct Alarm
    {
        eParam_t id{};
        QString name;
        QString level; ///< "information", "warning", "error"
        QString message;
        /// Why nothing can be recorded (QmxIds::noInput ...), of the alarm that says so; else not valid.
        QmxId reason;
    };
    QList<Alarm> alarms() const;
    /// Alarms that are there now and were not in `before`.
    QList<Alarm> newAlarms(const QList<Alarm> &before) const;
    /// One of these that has been raised at or after a timeOfDay(), and still is. One that says the same
    /// words as the last time counts.
    QList<Alarm> raisedSince(qint64 time, eParam_t id) const;
    /// Those of level error.
    QList<Alarm> newErrors(const QList<Alarm> &before) const;

    /// A clip of this name that can be played lies on the active medium.
    bool isClip(const QString &name) const;
    /// Empty, or why a file cannot be played, in a few words: "it is empty". Asks the disk.
    QString whyUnplayable(const QString &path) const;
    /// Why a clip of this name cannot be made the current one.
    QString whyNoClip(const QString &name) const;

    /// True as soon as `holds` does; false after `within` of recorder time, on Ctrl-C, or when the daemon
    /// ends. `again`, if given, is called each `againEvery` until then.
    bool waitFor(const std::function<bool()> &holds, QmxClock::Duration within,
                 const std::function<void()> &again = {}, QmxClock::Duration againEvery = {}) const;
    /// Ctrl-C, or whatever setAbandon() says.
    bool isAbandoned() const;
    /// Asked at every look of a wait: true ends it.
    void setAbandon(std::function<bool()> abandon) { _abandon = std::move(abandon); }
    /// What a write goes through: does `write` and returns its result, or does not and returns why not. None:
    /// writes are done as they come.
    using Write = std::function<QString()>;
    void setTurn(std::function<QString(const Write &write)> turn) { _turn = std::move(turn); }
    static bool wasInterrupted();
    /// Milliseconds since 1970-01-01 UTC, by the machine's clock.
    qint64 timeOfDay() const;
    static bool forgetInterrupt(); ///< returns whether there was one
    /// Lets Ctrl-C end waits instead of the program.
    static void catchInterrupt();

private:
    const QmxCountersReader *openCounters() const;
    QString inTurn(const Write &write);

    std::unique_ptr<Config> _config;
    std::function<bool()> _abandon;
    std::function<QString(const Write &write)> _turn;
    QmxEnvironment _environment;
    mutable std::unique_ptr<QmxCountersReader> _counters;
    mutable QmxPreviewReader _preview;
    mutable qint64 _countersLookedAt = 0;
};

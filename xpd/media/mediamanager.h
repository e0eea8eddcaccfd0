// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"

#include <QObject>
#include <QString>

/// Knows the medium that is recorded on and the one to which a recording continues, watches how full the
/// former is, and keeps the state of a rollover from one to the other.
///
/// A rollover: the check finds the active medium nearly full and says `shouldRolloverNow`; the application
/// answers with markRolloverInProgress(), moves the recording and calls markRolloverComplete(), which swaps
/// the paths at once; the media daemon takes note later by clearing its rollover path.
///
/// Event loop only. A medium is measured on the helper thread that the product library keeps for it; the loop
/// waits for at most 100 ms, then the measurement counts as failed.
class MediaManager : public QObject
{
    Q_OBJECT

public:
    /// A medium as it was measured. All levels are inclusive, on the rounded percentage.
    struct PathInfo
    {
        QString path;
        bool mounted = false;              ///< lies on another file system than "/"
        bool rolloverLevelReached = false; ///< see MediumLevel
        bool targetTooFull = false;
        bool stopLevelReached = false;
        double percentFree = 0.0; ///< whole percent
    };

    /// Why a rollover may not start, in the order in which the reasons are tested.
    enum RolloverInhibit : unsigned int {
        NoInhibit = 0,
        NotEnabled = 1,
        AlreadyInProgress = 2,
        PathNotMeasured = 3, ///< also an empty path, since that cannot be measured
        NoPath = 4,
        NotMounted = 5,
        TargetTooFull = 6
    };

    /// Begins to check the active medium every 500 ms.
    explicit MediaManager(QObject *parent);
    ~MediaManager() override;

    QString activePath() const;
    QString rolloverPath() const;
    bool isRolloverInProgress() const;

    /// Measure now; false (and `info` as it was) when that fails.
    bool getActivePathInfo(PathInfo &info);
    bool getRolloverPathInfo(PathInfo &info);
    bool getPathInfo(const QString &path, PathInfo &info);

    unsigned int getRolloverInhibit();
    unsigned int getRolloverInhibit(const PathInfo &info) const;

public slots:
    void setRolloverEnabled(bool enabled);
    /// False, with a line in the log, when a rollover may not start now.
    bool markRolloverInProgress();
    /// Ends the rollover; on success the recording is now on what was the rollover medium.
    void markRolloverComplete(bool success);
    void setActivePath(const QString &path);
    void setRolloverPath(const QString &path);
    /// Ignored while a rollover is in progress: others shall not see the gap between its two clips.
    void setStorageInUse(bool inUse);

signals:
    /// Told again at every check while the condition holds.
    void shouldRolloverNow();
    void rolloverStarted(const QString &activePath, const QString &rolloverPath);
    /// The paths as they were before.
    void rolloverCompleted(bool success, const QString &activePath, const QString &rolloverPath);
    /// Told again at every check while the condition holds.
    void stopRecordNow();
    void storageInUse(bool isInUse);
    void rolloverCompletedByMediaDaemon();

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    void checkActivePath();

    std::shared_ptr<QmxFiles> _files = QmxEnvironment::current().files;
    int _checkTimer;
    bool _rolloverEnabled = false;
    bool _rolloverInProgress = false;
    bool _awaitingMediaDaemon = false;
    bool _storageInUse = false;
    QString _activePath;
    QString _rolloverPath;
    /// The last measurement of the active medium; its path tells whether it is of this one at all.
    PathInfo _activeInfo;
};

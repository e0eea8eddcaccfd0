// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/media/mediamanager.h"

#include "platform/product/mediumhelper.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxsamefilesystem.h"
#include "platform/store/values.h"

#include <QTimerEvent>

#include <cmath>
#include <optional>

namespace {

constexpr const char *logSource = "mediamanager";

// Line numbers in the log name the message and stay when the source moves.
enum LogLine : int {
    InUseIgnored = 58,
    RolloverEnabled = 68,
    ActivePath = 76,
    MeasureFailed = 79,
    RolloverPath = 89,
    CannotStart = 113,
    Started = 116,
    NothingToComplete = 126,
    Completed = 139,
    Failed = 140
};

constexpr int checkInterval = 500; // ms

// Percent free at and below which the level counts as reached.

/// What the system says of a medium.
struct Measurement
{
    bool otherThanRoot; ///< the path lies on another file system than "/"
    quint64 freeBlocks; ///< to the super-user, not only to us
    quint64 totalBlocks;
};

std::optional<Measurement> measure(QmxFiles &files, const QString &path)
{
    struct statfs64 root = {};
    struct statfs64 medium = {};
    if (files.statfs(QStringLiteral("/"), &root) != 0 || files.statfs(path, &medium) != 0)
        return std::nullopt;
    return Measurement{!qmxSameFileSystem(files, QStringLiteral("/"), root, path, medium), medium.f_bfree,
                       medium.f_blocks};
}

} // namespace

MediaManager::MediaManager(QObject *parent) : QObject(parent), _checkTimer(startTimer(checkInterval)) {}

MediaManager::~MediaManager()
{
    killTimer(_checkTimer);
}

QString MediaManager::activePath() const
{
    return _activePath;
}

QString MediaManager::rolloverPath() const
{
    return _rolloverPath;
}

bool MediaManager::isRolloverInProgress() const
{
    return _rolloverInProgress;
}

bool MediaManager::getActivePathInfo(PathInfo &info)
{
    return getPathInfo(_activePath, info);
}

bool MediaManager::getRolloverPathInfo(PathInfo &info)
{
    return getPathInfo(_rolloverPath, info);
}

bool MediaManager::getPathInfo(const QString &path, PathInfo &info)
{
    if (path.isEmpty()) return false;
    // Nothing twice over: no answer in time, or one that says that the path cannot be examined.
    const auto measured =
        MediumHelper::instance()
            .answer<std::optional<Measurement>>(
                path.toStdString(), [files = _files, path] { return measure(*files, path); },
                MediumHelper::limit, MediumHelper::Lane::Room)
            .value_or(std::nullopt);
    if (!measured) return false;

    info.path = path;
    info.mounted = measured->otherThanRoot;
    // A file system without blocks (a pseudo one) gives NaN, which reaches no level: it is not full.
    info.percentFree = std::round(static_cast<double>(measured->freeBlocks) /
                                  static_cast<double>(measured->totalBlocks) * 100.0);
    info.rolloverLevelReached = info.percentFree <= MediumLevel::full;
    info.targetTooFull = info.percentFree <= MediumLevel::target;
    info.stopLevelReached = info.percentFree <= MediumLevel::stop;
    return true;
}

unsigned int MediaManager::getRolloverInhibit()
{
    PathInfo info;
    if (!getRolloverPathInfo(info)) return PathNotMeasured;
    return getRolloverInhibit(info);
}

unsigned int MediaManager::getRolloverInhibit(const PathInfo &info) const
{
    if (!_rolloverEnabled) return NotEnabled;
    if (_rolloverInProgress) return AlreadyInProgress;
    if (_rolloverPath.isEmpty()) return NoPath;
    if (!info.mounted) return NotMounted;
    if (info.targetTooFull) return TargetTooFull;
    return NoInhibit;
}

void MediaManager::timerEvent(QTimerEvent *event)
{
    if (event->timerId() == _checkTimer) checkActivePath();
}

void MediaManager::checkActivePath()
{
    PathInfo info;
    if (!getActivePathInfo(info)) return;
    // Nothing is decided on the first look at another medium.
    if (_activeInfo.path == _activePath) {
        if (!_rolloverEnabled) {
            if (info.rolloverLevelReached) emit stopRecordNow();
        } else if (info.stopLevelReached) {
            emit stopRecordNow();
        } else if (!_rolloverInProgress && info.rolloverLevelReached) {
            if (getRolloverInhibit() == NoInhibit) emit shouldRolloverNow();
        }
    }
    _activeInfo = info;
}

void MediaManager::setActivePath(const QString &path)
{
    if (path == _activePath) return;
    _activePath = path;
    qmxLogText(QmxLogLevel::Info, logSource, ActivePath, QStringLiteral("Active Media Path: %1").arg(path));
    // What is measured here only tells whether the medium answers: the first check decides nothing yet.
    _activeInfo = PathInfo();
    PathInfo info;
    if (!path.isEmpty() && !getActivePathInfo(info))
        qmxLogOutput(QmxLogLevel::Error, logSource, MeasureFailed, "getPathInfo failed for %s\n",
                     path.toLocal8Bit().constData());
}

void MediaManager::setRolloverPath(const QString &path)
{
    if (path.isEmpty() && _awaitingMediaDaemon && _rolloverPath.isEmpty())
        emit rolloverCompletedByMediaDaemon();
    if (path == _rolloverPath) return;
    _rolloverPath = path;
    qmxLogText(QmxLogLevel::Info, logSource, RolloverPath,
               QStringLiteral("Rollover Media Path: %1").arg(path));
}

void MediaManager::setRolloverEnabled(bool enabled)
{
    if (enabled == _rolloverEnabled) return;
    qmxLogOutput(QmxLogLevel::Info, logSource, RolloverEnabled, "Rollover %s\n",
                 enabled ? "Enabled" : "Disabled");
    _rolloverEnabled = enabled;
}

void MediaManager::setStorageInUse(bool inUse)
{
    if (inUse == _storageInUse) return;
    if (_rolloverInProgress) {
        qmxLogOutput(QmxLogLevel::Info, logSource, InUseIgnored,
                     "Rollover in progress, ignoring setStorageInUse(%s)\n", inUse ? "true" : "false");
        return;
    }
    _storageInUse = inUse;
    emit storageInUse(inUse);
}

bool MediaManager::markRolloverInProgress()
{
    const unsigned int reason = getRolloverInhibit();
    if (reason != NoInhibit) {
        qmxLogOutput(QmxLogLevel::Error, logSource, CannotStart,
                     "Can't mark rollover in progress, rollover is inhibited (%d)\n",
                     static_cast<int>(reason));
        return false;
    }
    qmxLogText(QmxLogLevel::Info, logSource, Started,
               QStringLiteral("Rollover from %1 to %2 has started").arg(_activePath, _rolloverPath));
    _rolloverInProgress = true;
    _awaitingMediaDaemon = false;
    emit rolloverStarted(_activePath, _rolloverPath);
    return true;
}

void MediaManager::markRolloverComplete(bool success)
{
    if (!_rolloverInProgress) {
        qmxLogOutput(QmxLogLevel::Error, logSource, NothingToComplete,
                     "Can't mark rollover complete, since no rollover is in progress\n");
        return;
    }
    _rolloverInProgress = false;
    _awaitingMediaDaemon = true;
    const QString oldActive = _activePath;
    const QString oldRollover = _rolloverPath;
    if (success) {
        _activePath = oldRollover;
        _rolloverPath.clear();
        getActivePathInfo(_activeInfo);
    }
    emit rolloverCompleted(success, oldActive, oldRollover);
    if (success)
        qmxLogText(QmxLogLevel::Info, logSource, Completed,
                   QStringLiteral("Rollover from %1 to %2 has completed.").arg(oldActive, oldRollover));
    else
        qmxLogText(QmxLogLevel::Error, logSource, Failed,
                   QStringLiteral("Rollover from %1 to %2 has failed.").arg(oldActive, oldRollover));
}

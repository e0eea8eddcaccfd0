// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/clipfinder.h"
#include "platform/product/clipnames.h"
#include "platform/qmx/core/qmxid.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/store/eparam.h"
#include "platform/store/values.h"
#include "xpd/app/mainlog.h"
#include "xpd/app/mainobject.h"
#include "xpd/config/configinterface.h"
#include "xpd/media/mediamanager.h"
#include "xpd/transport/vtrobject.h"

namespace {

QString clipPath(const QString &path, const QString &name)
{
    return QStringLiteral("%1/%2").arg(path, name);
}

/// Everything before the last point; all of it when there is none.
QString withoutExtension(const QString &name)
{
    return name.left(name.lastIndexOf(QLatin1Char('.')));
}

void logFailure(int line, const char *text)
{
    qmxLogOutput(QmxLogLevel::Error, mainObjectSource, line, "%s", text);
}

} // namespace

const char *getRecordInhibitedName(const QmxId &reason)
{
    switch (reason.value()) {
    case QmxIds::noInput.value():
        return "No Input";
    case QmxIds::invalidInput.value():
        return "Invalid Input";
    case QmxIds::unsupportedInput.value():
        return "Unsupported Input";
    case QmxIds::mediaFull.value():
        return "Media Full";
    case QmxIds::noMedia.value():
        return "No Media";
    default:
        return "Record Inhibited";
    }
}

void MainObject::generatePlaybackStreamDesc(QVariant &streamDesc, int &fnum)
{
    const QString path = _mediaManager->activePath();
    const QString clip = currentClip();
    if (path.isEmpty())
        return logFailure(__LINE__, "Generate playback stream desc failed: Storage path is empty\n");

    switch (PlaybackSource(_playbackSource)) {
    case PlaybackSource::CurrentClip:
        if (clip.isEmpty())
            return logFailure(__LINE__, "Generate playback stream desc failed: Current clip is empty\n");
        streamDesc = clipPath(path, clip);
        fnum = 0;
        qmxLogText(QmxLogLevel::Info, mainObjectSource, __LINE__,
                   QStringLiteral("Playback Stream Desc: %1 at frame %2")
                       .arg(streamDesc.toString(), QString::number(fnum)));
        break;
    case PlaybackSource::AllClips:
        if (_allClipsPlayList.isEmpty())
            return logFailure(__LINE__, "Generate playback stream desc failed: All clips is empty\n");
        streamDesc = QVariant::fromValue(_allClipsPlayList);
        fnum = findInitialFrame(_allClips, _allClipsPlayList);
        qmxLogOutput(QmxLogLevel::Info, mainObjectSource, __LINE__,
                     "Playback Stream Desc: All Clips at frame %d\n", fnum);
        break;
    case PlaybackSource::PlayList:
        if (_playList.isEmpty())
            return logFailure(__LINE__, "Generage playback stream desc failed: Play List is empty\n");
        streamDesc = QVariant::fromValue(_playList);
        fnum = findInitialFrame(_playListClips, _playList);
        qmxLogOutput(QmxLogLevel::Info, mainObjectSource, __LINE__,
                     "Playback Stream Desc: Play List at frame %d\n", fnum);
        break;
    default:
        fnum = 0;
        qmxLogOutput(QmxLogLevel::Error, mainObjectSource, __LINE__,
                     "Generate playback stream desc failed: Unhandled value %d\n", _playbackSource);
        break;
    }
}

void MainObject::generateRecordStreamDesc(QVariant &streamDesc)
{
    if (_mediaManager->isRolloverInProgress())
        generateRolloverRecordStreamDesc(streamDesc);
    else
        generateNormalRecordStreamDesc(streamDesc);
}

void MainObject::generateNormalRecordStreamDesc(QVariant &streamDesc)
{
    const QString path = _mediaManager->activePath();
    if (!_clipFinder)
        return logFailure(__LINE__, "Generate record stream desc failed: _clipFinder is NULL\n");
    if (path.isEmpty())
        return logFailure(__LINE__, "Generate record stream desc failed: Storage path is empty\n");

    QString name = streamDesc.toString();
    if (!streamDesc.isValid()) {
        std::string built;
        const int result = _clipFinder->buildClipName(built, &_allClips);
        name = QString::fromStdString(built);
        if (result == -1) {
            sendAlarm(QmxIds::alarmClipNameExists, QmxAlarm::Error,
                      QStringLiteral("Clip %1 already exists").arg(name), __LINE__);
            qmxLogOutput(QmxLogLevel::Error, mainObjectSource, __LINE__,
                         "Generate record stream desc failed: '%s' is in use\n",
                         name.toLocal8Bit().constData());
            return;
        }
        sendAlarm(QmxIds::alarmClipNameExists, QmxAlarm::Clear, QString(), __LINE__);
        _clipFinder->incrementTakeIfAppropriate();
    } else {
        name = QString::fromStdString(clipNameFromOutside(name.toStdString())); // the camera's
    }
    setCurrentClip(name);
    _config->setString(eParam_RecordBaseName, withoutExtension(name));
    streamDesc = clipPath(path, name);
}

void MainObject::generateRolloverRecordStreamDesc(QVariant &streamDesc)
{
    const QString path = _mediaManager->rolloverPath();
    if (path.isEmpty()) return logFailure(__LINE__, "Rollover path is empty!\n");

    const QString currentName = currentClip();
    std::string current = currentName.toStdString();
    std::string built;
    // True is failure here.
    if (_clipFinder->getClipNameWithIncrementedRolloverIndex(current, built)) {
        sendAlarm(QmxIds::alarmClipNameExists, QmxAlarm::Error,
                  QStringLiteral("Clip %1 already exists").arg(currentName), __LINE__);
        qmxLogText(QmxLogLevel::Error, mainObjectSource, __LINE__,
                   QStringLiteral("Failed to build rollover clip name for '%1'").arg(currentName));
        return;
    }
    sendAlarm(QmxIds::alarmClipNameExists, QmxAlarm::Clear, QString(), __LINE__);
    const QString next = QString::fromStdString(built);
    _vtr->setCurrentClipName(next);
    _vtr->setReelName(_reelName);
    // Published only when the media daemon reports the rollover complete.
    _pendingClipName = next;
    streamDesc = clipPath(path, next);
}

void MainObject::shouldInhibitRecord(QmxId &reason)
{
    MediaManager::PathInfo info;
    const bool measured = _mediaManager->isRolloverInProgress() ? _mediaManager->getRolloverPathInfo(info)
                                                                : _mediaManager->getActivePathInfo(info);
    if (!measured || !info.mounted)
        reason = QmxIds::noMedia;
    else if (info.rolloverLevelReached) // the next check would stop the record or roll it over
        reason = QmxIds::mediaFull;
}

void MainObject::recordFailedToStart(QmxId &reason)
{
    sendAlarm(QmxIds::alarmRecordInhibited, QmxAlarm::Error,
              QString::fromLatin1(getRecordInhibitedName(reason)), __LINE__);
}

void MainObject::stopRecordNow()
{
    if (!_vtr->state().mode().isInModeRecord()) return;
    qmxLogOutput(QmxLogLevel::Info, mainObjectSource, __LINE__, "Stopping record.\n");
    _vtr->standbyOff();
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/stream/qmxstreaminfo.h"
#include "platform/store/eparam.h"
#include "platform/store/values.h"
#include "xpd/app/mainlog.h"
#include "xpd/app/mainobject.h"
#include "xpd/config/configinterface.h"
#include "xpd/config/configupdater.h"
#include "xpd/media/mediamanager.h"
#include "xpd/transport/vtrobject.h"

namespace {} // namespace

void MainObject::startRollover()
{
    if (!_vtr->state().mode().isInModeRecord()) return;
    _rolloverClipClosed = false;
    _rolloverClipOpened = false;
    if (!_mediaManager->markRolloverInProgress()) {
        qmxLogOutput(QmxLogLevel::Error, mainObjectSource, __LINE__,
                     "Failed to mark rollover in progress.  Aborting rollover\n");
        _vtr->standbyOff();
        return;
    }
    if (!_vtr->reopenRecordStream()) {
        qmxLogOutput(QmxLogLevel::Error, mainObjectSource, __LINE__,
                     "Aborting rollover, reopen record stream failed\n");
        _mediaManager->markRolloverComplete(false);
        _vtr->standbyOff();
    }
}

void MainObject::vtrStreamIsClosed()
{
    if (!_mediaManager->isRolloverInProgress()) return;
    if (_rolloverClipClosed) {
        qmxLogOutput(QmxLogLevel::Error, mainObjectSource, __LINE__,
                     "In rollover, got close after clip 1 is already closed!\n");
        return;
    }
    qmxLogOutput(QmxLogLevel::Info, mainObjectSource, __LINE__, "Rollover clip 1 is closed\n");
    _rolloverClipClosed = true;
    checkForRolloverComplete();
}

void MainObject::vtrStreamIsOpen(const QmxError &err, const QmxStreamInfo &)
{
    if (!_mediaManager->isRolloverInProgress()) return;
    if (_rolloverClipOpened) {
        qmxLogOutput(QmxLogLevel::Error, mainObjectSource, __LINE__,
                     "In rollover, got open after clip 2 is already opened!\n");
        return;
    }
    // A failed open counts too: the media have changed places, and the transport ends the record itself.
    if (err.isError())
        qmxLogOutput(QmxLogLevel::Warning, mainObjectSource, __LINE__, "Rollover clip 2 open failed\n");
    else
        qmxLogOutput(QmxLogLevel::Info, mainObjectSource, __LINE__, "Rollover clip 2 opened\n");
    _rolloverClipOpened = true;
    checkForRolloverComplete();
}

void MainObject::checkForRolloverComplete()
{
    if (_mediaManager->isRolloverInProgress() && _rolloverClipClosed && _rolloverClipOpened)
        _mediaManager->markRolloverComplete(true);
}

void MainObject::finishRollover(bool success, const QString &, const QString &)
{
    if (!success) return;
    _config->set(eParam_StorageState, storeNumber(StorageState::RolloverDone));
    if (!_vtr->state().mode().isInModeRecord()) _mediaManager->setStorageInUse(false);
}

void MainObject::rolloverCompletedByMediaDaemon()
{
    qmxLogOutput(QmxLogLevel::Info, mainObjectSource, __LINE__, "Media daemon has completed rollover\n");
    if (_pendingClipName.isEmpty()) return;
    _configUpdater->setCurrentClip(_pendingClipName);
    _pendingClipName.clear();
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxid.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxmetadata.h"
#include "platform/qmx/core/qmxvbiinfo.h"
#include "xpd/app/mainlog.h"
#include "xpd/app/mainobject.h"
#include "xpd/debug/debugcommands.h"
#include "xpd/debug/debugserver.h"
#include "xpd/debug/keyboardtransport.h"
#include "xpd/transport/vtrobject.h"

#include <unistd.h>

namespace {} // namespace

void MainObject::toggleMeta()
{
    if (!_vtr || !_kbtrans) return;
    _insertMeta = !_insertMeta;
    qmxLogOutput(QmxLogLevel::Info, mainObjectSource, __LINE__, "_insertMeta = %d\n", _insertMeta ? 1 : 0);
}

void MainObject::cameraRecord()
{
    static bool recording = false;
    if (!_vtr || !_kbtrans) return;
    recording = !recording;
    if (_insertMeta) _vtr->debugFrameMetadata(QmxMetadata(QmxIds::cameraRecord, QVariant(recording)));
}

void MainObject::transportRefreshed()
{
    if (!_vtr || !_kbtrans) return;
    _kbtrans->setVtrState(_vtr->state());
    _kbtrans->setStatus(_vtr->stateToString());
    _kbtrans->setCurrentTimecode(_vtr->lastVBI().tcgTimecode());
}

void MainObject::debugServerLineReceived(int fd, const QString &line)
{
    bool open = true;
    DebugCommandTarget target;
    target.vtr = _vtr;
    target.playListInUse = [this] { return playListInUse(); };
    target.gotoClipByIndex = [this](int index) { gotoClipByIndex(index); };
    target.closeConnection = [&] {
        if (_debugServer) _debugServer->closeConnection(fd);
        open = false;
    };
    const QByteArray reply = runDebugCommand(line, target).toLocal8Bit();
    // Another thread may by now have opened a file under the number of a closed connection.
    if (!open) return;
    [[maybe_unused]] const ssize_t written =
        ::write(fd, reply.constData(), static_cast<size_t>(reply.size()));
}

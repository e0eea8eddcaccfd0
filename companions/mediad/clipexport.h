// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"

#include <QString>
#include <QStringList>

#include <functional>

/// What shall come out of clips. A value.
struct ClipExport
{
    QString folder;      ///< of entries that name a clip only
    QStringList entries; ///< clips and parts of clips (QmxClipPart), one behind the other
    QString to;          ///< path of the file that is made
    bool isProxy = false;
    bool burn = false; ///< a proxy has its timecode in its pictures
};

/// Makes one file of clips and parts of clips: an ordinary clip whose coded pictures are those of the
/// sources, byte for byte, with their timecodes, marks and a proof of its own; or a proxy (see ProxyWriter).
///
/// The file appears under its name only when all of it is durable and has been read back and found whole;
/// until then it is a hidden file that goes when the export fails. Nothing is ever replaced (EEXIST), a
/// damaged picture ends the export (EILSEQ), and so does one that would leave less room than a take needs to
/// begin (ENOSPC). `pace` as with copyClip(). `finding` says in words what has been made. Blocks; any thread.
QmxError exportClips(const ClipExport &order, const QmxEnvironment &environment,
                     const std::function<bool(qint64 done, qint64 total)> &pace, std::string &finding);

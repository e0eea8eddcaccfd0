// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxvideostate.h"

QString QmxVideoState::toString() const
{
    if (!_valid) return _present ? QStringLiteral("unstable") : QStringLiteral("no signal");
    QString text = _inputImageDesc.toString();
    if (_captureImageDesc != _inputImageDesc)
        text += QStringLiteral(", captured as ") + _captureImageDesc.toString();
    if (_vfrfps != 0) text += QStringLiteral(", variable rate %1").arg(_vfrfps);
    if (_recInhibit.isValid()) text += QStringLiteral(", ") + _recInhibit.name();
    return text;
}

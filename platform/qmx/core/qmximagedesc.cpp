// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmximagedesc.h"

QString QmxImageDesc::toString() const
{
    if (!isValid()) return QStringLiteral("none");
    static const char *const scan[] = {"p", "i", "psf"};
    const bool known = _scanMode >= Progressive && _scanMode <= SegmentedFrame;
    QString text = QStringLiteral("%1x%2%3 %4")
                       .arg(_width)
                       .arg(_height)
                       .arg(QLatin1String(known ? scan[_scanMode] : "?"))
                       .arg(QString::number(_frameRate.toDouble(), 'g', 4));
    if (_dataType.isValid()) text += QLatin1Char(' ') + _dataType.name();
    return text;
}

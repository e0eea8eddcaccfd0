// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/transport/vtrstatedata.h"

void VtrStateData::setSpeed(double newSpeed)
{
    speed = newSpeed;
    speedFlags = VtrSpeedFlags::fromSpeed(newSpeed);
}

QString VtrStateData::toString() const
{
    return QString::asprintf("%.3lf ", speed) + QStringLiteral("%1 ").arg(QLatin1String(mode.name()));
}

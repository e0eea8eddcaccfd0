// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

/// Another machine of the fleet, as far as it is known. A value.
struct FleetMachine
{
    QString name;
    QString host;
    quint16 port = 0;
    bool isTls = false;
    QString from;           ///< "file" or "store"
    QString state;          ///< ready, other_version, silent, not_proven, wrong, or unknown: not asked yet
    QString problem;        ///< a sentence, when it is not ready
    QString version;        ///< of its panel, when it has told
    QString address;        ///< number of the host; empty: not known
    QByteArray certificate; ///< fingerprint, proved with the fleet's key; empty: plain, or not proved
    QJsonObject self;
};

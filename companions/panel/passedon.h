// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

/// Where a request is passed on to.
struct PassedOn
{
    QString name; ///< as the operator knows it: "channel 2", "studio-3"
    QString host;
    quint16 port = 0;
    QByteArray target;        ///< path and query there
    QByteArray authorization; ///< value of the header
    QByteArray proof;         ///< that the answer has to bring; empty: none, it is on this machine
    QByteArray caller;
    QByteArray role;
};

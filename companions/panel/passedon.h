// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

/// Where a request is passed on to.
struct PassedOn
{
    QString name;    ///< as the operator knows it: "channel 2", "studio-3"
    QString host;    ///< as it is written
    QString address; ///< the number of it
    quint16 port = 0;
    bool isTls = false;
    QByteArray certificate;   ///< fingerprint of the one that it has proved, with TLS
    QByteArray target;        ///< path and query there
    QByteArray authorization; ///< value of the header
    QByteArray proof;         ///< that the answer has to bring; empty: none, it is on this machine
    QByteArray caller;
    QByteArray role;
};

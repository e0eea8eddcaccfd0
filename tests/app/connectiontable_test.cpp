// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/app/connectiontable.h"

#include "xpd/alarms/alarmhandler.h"
#include "xpd/app/mainobject.h"
#include "xpd/config/configinterface.h"
#include "xpd/config/configupdater.h"
#include "xpd/debug/debugserver.h"
#include "xpd/debug/keyboardtransport.h"
#include "xpd/media/mediamanager.h"
#include "xpd/transport/vtrobject.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <vector>

namespace {

const QMetaObject &metaOf(ConnectionParty party)
{
    switch (party) {
    case ConnectionParty::Main:
        return MainObject::staticMetaObject;
    case ConnectionParty::Application:
        return QCoreApplication::staticMetaObject;
    case ConnectionParty::Config:
        return ConfigInterface::staticMetaObject;
    case ConnectionParty::ConfigUpdater:
        return ConfigUpdater::staticMetaObject;
    case ConnectionParty::Media:
        return MediaManager::staticMetaObject;
    case ConnectionParty::Transport:
        return VtrObject::staticMetaObject;
    case ConnectionParty::Keyboard:
        return KeyboardTransport::staticMetaObject;
    case ConnectionParty::Alarms:
        return AlarmHandler::staticMetaObject;
    case ConnectionParty::DebugServer:
        return DebugServer::staticMetaObject;
    }
    return QObject::staticMetaObject;
}

} // namespace

TEST(ConnectionTable, everyRowNamesASignalAndASlotThatFit)
{
    std::vector<int> lines;
    for (const ConnectionRow &row : connectionTable()) {
        lines.push_back(row.line);
        const QByteArray signal = QMetaObject::normalizedSignature(row.signal);
        const QByteArray slot = QMetaObject::normalizedSignature(row.slot);
        EXPECT_GE(metaOf(row.sender).indexOfSignal(signal), 0) << row.line << ' ' << row.signal;
        EXPECT_GE(metaOf(row.receiver).indexOfSlot(slot), 0) << row.line << ' ' << row.slot;
        EXPECT_TRUE(QMetaObject::checkConnectArgs(signal, slot)) << row.line;
    }
    const std::vector<int> expected = {586, 592, 594, 595, 596, 597, 602, 604, 606, 608, 610, 612,
                                       614, 616, 618, 620, 622, 624, 625, 626, 627, 632, 633, 634,
                                       635, 636, 637, 638, 639, 640, 641, 642, 649, 650, 651, 660};
    EXPECT_EQ(lines, expected);
}

TEST(ConnectionTable, aRowReadsAsTheExpressionThatMakesIt)
{
    EXPECT_EQ(connectExpression(connectionTable().front()).toStdString(),
              "connect(_config, SIGNAL(paramChanged(quint32, const QVariant &, const QmxTimeStamp &)), this, "
              "SLOT(configParamChanged(quint32, const QVariant &, const QmxTimeStamp &)))");
    EXPECT_EQ(connectExpression(connectionTable().back()).toStdString(),
              "connect(_debugServer, SIGNAL(lineReceived(int, const QString &)), this, "
              "SLOT(debugServerLineReceived(int, const QString &)))");
}

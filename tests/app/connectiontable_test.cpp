// SPDX-License-Identifier: GPL-3.0-or-later
// That every row names a signal and a slot that fit is seen where the application makes them: a connection
// that fails is in its log.
#include "xpd/app/connectiontable.h"

#include <gtest/gtest.h>

#include <vector>

TEST(ConnectionTable, isInTheOrderOfItsNumbersAndReadsAsTheExpressionsThatMakeIt)
{
    std::vector<int> lines;
    for (const ConnectionRow &row : connectionTable())
        lines.push_back(row.line);
    const std::vector<int> expected = {586, 592, 594, 595, 596, 597, 602, 604, 606, 608, 610, 612,
                                       614, 616, 618, 620, 622, 624, 625, 626, 627, 632, 633, 634,
                                       635, 636, 637, 638, 639, 640, 641, 642, 649, 650, 651, 660};
    EXPECT_EQ(lines, expected);
    EXPECT_EQ(connectExpression(connectionTable().front()).toStdString(),
              "connect(_config, SIGNAL(paramChanged(quint32, const QVariant &, const QmxTimeStamp &)), this, "
              "SLOT(configParamChanged(quint32, const QVariant &, const QmxTimeStamp &)))");
    EXPECT_EQ(connectExpression(connectionTable().back()).toStdString(),
              "connect(_debugServer, SIGNAL(lineReceived(int, const QString &)), this, "
              "SLOT(debugServerLineReceived(int, const QString &)))");
}

// SPDX-License-Identifier: GPL-3.0-or-later
// Alarms as the operator sees them, with what only a real machine can bring.
#include "tests/support/print.h"
#include "tests/system/mediarig.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

TEST(Alarms, aMachineThatStandsStillIsToldWithTimeAndAdvice)
{
    Sandbox sandbox({"--no-mediad"});
    const ProgramResult result = sandbox.run(R"sh(
        daemon=$(cat /run/xp/xpd.pid)
        stands_still() {
            kill -STOP $daemon; read -rt 0.5 <> <(:) || true; kill -CONT $daemon
            xpctl alarms | grep -q clock_late
        }
        await stands_still
        say now; xpctl --json alarms
        await '! xpctl alarms | grep -q clock_late'
        say history; xpctl alarms --history
    )sh");
    const QJsonArray alarms =
        QJsonDocument::fromJson(said(result.out, "now").trimmed()).object().value("alarms").toArray();
    ASSERT_EQ(alarms.size(), 1) << result.out.toStdString();
    const QJsonObject alarm = alarms[0].toObject();
    EXPECT_EQ(alarm.value("name").toString(), QString("clock_late"));
    EXPECT_EQ(alarm.value("level").toString(), QString("warning"));
    EXPECT_TRUE(alarm.value("message").toString().contains("ticks of the video clock were late"));
    EXPECT_EQ(alarm.value("since").toString().size(), 19) << alarm.value("since").toString().toStdString();
    EXPECT_FALSE(alarm.value("advice").toString().isEmpty());
    const QByteArray history = said(result.out, "history");
    const qsizetype raised = history.indexOf("warning      clock_late");
    EXPECT_GE(raised, 0) << history.toStdString();
    EXPECT_GT(history.indexOf("clear        clock_late"), raised) << history.toStdString();
}

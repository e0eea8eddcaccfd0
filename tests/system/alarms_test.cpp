// SPDX-License-Identifier: GPL-3.0-or-later
// Alarms as the operator sees them, with what only a real machine can bring.
#include "tests/support/print.h"
#include "tests/system/mediarig.h"

#include <gtest/gtest.h>

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
    )sh");
    const QByteArray now = said(result.out, "now");
    EXPECT_EQ(now.count("\"message\""), 1) << now.toStdString();
    for (const char *part :
         {"\"clock_late\"", "\"warning\"", "ticks of the video clock were late", "\"since\":\"20"})
        EXPECT_TRUE(now.contains(part)) << now.toStdString();
    EXPECT_FALSE(now.contains("\"advice\":\"\"")) << now.toStdString();
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/print.h"
#include "xpd/transport/timecodetrigger.h"

#include <gtest/gtest.h>

namespace {

/// What is fed in a row: 'r' the next timecode each time, 'f' each of them twice, 's' the last one again,
/// '-' none.
struct Part
{
    char kind;
    int count;
};

/// At which of the observations of `last` the trigger, with its usual delay, spoke; what it said to those
/// of `first` is passed over.
QString feed(const QList<Part> &first, const QList<Part> &last)
{
    TimecodeTrigger trigger;
    QString said;
    int fed = 0, frame = 100;
    QObject::connect(&trigger, &TimecodeTrigger::timecodeHasStarted,
                     [&] { said += QStringLiteral("started@%1 ").arg(fed); });
    QObject::connect(&trigger, &TimecodeTrigger::timecodeHasStopped,
                     [&] { said += QStringLiteral("stopped@%1 ").arg(fed); });
    trigger.setDelay(4);
    for (const QList<Part> &parts : {first, last}) {
        said.clear();
        fed = 0;
        for (const auto &[kind, count] : parts) {
            for (int i = 0; i < count; ++i) {
                ++fed;
                frame += kind == 'r' || (kind == 'f' && i % 2 == 0);
                trigger.setTimecode(kind == '-' ? QmxTimecode() : QmxTimecode(frame, 25, false));
            }
        }
    }
    return said.trimmed();
}

} // namespace

TEST(TimecodeTrigger, speaksAtTheSixthObservationInARow)
{
    const struct
    {
        QList<Part> first, last;
        const char *said;
    } rows[] = {
        {{}, {{'r', 30}}, "started@7"},           // the first timecode has nothing to be compared with
        {{{'r', 30}}, {{'-', 10}}, ""},           // one that is gone has no value before the next
        {{}, {{'f', 40}}, "started@13"},          // both fields of a frame have the same
        {{{'r', 10}}, {{'s', 20}}, "stopped@12"}, // every other repetition is taken for the second field
        {{{'r', 10}}, {{'s', 10}, {'r', 1}, {'s', 20}}, "stopped@23"}, // an odd one starts the count anew
    };
    for (const auto &row : rows)
        EXPECT_EQ(feed(row.first, row.last), row.said);
}

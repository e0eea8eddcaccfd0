// SPDX-License-Identifier: GPL-3.0-or-later
// Takes to come: what can be planned, and what the machine does with the plan, step by step.
#include "companions/mediad/schedulemachine.h"
#include "platform/qmx/core/qmxtakemoment.h"

#include <gtest/gtest.h>

namespace {
constexpr std::int64_t second = 1'000'000'000;

std::int64_t at(const char *text)
{
    return QmxTakeMoment::parse(QString::fromLatin1(text), 0)->wall;
}

/// A recorder as the machine sees it: it follows commands some steps later.
class Plan : public ::testing::Test
{
protected:
    std::int64_t now = at("2030-01-31T09:00:00");
    RecordSchedule schedule;
    ScheduleMachine machine;
    ScheduleMachine::View view{0, 100, TransportStatus::Stopped, 0};
    std::vector<std::string> told;
    std::string alarm;
    double recordedFrom = -1; ///< seconds after nine
    std::vector<double> recorded;
    bool obeys = true;

    double seconds() const { return double(now - at("2030-01-31T09:00:00")) / double(second); }

    void step()
    {
        view.wall = now;
        const TransportStatus before = view.status;
        const ScheduleMachine::Orders orders = machine.step(schedule, view);
        view.commands = 0;
        for (const MediaWrite &write : orders.writes) {
            if (write.id == eParam_RecordStart || write.id == eParam_RecordEnd)
                told.push_back((write.id == eParam_RecordStart ? "start " : "end ") + write.text);
            if (write.id == eParam_AlarmScheduledTake) alarm = write.text;
            if (write.id != eParam_TransportCommand || !obeys || view.recorder == 0) continue;
            view.status = write.number == storeNumber(TransportCommand::Record) ? TransportStatus::Recording
                                                                                : TransportStatus::Stopped;
        }
        if (before != view.status) note();
        // Whatever is kept survives a restart.
        schedule = RecordSchedule::parse(schedule.print());
        now += second / 4;
    }
    void note() { recorded.push_back(seconds()); }
    void run(double until)
    {
        while (seconds() < until)
            step();
    }
    unsigned add(const char *start, const char *end, std::string *why = nullptr)
    {
        std::string reason;
        const unsigned number = schedule.add(start, end, now, reason);
        if (why) *why = reason;
        return number;
    }
};
} // namespace

TEST_F(Plan, aTakeIsToldCommandedAndEnded)
{
    EXPECT_EQ(add("09:01:00:10", "09:02:00.5"), 1u);
    run(51);
    EXPECT_TRUE(told.empty());
    run(53);
    ASSERT_EQ(told.size(), 2u);
    EXPECT_TRUE(told[0].starts_with("end 2030-01-31T")) << told[0];
    EXPECT_TRUE(told[0].ends_with(":02:00.500000Z")) << told[0];
    EXPECT_TRUE(told[1].starts_with("start 09:01:00:10 2030-01-31T")) << told[1];
    run(130);
    ASSERT_EQ(recorded.size(), 2u);
    EXPECT_NEAR(recorded[0], 56, 0.5);
    EXPECT_NEAR(recorded[1], 120.9, 0.4);
    EXPECT_TRUE(schedule.takes.empty());
    EXPECT_EQ(told.size(), 2u);
    EXPECT_TRUE(alarm.empty());
}

TEST_F(Plan, aTimecodeBehindTheClockEndsItsTakeLater)
{
    add("09:01:00:00", "09:01:10:00");
    while (recorded.size() < 2 && seconds() < 100) {
        if (seconds() >= 63 && seconds() < 73) view.frames += 6; // what the card lets in
        step();
    }
    ASSERT_EQ(recorded.size(), 2u);
    EXPECT_NEAR(recorded[1], 74, 0.5);
    // One that never says so is ended all the same.
    add("09:02:00:00", "09:02:10:00");
    while (recorded.size() < 4 && seconds() < 200) {
        ++view.frames;
        step();
    }
    ASSERT_EQ(recorded.size(), 4u);
    EXPECT_NEAR(recorded[3], 135.5, 0.5);
}

TEST_F(Plan, whatCannotBeIsRefusedWithASentence)
{
    std::string why;
    EXPECT_EQ(add("10:00:00", "10:30:00"), 1u);
    EXPECT_EQ(add("10:30:02", "", &why), 0u);
    EXPECT_NE(why.find("take 1, 2030-01-31 10:00:00 to 10:30:00"), std::string::npos) << why;
    EXPECT_EQ(add("09:30:00", "10:00:00", &why), 0u);
    EXPECT_EQ(add("09:30:00", "", &why), 0u);
    EXPECT_NE(why.find("--until"), std::string::npos) << why;
    EXPECT_EQ(add("09:30:00", "09:59:55"), 2u);
    EXPECT_EQ(add("08:00:00", ""), 3u) << "of the day after";
    EXPECT_EQ(schedule.takes.back().start, at("2030-02-01T08:00:00"));
    EXPECT_EQ(add("2030-02-02 23:59:59:24", "00:30:00:00", &why), 0u);
    EXPECT_TRUE(schedule.cancel(3, why));
    EXPECT_EQ(add("2030-02-02 23:59:59:24", "00:30:00:00", &why), 3u) << why;
    EXPECT_EQ(schedule.takes.back().end, at("2030-02-03T00:30:00"));
    for (const char *start : {"2030-01-31T08:59:00", "2031-03-01T00:00:00", "tomorrow", "25:00:00:00",
                              "10:00", "2030-02-30 10:00:00:00", "09:10:00:00 2030-01-31T09:10:00"}) {
        EXPECT_EQ(add(start, "", &why), 0u) << start;
        EXPECT_FALSE(why.empty());
    }
    EXPECT_EQ(add("11:00:00", "2030-01-31T10:59:00", &why), 0u);
    EXPECT_FALSE(schedule.cancel(9, why));
    for (const char *day : {"2030-03-01", "2030-03-02"})
        for (int i = 0; i < 60; ++i) {
            const QString begin = QStringLiteral("%1T00:%2:").arg(day).arg(i, 2, 10, QLatin1Char('0'));
            add(qPrintable(begin + "00"), qPrintable(begin + "30"), &why);
        }
    EXPECT_EQ(schedule.takes.size(), RecordSchedule::most);
    EXPECT_NE(why.find("64"), std::string::npos) << why;
    EXPECT_TRUE(RecordSchedule::parse("x\n1 2 3 4 5 6\n0 - - - - -\n").takes.empty());
}

TEST_F(Plan, aRestartOfEverythingCostsNothingBeforeAndOnlyItsTimeWithin)
{
    add("09:01:00", "09:03:00");
    run(57);
    EXPECT_EQ(view.status, TransportStatus::Recording);
    machine = {}; // in the middle of it all
    run(59);
    ASSERT_TRUE(schedule.takes.at(0).begun);
    // A power cut: neither of them, then both anew.
    view = {0, 0, TransportStatus::ShutDown, 0};
    recorded.clear();
    machine = {};
    run(90);
    view = {0, 200, TransportStatus::Stopped, 0};
    machine = {};
    told.clear();
    run(95);
    ASSERT_EQ(recorded.size(), 1u);
    EXPECT_NEAR(recorded[0], 90.5, 0.5);
    EXPECT_TRUE(told.at(1).ends_with(":01:00.000000Z")) << told.at(1) << ": the recorder says how late it is";
    // Its input is lost for a while: the rest again. Somebody stops it: no more.
    view.status = TransportStatus::Stopped;
    run(100);
    EXPECT_EQ(view.status, TransportStatus::Recording);
    view.commands = 1;
    step();
    view.status = TransportStatus::Stopped;
    run(170);
    EXPECT_EQ(view.status, TransportStatus::Stopped);
    EXPECT_TRUE(schedule.takes.empty());
}

TEST_F(Plan, whatKeepsATakeFromBeginningIsToldAndItBeginsAfterIt)
{
    add("09:01:00", "09:03:00");
    view.status = TransportStatus::Recording; // somebody else's
    run(65);
    EXPECT_NE(alarm.find("another take runs"), std::string::npos) << alarm;
    view.status = TransportStatus::Stopped;
    obeys = false;
    run(70);
    EXPECT_NE(alarm.find("does not record"), std::string::npos) << alarm;
    view.recorder = 0;
    run(75);
    EXPECT_NE(alarm.find("not running"), std::string::npos) << alarm;
    view.recorder = 300;
    obeys = true;
    run(78);
    EXPECT_EQ(view.status, TransportStatus::Recording);
    EXPECT_TRUE(alarm.empty());
    run(185);
    EXPECT_EQ(view.status, TransportStatus::Stopped);

    // Another one of the same number, in the way of which somebody else's take is.
    add("09:03:20", "09:03:40");
    view.status = TransportStatus::Recording;
    run(203);
    EXPECT_NE(alarm.find("another take runs"), std::string::npos) << alarm;
    run(225);
    EXPECT_EQ(view.status, TransportStatus::Recording) << "not ours to end";
    EXPECT_TRUE(schedule.takes.empty());
    view.status = TransportStatus::Stopped;

    // Cancelled while the recorder waits for it; and one whose time passes.
    std::string why;
    add("09:05:00", "");
    run(293);
    EXPECT_TRUE(told.back().starts_with("start 2030"));
    schedule.cancel(1, why);
    step();
    EXPECT_EQ(told.back(), "start ");
    view.recorder = 0;
    add("09:06:00", "09:06:30");
    run(400);
    EXPECT_TRUE(schedule.takes.empty());
    EXPECT_TRUE(alarm.empty());
}

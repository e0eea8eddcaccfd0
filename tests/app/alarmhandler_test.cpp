// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/alarms/alarmhandler.h"

#include "platform/qmx/core/qmxid.h"
#include "platform/store/alarms.h"
#include "platform/store/alarms.pb.h"
#include "platform/store/configfactoryimpl.h"
#include "tests/support/logcollector.h"
#include "tests/support/print.h"
#include "tests/support/stepper.h"
#include "xpd/config/configinterface.h"
#include "xpd/transport/vtrstate.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

QmxAlarm alarm(int id, QmxAlarm::AlarmLevel level, const char *text = "", int line = 7)
{
    return QmxAlarm(QmxId(id), level, QString::fromLatin1(text), QStringLiteral("test"), line);
}

class AlarmHandlerTest : public ::testing::Test
{
protected:
    AlarmHandlerTest()
    {
        allowLog("alarmhandler");
        handler.setConfigInterface(&config);
    }

    /// The alarm as the store holds it: "2 text", or nothing when it is clear.
    QString shown(eParam_t param)
    {
        std::string bytes;
        config.configObject()->getData(param, bytes);
        if (bytes.empty()) return QString();
        kel::alarms::Alarm message;
        EXPECT_TRUE(message.ParseFromString(bytes));
        return QStringLiteral("%1 ").arg(int(message.severity())) + QString::fromStdString(message.message());
    }

    /// What was logged since the last call, with level and number.
    QStringList lines()
    {
        const QStringList all = LogCollector::lines("alarmhandler");
        return all.mid(std::exchange(_linesRead, all.size()));
    }

    ConfigInterface config{nullptr};
    AlarmHandler handler{nullptr};

private:
    qsizetype _linesRead = 0;
};

} // namespace

TEST_F(AlarmHandlerTest, anAlarmWithoutAParameterIsLogged)
{
    for (const int unknown : {1900, 1999, 0}) {
        handler.handleAlarm(alarm(unknown, QmxAlarm::Error, "x"));
        EXPECT_EQ(lines(), QStringList("1 114 Unable to find alarm for id Err:" + QmxId(unknown).name() +
                                       " (Raised) x test:7"));
    }
}

TEST_F(AlarmHandlerTest, repeatsAreSwallowedAndANewTextIsNew)
{
    const QString name = QmxId(1904).name();
    handler.handleAlarm(alarm(1904, QmxAlarm::Error, "100%1 lost"));
    handler.handleAlarm(alarm(1904, QmxAlarm::Error, "100%1 lost", 8));
    EXPECT_EQ(lines(), QStringList("1 138 Raising ALARM: Err:" + name + " (Raised) 100%1 lost test:7"));
    handler.handleAlarm(alarm(1904, QmxAlarm::Error, "other"));
    EXPECT_EQ(shown(eParam_AlarmFrameDropped), QStringLiteral("2 other"));
    handler.handleAlarm(alarm(1904, QmxAlarm::Warning, "other"));
    EXPECT_EQ(shown(eParam_AlarmFrameDropped), QStringLiteral("1 other"));
    handler.handleAlarm(alarm(1904, QmxAlarm::Clear));
    handler.handleAlarm(alarm(1904, QmxAlarm::Clear));
    EXPECT_EQ(lines(),
              QStringList({QStringLiteral("1 138 Raising ALARM: Err:%1 (Raised) other test:7").arg(name),
                           QStringLiteral("2 137 Raising ALARM: Warn:%1 (Raised) other test:7").arg(name),
                           QStringLiteral("3 142 Clearing ALARM: Err:%1 (Clear)  test:7").arg(name)}));
}

TEST_F(AlarmHandlerTest, aDelayedAlarmIsRaisedByItsEventAgainAndAgain)
{
    const auto state = [](VtrMode::Value mode) {
        VtrState s;
        s.setMode(mode);
        return s;
    };
    handler.handleAlarm(alarm(1911, QmxAlarm::Error));
    const QString what = "Err:" + QmxId(1911).name() + " (Raised)  test:7";
    EXPECT_EQ(lines(), QStringList("3 133 Delayed ALARM: " + what));
    handler.onPlayPressed();
    handler.onStopPressed();
    handler.onStandbyOff();
    handler.stateChanged(state(VtrMode::StandbyOff), state(VtrMode::Play));
    EXPECT_EQ(shown(eParam_AlarmChannelsNeedEmbeddedAudio), QString());

    handler.stateChanged(state(VtrMode::StandbyOff), state(VtrMode::Record));
    EXPECT_EQ(shown(eParam_AlarmChannelsNeedEmbeddedAudio), QStringLiteral("2 "));
    lines();
    handler.stateChanged(state(VtrMode::Record), state(VtrMode::Record));
    EXPECT_TRUE(lines().isEmpty());
    handler.onRecordPressed();
    EXPECT_EQ(lines().filter("Raising"),
              QStringList("2 160 Raising ALARM (raise_on_record_pressed): " + what));

    handler.handleAlarm(alarm(1911, QmxAlarm::Clear));
    EXPECT_EQ(shown(eParam_AlarmChannelsNeedEmbeddedAudio), QString());
    lines();
    handler.onRecordPressed();
    EXPECT_TRUE(lines().filter(QStringLiteral("Raising")).isEmpty());
}

TEST_F(AlarmHandlerTest, theNewsOfATakeIsClearedByTheNextOneNotByStop)
{
    const std::pair<QString, std::function<void()>> clearing[] = {
        {"clear_on_play_pressed", [this] { handler.onPlayPressed(); }},
        {"clear_on_record_pressed", [this] { handler.onRecordPressed(); }},
        {"clear_on_record", [this] { handler.onRecord(); }}};
    for (const auto &[attribute, clear] : clearing) {
        handler.handleAlarm(alarm(1907, QmxAlarm::Error, "lost"));
        handler.onStopPressed();
        handler.onPlayback();
        EXPECT_EQ(shown(eParam_AlarmInputLostInRecord), QStringLiteral("2 lost"));
        lines();
        clear();
        EXPECT_EQ(shown(eParam_AlarmInputLostInRecord), QString());
        EXPECT_EQ(lines().filter("Raised"), QStringList("3 155 Clearing ALARM (" + attribute + "): Err:" +
                                                        QmxId(1907).name() + " (Raised) lost test:7"));
        // It is known to be clear here too: the same alarm is news again.
    }
}

TEST_F(AlarmHandlerTest, withoutAStoreAlarmsAreLoggedAndLost)
{
    AlarmHandler early(nullptr);
    early.handleAlarm(alarm(1904, QmxAlarm::Clear));
    early.handleAlarm(alarm(1911, QmxAlarm::Error, "early"));
    EXPECT_EQ(lines(),
              QStringList("2 121 Unhandled alarm: Err:" + QmxId(1911).name() + " (Raised) early test:7"));
    early.setConfigInterface(&config);
    early.onRecordPressed();
    EXPECT_EQ(shown(eParam_AlarmChannelsNeedEmbeddedAudio), QString());
}

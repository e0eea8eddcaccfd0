// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/config/configinterface.h"

#include "platform/store/configfactoryimpl.h"
#include "tests/config/privatemachine.h"
#include "tests/support/logcollector.h"
#include "tests/support/print.h"
#include "tests/support/stepper.h"
#include "tests/support/testfiles.h"

#include <QFile>
#include <QThread>

#include <gtest/gtest.h>

namespace {

const PrivateMachine machine;

constexpr quint32 unknown = 0x12345678;

struct Change
{
    quint32 id;
    QVariant value;
    bool operator==(const Change &) const = default;
};

void PrintTo(const Change &change, std::ostream *out)
{
    *out << std::hex << change.id << ' ' << change.value.typeName() << ' '
         << change.value.toString().toStdString();
}

std::unique_ptr<Config> makeOperator()
{
    return std::unique_ptr<Config>(
        ConfigFactoryImpl::GetInstance()->create(GetConfigURI("udp"), "operator", false));
}

/// What a receiver on the event loop hears.
struct Listener : QObject
{
    explicit Listener(ConfigInterface &config)
    {
        connect(&config, &ConfigInterface::paramChanged, this,
                [this](quint32 id, const QVariant &value, const QmxTimeStamp &ts) {
                    onMainThread = onMainThread && QThread::currentThread() == thread();
                    stamped = stamped && ts.toDouble() > 0.0;
                    changes.append(Change{id, value});
                });
    }
    bool hears(int count)
    {
        return Stepper::waitFor([&] { return changes.size() >= count; });
    }
    QList<Change> changes;
    bool onMainThread = true;
    bool stamped = true;
};

} // namespace

TEST(ConfigInterface, writesOfOthersArriveOnTheEventLoopInOrderAndKind)
{
    ConfigInterface config(nullptr);
    Listener listener(config);
    const auto other = makeOperator();
    ASSERT_TRUE(listener.hears(1)) << "the preset hour is told to a new listener";
    listener.changes.clear();

    const std::string bytes("a\0b", 3);
    ASSERT_TRUE(other->setUInt(eParam_RecordCodec, 3));
    ASSERT_TRUE(other->setString(eParam_CurrentClip, "caf\xc3\xa9.mov"));
    ASSERT_TRUE(other->setData(eParam_LutFile, bytes));
    ASSERT_TRUE(other->setData(eParam_LutFile, ""));
    ASSERT_TRUE(listener.hears(4));
    const QList<Change> expected = {
        {eParam_RecordCodec, QVariant(3u)},
        {eParam_CurrentClip, QStringLiteral("caf\u00e9.mov")},
        {eParam_LutFile, QByteArray("a\0b", 3)},
        {eParam_LutFile, QByteArray("")},
    };
    EXPECT_EQ(listener.changes, expected);
    EXPECT_EQ(listener.changes.first().value.typeId(), QMetaType::UInt);
    EXPECT_FALSE(listener.changes.last().value.isNull()) << "empty bytes are a value";
    EXPECT_TRUE(listener.onMainThread);
    EXPECT_TRUE(listener.stamped);
}

TEST(ConfigInterface, loadingGoesByTheDescriptorAndSkipsWhatIsUnknown)
{
    allowLog("configinterface");
    const auto other = makeOperator();
    ASSERT_TRUE(other->setString(eParam_ReelNumber, "7"));
    ASSERT_TRUE(other->setData(eParam_LutFile, "bytes"));
    ConfigInterface config(nullptr);
    Listener listener(config);

    const quint32 ids[] = {eParam_ReelNumber, unknown, eParam_RecordOnRunningTimecode, eParam_LutFile};
    config.loadParams(ids, 0);
    EXPECT_TRUE(listener.changes.isEmpty());
    config.loadParams(ids, 4);
    // At once, without the event loop. Never written: the default. Data: as a number, whatever it holds.
    const QList<Change> expected = {
        {eParam_ReelNumber, QStringLiteral("7")},
        {eParam_RecordOnRunningTimecode, QVariant(1u)},
        {eParam_LutFile, QVariant(0u)},
    };
    EXPECT_EQ(listener.changes, expected);
    EXPECT_EQ(config.getData(eParam_LutFile), QByteArray("bytes"));
    EXPECT_EQ(LogCollector::lines("configinterface"), QStringList("1 138 Param ID 305419896 not found"));
}

TEST(ConfigInterface, aValueIsWrittenByItsKind)
{
    ConfigInterface config(nullptr);
    EXPECT_TRUE(config.set(eParam_LoopPlayback, true));
    EXPECT_TRUE(config.set(eParam_RecordCodec, 7));
    EXPECT_TRUE(config.set(eParam_CurrentClip, QStringLiteral("a.mov")));
    EXPECT_TRUE(config.set(eParam_LutFile, QByteArray("x\0y", 3)));
    EXPECT_FALSE(config.set(eParam_RecordCodec, 4)) << "a gap among the values";
    EXPECT_FALSE(config.set(eParam_RecordCodec, QStringLiteral("7"))) << "a text for a number";

    EXPECT_EQ(config.getUInt32(eParam_LoopPlayback), 1u);
    EXPECT_EQ(config.getUInt32(eParam_RecordCodec), 7u);
    EXPECT_EQ(config.getString(eParam_CurrentClip), QStringLiteral("a.mov"));
    EXPECT_EQ(config.getData(eParam_LutFile), QByteArray("x\0y", 3));
    EXPECT_EQ(config.getUInt32(eParam_CurrentClip), 0u) << "of another kind";
}

TEST(ConfigInterface, aParameterReadsAsALine)
{
    ConfigInterface config(nullptr);
    const struct
    {
        quint32 id;
        QVariant value;
        const char *line;
    } rows[] = {
        {0x7B04000A, QStringLiteral("100%2.mov"), "[7b04000a] current_clip = 100%2.mov"},
        {0x7D01000A, 15u, "[7d01000a] transport_command = [15] shut_down"},
        {0x0901000A, 25u, "[901000a] interval_record_frames = 25"},
        {0x0D04000A, QByteArray("secret"), "[d04000a] lut_file = Data Parameter - no details available"},
        {unknown, 1u, ""},
    };
    for (const auto &row : rows)
        EXPECT_EQ(config.paramToString(row.id, row.value), QString::fromLatin1(row.line));
}

TEST(ConfigInterface, withoutAStoreItAnswersDefaultsAndRefusesWrites)
{
    expectLog("storeclient", QStringLiteral("makes no sense"));
    allowLog(QString());
    writeAll(QStringLiteral("/etc/xp/store"), "nonsense:here\n");
    ConfigInterface config(nullptr);
    EXPECT_EQ(LogCollector::lines("configinterface"),
              QStringList({"1 49 Failed to create config: nonsense:here",
                           "1 51 Failed to create events: nonsense:here"}));
    EXPECT_EQ(config.configObject(), nullptr);
    EXPECT_EQ(config.getUInt32(eParam_RecordOnRunningTimecode), 1u) << "0 would start takes by itself";
    EXPECT_EQ(config.getString(eParam_CurrentClip), QStringLiteral("N/A"));
    EXPECT_TRUE(config.getData(eParam_LutFile).isEmpty());
    EXPECT_FALSE(config.set(eParam_LoopPlayback, true));
    EXPECT_FALSE(config.set(eParam_CurrentClip, QStringLiteral("a.mov")));
    QFile::remove(QStringLiteral("/etc/xp/store"));
}

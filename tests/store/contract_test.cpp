// SPDX-License-Identifier: GPL-3.0-or-later
// What every kind of store promises, for every row of the table of backends.
#include "platform/store/alarmproducer.h"
#include "platform/store/alarms.pb.h"
#include "platform/store/localcommands.h"
#include "platform/store/storebackend.h"
#include "tests/store/redisserver.h"
#include "tests/store/storetesting.h"
#include "tests/support/logcollector.h"
#include "tests/support/sendsignal.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QRegularExpression>

#include <csignal>
#include <optional>

#include <sys/stat.h>
#include <unistd.h>

namespace {

/// What part of a processor the threads of this name take.
double cpuShare(const QByteArray &name)
{
    // proc(5): behind the name in brackets the state, and as the 12th and 13th field the ticks of work.
    const auto ticks = [&name] {
        qint64 sum = 0;
        for (const QString &thread : QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            const QByteArrayList fields = readAll("/proc/self/task/" + thread + "/stat").split(' ');
            if (fields.value(1) == '(' + name + ')') sum += fields[13].toLongLong() + fields[14].toLongLong();
        }
        return sum;
    };
    constexpr qint64 window = QmxClock::nsPerSecond / 5;
    QmxRealClock clock;
    const qint64 before = ticks();
    clock.sleepUntil(clock.now() + window);
    return double(ticks() - before) / double(sysconf(_SC_CLK_TCK)) / (double(window) / QmxClock::nsPerSecond);
}

std::string freshAddress(const std::string &scheme, const TestDir &dir, std::optional<RedisServer> &server,
                         std::optional<RedisServer> &sentinel)
{
    if (scheme == "sqlite") return "sqlite:" + dir.file("store.db").toStdString();
    if (scheme == "redis") return server.emplace().uri();
    if (scheme == "redis-sentinel") return sentinel.emplace(server.emplace()).uri();
    ADD_FAILURE() << "the test does not know how to make a store of kind " << scheme;
    return {};
}

class StoreContract : public testing::TestWithParam<std::string>
{
protected:
    QString quri() const { return QString::fromStdString(uri); }

    TestDir dir;
    std::optional<RedisServer> server;
    std::optional<RedisServer> sentinel;
    const std::string uri = freshAddress(GetParam(), dir, server, sentinel);
};

std::vector<std::string> schemes()
{
    std::vector<std::string> names;
    for (const StoreBackendRow &row : storeBackends())
        names.push_back(row.scheme);
    return names;
}

INSTANTIATE_TEST_SUITE_P(All, StoreContract, testing::ValuesIn(schemes()), [](const auto &scheme) {
    return QString::fromStdString(scheme.param).remove('-').toStdString();
});

TEST_P(StoreContract, refusesWhatDoesNotFitAndAnswersWithDefaults)
{
    expectLog("storeclient", "makes no sense");
    EXPECT_EQ(openStore("nonsense:" + dir.path().toStdString()), nullptr);
    for (const bool queued : {false, true}) {
        const auto config = openStore(uri, "checker", queued);
        ASSERT_NE(config, nullptr);
        EXPECT_EQ(numberOf(*config, eParam_RecordOnRunningTimecode), 1U);
        EXPECT_EQ(textOf(*config, eParam_CurrentClip), "N/A");

        struct Case
        {
            eParam_t id;
            StoreValue value;
            const char *reason;
        };
        const Case refused[] = {
            {eParam_TimecodePresetHour, StoreValue::fromUnsigned(24), "from 0 to 23"},
            {eParam_IntervalRecordFrames, StoreValue::fromUnsigned(0), "from 1"},
            {eParam_TransportCommand, StoreValue::fromUnsigned(2), "play (1)"},
            {eParam_RecordCodec, StoreValue::fromString("prores_422"), "takes a number"},
            {eParam_LutFile, StoreValue::fromString("/lut"), "takes bytes"},
            {eParam_TransportSpeed, StoreValue::fromString("101"), "-100 to 100"},
            {eParam_ClipBaseName, StoreValue::fromString("a/b"), "file name"},
            {eParam_ClipBaseName, StoreValue::fromString(".."), "file name"},
            {eParam_ClipNamePattern, StoreValue::fromString("../{take}"), "file name"},
            {eParam_CurrentClip, StoreValue::fromString("../../etc/passwd"), "of a clip"},
            {eParam_GoToClipName, StoreValue::fromString("/etc/passwd"), "of a clip"},
            {eParam_PlayList, StoreValue::fromString("a.mov\n../b.mov\n"), "of a clip"},
            {eParam_ReelNumber, StoreValue::fromString("\x1B[2J"), "control characters"},
            {eParam_ReelNumber, StoreValue::fromString(std::string("a\0b", 3)), "zero bytes"},
            {eParam_ReelNumber, StoreValue::fromString(std::string(1 << 20, 'x')), "at most"},
            {eParam_LutFile, StoreValue::fromData(std::string(1 << 20, 'x')), "at most"},
            {eParam_t(0x12345678), StoreValue::fromUnsigned(0), "0x12345678"},
        };
        for (const Case &test : refused) {
            EXPECT_FALSE(config->setValue(test.id, test.value));
            EXPECT_NE(config->lastError().find(test.reason), std::string::npos) << config->lastError();
        }
        EXPECT_EQ(numberOf(*config, eParam_TimecodePresetHour), 0U);
        EXPECT_EQ(textOf(*config, eParam_ReelNumber), "001");

        // What looks like a format or a statement is a text like any other.
        const std::string strange = "%s%n{0}'; DROP TABLE param; --\xC3\xA9";
        EXPECT_TRUE(config->setString(eParam_RolloverReelName, strange)) << config->lastError();
        EXPECT_EQ(textOf(*config, eParam_RolloverReelName), strange);
        EXPECT_TRUE(config->setString(eParam_RolloverReelName, ""));

        // Of another kind: the variable stays as it was.
        unsigned number = 77;
        std::string text = "kept";
        EXPECT_FALSE(config->getUInt(eParam_LutFile, number));
        EXPECT_FALSE(config->getString(eParam_RecordCodec, text));
        EXPECT_EQ(number, 77U);
        EXPECT_EQ(text, "kept");

        const std::string bytes("\0\1\xFF\0", 4);
        EXPECT_TRUE(config->setData(eParam_LutFile, bytes));
        EXPECT_TRUE(config->getData(eParam_LutFile, text));
        EXPECT_EQ(text, bytes);
        EXPECT_TRUE(config->setData(eParam_LutFile, {}));
    }
}

TEST_P(StoreContract, tellsOthersEveryChangeInOrderAndItselfNothing)
{
    const auto daemon = openStore(uri, "", true);
    const auto daemonEvents = openStore(uri, "", true);
    const auto other = openStore(uri, "operator", true);
    RecordingListener ofDaemon;
    RecordingListener ofOther;
    daemonEvents->addListener(&ofDaemon);
    other->addListener(&ofOther);
    Stepper::deliver();

    // Equal writes are events for commands and notices only.
    EXPECT_TRUE(other->setUInt(eParam_RecordCodec, 3));
    EXPECT_TRUE(other->setUInt(eParam_RecordCodec, 3));
    EXPECT_TRUE(other->setUInt(eParam_TransportCommand, 4));
    EXPECT_TRUE(other->setUInt(eParam_TransportCommand, 4));
    EXPECT_TRUE(other->setUInt(eParam_StorageState, 3));
    EXPECT_TRUE(other->setUInt(eParam_StorageState, 3));
    EXPECT_TRUE(other->setString(eParam_ReelNumber, "7"));
    EXPECT_EQ(textOf(*other, eParam_ReelNumber), "7"); // sees what it has queued
    // The clock stands still until everybody has heard, so this is all there will be.
    Stepper::runMs(1);
    using Seen = std::vector<RecordingListener::Seen>;
    EXPECT_EQ(ofDaemon.seen(), (Seen{{eParam_TimecodePresetHour, "0"},
                                     {eParam_RecordCodec, "3"},
                                     {eParam_TransportCommand, "4"},
                                     {eParam_TransportCommand, "4"},
                                     {eParam_StorageState, "3"},
                                     {eParam_StorageState, "3"},
                                     {eParam_ReelNumber, "7"}}));
    EXPECT_EQ(ofOther.seen(), (Seen{{eParam_TimecodePresetHour, "0"}}));

    EXPECT_TRUE(daemon->setString(eParam_CurrentClip, "a.mov"));
    Stepper::runMs(1);
    EXPECT_EQ(ofOther.values(eParam_CurrentClip), std::vector<std::string>{"a.mov"});
    EXPECT_TRUE(ofDaemon.values(eParam_CurrentClip).empty());
    EXPECT_EQ(textOf(*daemonEvents, eParam_CurrentClip), "a.mov");

    // A listener that comes later gets no old command, and a command leaves no value behind.
    const auto late = openStore(uri, "late", true);
    RecordingListener ofLate;
    late->addListener(&ofLate);
    Stepper::runMs(1);
    EXPECT_EQ(ofLate.seen(), (Seen{{eParam_TimecodePresetHour, "0"}}));
    EXPECT_EQ(numberOf(*late, eParam_TransportCommand), 0U);
}

TEST_P(StoreContract, tellsNothingBeforeTheEventLoopTurnsNorAfterTheEnd)
{
    const auto daemon = openStore(uri, "", true);
    const auto direct = openStore(uri, "operator", false);
    RecordingListener early;
    daemon->addListener(&early);
    ASSERT_TRUE(direct->setUInt(eParam_TransportCommand, 3));
    // Read at the start, as the program does, although it has not been told yet.
    ASSERT_TRUE(direct->setUInt(eParam_LoopPlayback, 1));
    unsigned loop = 0;
    for (int i = 0; i < 2000 && loop == 0; ++i) {
        daemon->getUInt(eParam_LoopPlayback, loop);
        runProgram("true", {});
    }
    EXPECT_EQ(loop, 1U);
    EXPECT_TRUE(early.seen().empty());
    // However much waits for that turn, nobody works for it meanwhile.
    StoreContext context{{}, "crowd", QmxEnvironment::current(), {}, {}};
    const StoreBackendRow *row = findStoreBackend(uri, context.path);
    const std::vector<StoreWrite> many(5000, {eParam_GoToClipIndex, StoreValue::fromUnsigned(7)});
    std::vector<quint64> versions;
    ASSERT_TRUE(row->make(context)->write(many, versions).isDone());
    double share = 1;
    for (int look = 0; look < 10 && share > 0.1; ++look)
        share = cpuShare("store-events");
    EXPECT_LE(share, 0.1);
    Stepper::deliver();
    EXPECT_TRUE(
        Stepper::waitFor([&] { return early.values(eParam_GoToClipIndex).size() == many.size(); }, 20000));
    EXPECT_EQ(early.values(eParam_LoopPlayback), std::vector<std::string>{"1"});
    EXPECT_EQ(early.values(eParam_TransportCommand), std::vector<std::string>{"3"});

    RecordingListener atEnd;
    const auto events = openStore(uri, "", true);
    events->addListener(&atEnd);
    Stepper::deliver();
    QMetaObject::invokeMethod(QCoreApplication::instance(), "aboutToQuit", Qt::DirectConnection);
    const std::size_t heard = early.seen().size() + atEnd.seen().size();
    // The second change is only read when the first would have been told.
    for (const unsigned value : {0U, 1U}) {
        ASSERT_TRUE(direct->setUInt(eParam_LoopPlayback, value));
        EXPECT_TRUE(Stepper::waitFor([&] { return numberOf(*daemon, eParam_LoopPlayback) == value; }));
    }
    EXPECT_EQ(early.seen().size() + atEnd.seen().size(), heard);
}

TEST_P(StoreContract, aStopReachesTheProgramByItsSocketWhateverTheStoreDoes)
{
    const auto daemon = openStore(uri, "", true);
    RecordingListener heard;
    daemon->addListener(&heard);
    Stepper::deliver();
    const QString path = dir.file("command");
    EXPECT_TRUE(LocalCommands::sendStop(path).contains(path)) << "nobody listens";
    std::optional<LocalCommands> commands(std::in_place, uri, path);
    struct stat socket = {};
    ASSERT_EQ(stat(path.toLocal8Bit().constData(), &socket), 0);
    EXPECT_EQ(socket.st_mode & 07777U, 0660U) << "the group alone";
    EXPECT_EQ(LocalCommands::sendStop(path), QString());
    EXPECT_TRUE(heard.waitForLast(eParam_TransportCommand, "4"));
    commands.reset();
    EXPECT_FALSE(QFile::exists(path));
}

TEST_P(StoreContract, fiveListenersHearTwoWritersAlike)
{
    constexpr unsigned count = 200;
    openStore(uri); // makes it
    std::vector<std::unique_ptr<Worker>> listeners;
    listeners.reserve(5);
    for (int i = 0; i < 5; ++i)
        listeners.push_back(std::make_unique<Worker>(QStringList{"listen", quri()}));
    for (const auto &listener : listeners)
        ASSERT_TRUE(listener->waitForLines(1));
    Worker first({"write", quri(), "go_to_clip_index", "1", QString::number(count)});
    Worker second({"write", quri(), "camera_data_mode", "1", QString::number(count)});
    ASSERT_TRUE(first.waitForEnd() && second.waitForEnd());
    EXPECT_EQ(first.lines().size(), count);

    const qsizetype all = 1 + 1 + 2 * count; // "ready", the preset, the writes
    QStringList reference;
    for (const auto &listener : listeners) {
        ASSERT_TRUE(listener->waitForLines(all)) << listener->lines().size();
        if (reference.isEmpty()) reference = listener->lines();
        // "ready" may come before or after what is told at first.
        QStringList lines = listener->lines();
        EXPECT_EQ(lines.mid(2), reference.mid(2));
        EXPECT_EQ(lines.size(), all);
    }
    for (const unsigned id : {unsigned(eParam_GoToClipIndex), unsigned(eParam_CameraDataMode)}) {
        const QStringList ofOne = reference.filter(QRegularExpression("^" + QString::number(id) + " "));
        QStringList expected;
        for (unsigned i = 1; i <= count; ++i)
            expected << QString::number(id) + " " + QString::number(i);
        EXPECT_EQ(ofOne, expected);
    }
}

TEST_P(StoreContract, killedWriterLosesNothingAcknowledged)
{
    unsigned last = 0;
    for (int round = 0; round < 8; ++round) {
        Worker writer({"write", quri(), "camera_data_mode", QString::number(last + 1), "1000000"});
        ASSERT_TRUE(writer.waitForLines(5 + 7 * round));
        writer.kill();
        const unsigned acknowledged = writer.lines().back().toUInt();
        last = numberOf(*openStore(uri), eParam_CameraDataMode);
        // The write under way may have been committed and not told any more.
        EXPECT_TRUE(last == acknowledged || last == acknowledged + 1) << last << " after " << acknowledged;
    }
}

TEST_P(StoreContract, whoIsStoppedHoldsNobodyUpAndCatchesUpOrIsToldToReload)
{
    constexpr unsigned count = 100'500;
    const auto config = openStore(uri, "", true);
    Worker stopped({"listen", quri()});
    auto dead = std::make_unique<Worker>(QStringList{"listen", quri()});
    ASSERT_TRUE(stopped.waitForLines(2) && dead->waitForLines(1)); // with what is told at first
    sendSignal(stopped.pid(), SIGSTOP);
    dead.reset();
    for (unsigned i = 1; i <= count; ++i)
        if (!config->setUInt(eParam_CameraDataMode, i)) {
            ASSERT_TRUE(Stepper::waitFor([&] { return config->pendingWrites() < 1000; }, 60000));
            --i;
        }
    ASSERT_TRUE(Stepper::waitFor([&] { return config->pendingWrites() == 0; }, 60000));
    sendSignal(stopped.pid(), SIGCONT);
    const QString name = QString::number(unsigned(eParam_CameraDataMode)) + " ";
    ASSERT_TRUE(stopped.waitForLine(name + QString::number(count)));
    unsigned expected = 1;
    for (const QString &line : stopped.lines().mid(2)) {
        const bool isReload = line == "reload";
        // After that any value may be the next one, and only then.
        EXPECT_TRUE(isReload || expected == 0 || line == name + QString::number(expected))
            << line.toStdString() << " instead of " << expected;
        expected = isReload ? 0 : line.mid(name.size()).toUInt() + 1;
        if (HasFailure()) break;
    }
}

TEST_P(StoreContract, whoListensIsWokenAndNeedNotPoll)
{
    constexpr unsigned count = 20;
    constexpr qint64 pollMs = 250; // what finds a change that nobody was woken for
    const auto config = openStore(uri);
    Worker listener({"listen", quri()});
    ASSERT_TRUE(listener.waitForLines(2));
    const qint64 before = QmxRealClock().now();
    for (unsigned i = 1; i <= count; ++i) {
        ASSERT_TRUE(config->setUInt(eParam_GoToClipIndex, i));
        ASSERT_TRUE(listener.waitForLines(2 + i));
    }
    EXPECT_LT(QmxRealClock().now() - before, count * pollMs * 1'000'000 / 2);
}

TEST_P(StoreContract, alarmsGoWithTheirProcessAndStayInTheHistory)
{
    const auto config = openStore(uri);
    std::string value;
    Worker other({"alarm", quri()});
    ASSERT_TRUE(other.waitForLines(1));
    openStore(uri, "second"); // the writer lives, so opening clears nothing
    config->getData(eParam_AlarmMediaFull, value);
    EXPECT_EQ(config->descriptor(eParam_AlarmMediaFull)->print(StoreValue::fromData(value)), "error: full");
    other.kill();
    openStore(uri, "third"); // a reader, which may not see the writer's process
    EXPECT_TRUE(config->getData(eParam_AlarmMediaFull, value));
    EXPECT_FALSE(value.empty());
    const auto daemon = openStore(uri, "daemon", true);
    EXPECT_TRUE(
        Stepper::waitFor([&] { return config->getData(eParam_AlarmMediaFull, value) && value.empty(); }));

    EXPECT_FALSE(AlarmProducer::clear(config.get(), eParam_RecordCodec));
    EXPECT_TRUE(
        AlarmProducer::raise(config.get(), eParam_AlarmMirrorLost, kel::alarms::Alarm::INFORMATION, ""));
    EXPECT_TRUE(config->getData(eParam_AlarmMirrorLost, value));
    EXPECT_FALSE(value.empty()); // even the emptiest alarm is not a clear one
    const auto history = config->alarmHistory(10);
    ASSERT_EQ(history.size(), 3U);
    EXPECT_TRUE(history[0].raised && history[0].message == "full" && history[0].severity == 2);
    EXPECT_FALSE(history[1].raised);
    EXPECT_EQ(history[2].id, eParam_AlarmMirrorLost);
}

} // namespace

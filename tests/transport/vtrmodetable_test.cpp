// SPDX-License-Identifier: GPL-3.0-or-later
// Whatever happens at whatever moment of a change of mode: the transport comes to rest in the mode that it
// should be in, has told its state, and holds neither a stream nor the storage that it does not need.
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/device/qmxvideodevice.h"
#include "platform/qmx/stream/qmxstream.h"
#include "tests/transport/transportrig.h"

#include <QRegularExpression>
#include <QTimer>

namespace {

/// Where the transport is when something happens to it.
struct Moment
{
    const char *name;
    VtrMode::Value mode;               ///< asked for last
    bool isPending;                    ///< the change to it is
    const char *busy;                  ///< what it waits for; empty: nothing
    std::function<void()> first, then; ///< lead there from rest in StandbyOff
};

/// What happens, and the mode in which it all ends.
struct Event
{
    const char *name;
    std::function<void()> happen;
    std::function<VtrMode::Value(const Moment &)> leadsTo;
};

VtrMode::Value staysIn(const Moment &moment)
{
    return moment.mode;
}

/// A command is dropped while a change is pending.
auto commandTo(VtrMode::Value mode)
{
    return [mode](const Moment &moment) { return moment.isPending ? moment.mode : mode; };
}

/// Whatever is recording by the end is stopped.
VtrMode::Value endsARecord(const Moment &moment)
{
    return moment.mode == VtrMode::Record ? VtrMode::StandbyOff : moment.mode;
}

class ModeTableTest : public TransportRig
{
protected:
    ModeTableTest() { allowLog(QString()); }

    QList<Moment> moments();
    void reach(const Moment &moment);
    QList<Event> commands();
    QList<Event> failures();

    void prepare()
    {
        startUp();
        vtr().setEncodeFormat(QmxId(205));
        Stepper::runMs(600);
        recordClip("clip.mov", 50);
        playbackDesc = media.file("clip.mov");
        _input = vtr().inputState();
        events.clear();
    }
    void newTake() { recordDesc = media.file(QStringLiteral("take%1.mov").arg(++_takes)); }
    void nextClip()
    {
        newTake();
        vtr().reopenRecordStream();
    }
    void changeSetting() { vtr().setSuperOut(QmxId(1300 + ++_settings % 4)); }
    void recordNow()
    {
        newTake();
        vtr().record();
    }
    QmxVideoDevice &device() { return *vtr().findChild<QmxVideoDevice *>(); }

    void expectRestIn(VtrMode::Value mode);
    void backToStandby();

private:
    QmxVideoState _input;
    int _takes = 0;
    int _settings = 0;
};

QList<Moment> ModeTableTest::moments()
{
    const auto nothing = [] {};
    // A medium that takes its time to open the next file.
    const auto slow = [this] { files->stallNth(FaultyFiles::Open, 1, 100 * QmxClock::nsPerMillisecond); };
    const auto setting = [this] { changeSetting(); };
    const auto record = [this] { recordNow(); };
    const auto recording = [this] {
        recordNow();
        ASSERT_TRUE(Stepper::runUntil([this] { return framesRecorded() > 1; }));
    };
    const auto play = [this] { vtr().play(); };
    const auto at = [this](double speed) {
        return [this, speed] {
            vtr().play(speed);
            ASSERT_TRUE(Stepper::runUntil([this] { return isIdle() && hasPicture(); }));
        };
    };
    const auto playing = at(1.0);
    const auto stop = [this] { vtr().standbyOff(); };
    const auto shut = [this] { vtr().shutdown(); };
    const auto isShut = [this] {
        ASSERT_TRUE(Stepper::runUntil([this] { return vtr().isShutdownComplete(); }));
    };
    const auto anew = [this] {
        shutDown();
        events.clear();
        create();
    };
    using M = VtrMode;
    return {
        {"stopped", M::StandbyOff, false, "", nothing, nothing},
        {"stopped, being set up", M::StandbyOff, false, "vdev setup", setting, nothing},
        {"about to record, being set up", M::Record, false, "vdev setup", setting, record},
        {"recording, opening", M::Record, false, "stm open", slow, record},
        {"recording", M::Record, false, "", recording, nothing},
        {"recording, between two clips", M::Record, false, "stm close", recording, [this] { nextClip(); }},
        {"stopping a take", M::StandbyOff, true, "stm close", recording, stop},
        {"out of a take into play", M::Play, true, "stm close", recording, play},
        {"playing, opening", M::Play, false, "stm open", slow, play},
        // The next frame to be written waits for it.
        {"playing, before the set-up", M::Play, false, "vdev reset", playing, setting},
        {"playing, being set up", M::Play, false, "vdev setup", play, nothing},
        {"playing", M::Play, false, "", playing, nothing},
        {"still", M::Play, false, "", at(0.0), nothing},
        {"playing, flushing", M::Play, false, "vdev flush", playing, [this] { vtr().play(2.0); }},
        {"playing, between two clips", M::Play, false, "stm close", playing,
         [this] { vtr().reopenPlaybackStream(); }},
        {"out of play into a take", M::Record, true, "stm close", playing, record},
        {"stopping the play", M::StandbyOff, true, "stm close", playing, stop},
        {"shutting down out of a take", M::Shutdown, true, "stm close", recording, shut},
        {"shutting down, being set up", M::Shutdown, false, "vdev setup", shut, nothing},
        {"shut down", M::Shutdown, false, "", shut, isShut},
        {"not yet started", M::Invalid, false, "", anew, nothing},
    };
}

void ModeTableTest::reach(const Moment &moment)
{
    moment.first();
    moment.then();
    const auto isThere = [&] {
        return *moment.busy ? vtr().stateToString().contains(QLatin1String(moment.busy)) : isIdle();
    };
    ASSERT_TRUE(Stepper::runUntil(isThere)) << vtr().stateToString().toStdString();
    if (QByteArray(moment.busy) == "stm open") Stepper::deliver(); // the call has begun
    ASSERT_EQ(vtr().state().mode().value(), moment.mode);
    ASSERT_EQ(vtr().hasPendingModeChange(), moment.isPending);
}

QList<Event> ModeTableTest::commands()
{
    return {
        {"play", [this] { vtr().play(); }, commandTo(VtrMode::Play)},
        {"rewind", [this] { vtr().rewind(); }, commandTo(VtrMode::Play)},
        {"cue", [this] { vtr().cue(7); }, commandTo(VtrMode::Play)},
        {"step", [this] { vtr().step(-1); }, commandTo(VtrMode::Play)},
        {"record", [this] { recordNow(); },
         [](const Moment &moment) {
             const bool isInhibited = moment.mode == VtrMode::Invalid; // no input is known yet
             return isInhibited ? moment.mode : commandTo(VtrMode::Record)(moment);
         }},
        {"stop", [this] { vtr().standbyOff(); }, commandTo(VtrMode::StandbyOff)},
        {"shut down", [this] { vtr().shutdown(); }, commandTo(VtrMode::Shutdown)},
        {"next clip of the take", [this] { nextClip(); }, staysIn},
        {"another clip to play", [this] { vtr().reopenPlaybackStream(); }, staysIn},
        {"a setting", [this] { changeSetting(); }, staysIn},
    };
}

QList<Event> ModeTableTest::failures()
{
    const auto whenStopped = [](const Moment &moment) {
        return moment.isPending ? moment.mode : endsARecord(moment);
    };
    return {
        {"a set-up that fails", [this] { board->failingSetups = 1; }, staysIn},
        {"a set-up that is refused", [this] { vtr().setVideoSignalGenMode(QmxId(800)); }, staysIn},
        {"an input that goes", [this] { emit device().inputChanged(0, QmxVideoState()); }, staysIn},
        {"a frame dropped", [this] { emit device().frameDropped(); },
         [](const Moment &moment) { return *moment.busy == '\0' ? endsARecord(moment) : moment.mode; }},
        {"an end that was shown",
         [this] {
             QmxMetadataHash meta;
             meta.insert(QmxId(9), true);
             meta.insert(QmxId(10), true);
             emit device().playedKeyFrame(meta);
         },
         staysIn},
        {"a picture that could not be read", [this] { emit device().readFromHardwareFailed(QmxError(EIO)); },
         whenStopped},
        {"a picture that could not be shown",
         [this] { emit device().writeToHardwareFailed(QmxError(EIO), QmxFrame()); }, staysIn},
        {"a medium on which nothing can be written",
         [this] { files->failNth(FaultyFiles::Pwrite, 1, EIO, true); }, endsARecord},
        {"a medium on which nothing can be opened",
         [this] { files->failNth(FaultyFiles::Open, 1, EIO, true); },
         [](const Moment &moment) {
             // A take opens its file more than once, so one that is being opened fails, too.
             const bool opens =
                 QByteArray(moment.busy) == "stm close" || (*moment.busy && moment.mode == VtrMode::Record);
             const bool usesMedium = moment.mode == VtrMode::Play || moment.mode == VtrMode::Record;
             return usesMedium && opens ? VtrMode::StandbyOff : moment.mode;
         }},
    };
}

/// Comes there by itself, and then stays.
void ModeTableTest::expectRestIn(VtrMode::Value mode)
{
    const auto rests = [&] { return vtr().state().mode().value() == mode && isSettled(); };
    EXPECT_TRUE(Stepper::runUntil(rests))
        << VtrMode::name(vtr().state().mode().value()) << ' ' << vtr().stateToString().toStdString()
        << ", in progress: " << QmxEnvironment::current().deck->operations.oldest(nullptr).toStdString();
    // An end is told once, however often the transport does its step.
    Stepper::runMs(vtr().isShutdownComplete() ? 520 : 60);
    EXPECT_STREQ(vtr().state().mode().name(), VtrMode::name(mode));
    const bool usesMedium = mode == VtrMode::Play || mode == VtrMode::Record;
    EXPECT_EQ(storageInUse(), usesMedium ? 1 : 0);
    if (usesMedium) {
        EXPECT_LE(openFiles(), mode == VtrMode::Record ? 2 : 1); // a writer holds its file twice
    } else {
        EXPECT_TRUE(stream().isClosed());
        EXPECT_EQ(openFiles(), 0);
    }
    EXPECT_EQ(vtr().isShutdownComplete(), count("shut down") == 1);
}

void ModeTableTest::backToStandby()
{
    files->clear();
    board->failingSetups = 0;
    vtr().setVideoSignalGenMode(QmxId());
    if (!vtr().state().mode().isValid())
        startUp();
    else if (vtr().state().mode().isInModeShutdown() || vtr().isShutdownComplete())
        restart();
    events.clear();
    vtr().standbyOff();
    expectRestIn(VtrMode::StandbyOff);
    if (!vtr().inputState().isValid()) emit device().inputChanged(0, _input);
    // A set-up may still be due.
    const auto isDue = [](const QTimer *timer) { return timer->isSingleShot() && timer->isActive(); };
    const auto timers = vtr().findChildren<QTimer *>(Qt::FindDirectChildrenOnly);
    ASSERT_TRUE(Stepper::runUntil([&] { return std::none_of(timers.begin(), timers.end(), isDue); }));
    ASSERT_TRUE(Stepper::runUntil([this] { return isSettled(); }));
}

} // namespace

TEST_F(ModeTableTest, everyEventAtEveryMomentEndsInItsMode)
{
    prepare();
    for (const Moment &moment : moments()) {
        for (const Event &event : commands() + failures()) {
            SCOPED_TRACE(std::string(moment.name) + ": " + event.name);
            reach(moment);
            if (HasFatalFailure()) return;
            event.happen();
            expectRestIn(event.leadsTo(moment));
            backToStandby();
            if (HasFailure()) return;
        }
    }
}

TEST_F(ModeTableTest, aCommandGivenInsideASignalIsLikeAnyOther)
{
    prepare();
    int left = 0;
    std::function<void()> command;
    const auto on = [&](auto signal) {
        return [this, &left, &command, signal] {
            return QObject::connect(&vtr(), signal, &vtr(), [&left, &command] {
                if (left-- > 0) command();
            });
        };
    };
    const std::pair<const char *, std::function<QMetaObject::Connection()>> signalsOf[] = {
        {"modeChanged", on(&VtrObject::modeChanged)},
        {"stateChanged", on(&VtrObject::stateChanged)},
        {"streamIsOpen", on(&VtrObject::streamIsOpen)},
        {"streamIsClosed", on(&VtrObject::streamIsClosed)},
        {"requestPlaybackStreamDesc", on(&VtrObject::requestPlaybackStreamDesc)},
        {"requestRecordStreamDesc", on(&VtrObject::requestRecordStreamDesc)},
        {"storageInUse", on(&VtrObject::storageInUse)},
        {"videoDeviceSetupChanged", on(&VtrObject::videoDeviceSetupChanged)},
        {"frameDropped", on(&VtrObject::frameDropped)},
        {"alarmTriggered", on(&VtrObject::alarmTriggered)},
        {"vbi", on(&VtrObject::vbi)},
    };
    const std::pair<const char *, std::function<void()>> orders[] = {
        {"play", [this] { vtr().play(); }},          {"still", [this] { vtr().still(); }},
        {"record", [this] { recordNow(); }},         {"stop", [this] { vtr().standbyOff(); }},
        {"shut down", [this] { vtr().shutdown(); }},
    };
    constexpr int often = 3;
    for (const auto &[signalName, connectTo] : signalsOf) {
        for (const auto &[orderName, order] : orders) {
            SCOPED_TRACE(std::string(orderName) + " in " + signalName);
            command = order;
            left = often;
            forgetLog();
            const QMetaObject::Connection connection = connectTo();
            changeSetting();
            recordNow();
            Stepper::runMs(300);
            emit device().frameDropped();
            Stepper::runMs(100);
            vtr().play();
            Stepper::runMs(200);
            vtr().standbyOff();
            Stepper::runMs(100);
            QObject::disconnect(connection);
            EXPECT_LT(left, often) << "the signal has not come";
            EXPECT_EQ(logged().count("Begin Mode Record"),
                      events.filter(QRegularExpression("^mode .* Record$")).size());
            ASSERT_TRUE(Stepper::runUntil([this] { return isSettled(); }));
            expectRestIn(vtr().state().mode().value());
            backToStandby();
            if (HasFailure()) return;
        }
    }
}

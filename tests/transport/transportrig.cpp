// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/transport/transportrig.h"

#include "platform/qmx/core/qmxrecordtable.h"

TransportRig::TransportRig()
{
    registerMetaTypes();
    // There are no stills on a machine that only builds; each test of them brings its own expectation.
    allowLog(QString(), QStringLiteral("loss_of_video"));
    create();
}

void TransportRig::create()
{
    _vtr = std::make_unique<VtrObject>(nullptr);
    listen();
}

void TransportRig::restart()
{
    shutDown();
    create();
    startUp();
}

TransportRig::~TransportRig()
{
    if (_vtr) shutDown();
}

void TransportRig::listen()
{
    VtrObject *vtr = _vtr.get();
    const auto note = [this](const QString &event) { events.append(event); };
    QObject::connect(vtr, &VtrObject::modeChanged, [note](const VtrMode &from, const VtrMode &to) {
        note(QStringLiteral("mode %1 %2").arg(from.name(), to.name()));
    });
    QObject::connect(vtr, &VtrObject::stateChanged, [note](const VtrState &from, const VtrState &to) {
        note(QStringLiteral("state %1> %2").arg(from.toString(), to.toString().trimmed()));
    });
    QObject::connect(vtr, &VtrObject::streamIsOpen, [note](const QmxError &error) {
        note(error.isError() ? QStringLiteral("open failed %1").arg(error.value()) : QStringLiteral("open"));
    });
    QObject::connect(vtr, &VtrObject::streamIsClosed, [note] { note(QStringLiteral("closed")); });
    QObject::connect(vtr, &VtrObject::storageInUse,
                     [note](bool inUse) { note(QStringLiteral("storage %1").arg(inUse)); });
    QObject::connect(vtr, &VtrObject::shutdownIsComplete, [note] { note(QStringLiteral("shut down")); });
    QObject::connect(vtr, &VtrObject::recordFailedToStart,
                     [note](QmxId &reason) { note(QStringLiteral("inhibited %1").arg(reason.value())); });
    QObject::connect(vtr, &VtrObject::inputFormatChanged, [note](int input, const QmxVideoState &state) {
        note(QStringLiteral("input %1 %2").arg(input).arg(state.isValid() ? "valid" : "invalid"));
    });
    QObject::connect(vtr, &VtrObject::requestPlaybackStreamDesc, [this](QVariant &desc, int &frame) {
        desc = playbackDesc;
        frame = startFrame;
    });
    QObject::connect(vtr, &VtrObject::requestRecordStreamDesc, [this](QVariant &desc) { desc = recordDesc; });
    QObject::connect(vtr, &VtrObject::requestRecordInhibit, [this](QmxId &reason) {
        if (inhibit.isValid()) reason = inhibit;
    });
    QObject::connect(vtr, &VtrObject::alarmTriggered,
                     [this](const QmxAlarm &alarm) { alarms.append(alarm); });
}

bool TransportRig::isIdle() const
{
    return !_vtr->hasPendingModeChange() && _vtr->stateToString().endsWith(QStringLiteral("] "));
}

bool TransportRig::runUntilIdle()
{
    return Stepper::runUntil([this] { return isIdle(); });
}

bool TransportRig::runUntilMode(VtrMode mode)
{
    return Stepper::runUntil([this, mode] { return _vtr->state().mode() == mode && isIdle(); });
}

void TransportRig::startUp()
{
    _vtr->start();
    ASSERT_TRUE(Stepper::runUntil([this] { return _vtr->inputState().isValid(); }));
    // The input that was found leads to one reset half a second later.
    Stepper::runMs(1000);
    ASSERT_TRUE(runUntilIdle());
    ASSERT_TRUE(_vtr->state().mode().isInModeStandbyOff());
}

int TransportRig::framesRecorded() const
{
    const auto entry = QmxRecordTable::instance()->entry(recordDesc.toString());
    return entry ? entry->frames : 0;
}

void TransportRig::recordClip(const QString &name, int frames)
{
    recordDesc = media.file(name);
    _vtr->record();
    ASSERT_TRUE(
        Stepper::runUntil([this, frames] { return framesRecorded() >= frames; }, 60 * QmxClock::nsPerSecond));
    _vtr->standbyOff();
    ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
}

void TransportRig::playClip(const QString &name, double speed)
{
    playbackDesc = media.file(name);
    _vtr->play(speed);
    ASSERT_TRUE(Stepper::runUntil([this] { return count(QStringLiteral("open")) > 0 && isIdle(); }));
    ASSERT_TRUE(Stepper::runUntil([this] { return !_vtr->currentFrameMetadata().isEmpty(); }));
}

void TransportRig::shutDown()
{
    _vtr->shutdown();
    if (!_vtr->state().mode().isInModeShutdown()) {
        // Dropped: a change was pending.
        EXPECT_TRUE(runUntilIdle());
        _vtr->shutdown();
    }
    EXPECT_TRUE(Stepper::runUntil([this] { return _vtr->isShutdownComplete(); }));
    _vtr.reset();
}

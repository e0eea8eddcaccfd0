// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/transport/transportrig.h"

#include "platform/product/stillfiles.h"
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/device/lumenoptions.h"
#include "platform/qmx/edges/lumenprofile.h"
#include "platform/qmx/stream/qmxstream.h"
#include "tests/support/movedfiles.h"
#include "tests/transport/transportlines.h"

#include <QDir>

TransportRig::TransportRig(const QString &input, const QString &device)
{
    const QString profile = media.file(QStringLiteral("lumen.ini"));
    const QString text = QStringLiteral("[device]\nworkers=2\n%1\n[inputs]\n601=%2\n").arg(device, input);
    writeAll(profile, text.toUtf8());
    files = std::make_shared<FaultyFiles>(std::make_shared<MovedFiles>(std::map<QString, QString>{
        {QmxPlaces().profile, profile}, {QmxPlaces().stills, media.file(QStringLiteral("stills"))}}));
    environment.files = files;
    environment.deck = std::make_shared<QmxDeck>();
    QmxEnvironment::setCurrent(environment);
    LumenOptions options;
    options.board = board;
    LumenOptions::setCurrent(options);
    registerMetaTypes();
    // Another program on this machine may hold the shared counters.
    allowLog(QStringLiteral("lumen"), QStringLiteral("/xpd_counters cannot be shared"));
    // Most tests have no stills.
    allowLog(QString(), QStringLiteral("loss_of_video"));
    allowLog(QStringLiteral("vtrobject"), QStringLiteral("Failed to find loss of video file for"));
    create();
}

void TransportRig::create()
{
    _reported = VtrState();
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
    LumenOptions::setCurrent({});
    for (const QmxLogRecord &record : LogCollector::records())
        EXPECT_TRUE(record.source != QLatin1String("vtrobject") || isTransportLine(record))
            << "not a line of the transport: " << record.level << ' ' << record.text.toStdString();
}

QmxStream &TransportRig::stream() const
{
    return *_vtr->findChild<QmxStream *>(QString(), Qt::FindDirectChildrenOnly);
}

QmxError TransportRig::loseImage(QmxFrame &frame)
{
    frame.vids().first() = QmxImage(frame.vids().first().desc());
    return {};
}

void TransportRig::listen()
{
    VtrObject *vtr = _vtr.get();
    const auto note = [this](const QString &event) { events.append(event); };
    QObject::connect(vtr, &VtrObject::modeChanged, [note](const VtrMode &from, const VtrMode &to) {
        note(QStringLiteral("mode %1 %2").arg(from.name(), to.name()));
    });
    QObject::connect(vtr, &VtrObject::stateChanged, [this, note](const VtrState &from, const VtrState &to) {
        _reported = to;
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
    QObject::connect(vtr, &VtrObject::requestRecordStreamDesc, [this](QVariant &desc) {
        if (recordDesc.isValid()) desc = recordDesc;
    });
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

bool TransportRig::isSettled() const
{
    return isIdle() && environment.deck->operations.inProgress() == 0 && !(_reported != _vtr->state());
}

int TransportRig::storageInUse() const
{
    return _vtr->stateToString().section(QStringLiteral(" SU "), 1).section(QLatin1Char(' '), 0, 0).toInt();
}

int TransportRig::openFiles() const
{
    int count = 0;
    for (const QFileInfo &fd :
         QDir(QStringLiteral("/proc/self/fd")).entryInfoList(QDir::Files | QDir::System))
        count += fd.symLinkTarget().startsWith(media.path());
    return count;
}

bool TransportRig::hasPicture() const
{
    // Before the first frame the device knows nothing but the number of the one to come.
    return _vtr->currentFrameMetadata().contains(QmxId(12));
}

bool TransportRig::runUntilIdle()
{
    return Stepper::runUntil([this] { return isIdle(); });
}

bool TransportRig::runUntilMode(VtrMode mode)
{
    return Stepper::runUntil([this, mode] { return _reported.mode() == mode && isIdle(); });
}

void TransportRig::startUp()
{
    _vtr->start();
    ASSERT_TRUE(Stepper::runUntil([this] { return _vtr->inputState().isValid(); }));
    // The input that was found leads to one reset half a second later.
    Stepper::runMs(600);
    ASSERT_TRUE(runUntilIdle());
    ASSERT_TRUE(_vtr->state().mode().isInModeStandbyOff());
}

int TransportRig::framesRecorded() const
{
    const auto entry = environment.deck->recordTable.entry(recordDesc.toString());
    return entry ? entry->frames : 0;
}

void TransportRig::beginTake(const QString &name, int frames)
{
    recordDesc = media.file(name);
    _vtr->record();
    ASSERT_TRUE(
        Stepper::runUntil([this, frames] { return framesRecorded() >= frames; }, 60 * QmxClock::nsPerSecond));
}

void TransportRig::stop()
{
    _vtr->standbyOff();
    ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
}

void TransportRig::recordClip(const QString &name, int frames)
{
    beginTake(name, frames);
    stop();
}

void TransportRig::playClip(const QString &name, double speed)
{
    playbackDesc = media.file(name);
    _vtr->play(speed);
    ASSERT_TRUE(Stepper::runUntil([this] { return count(QStringLiteral("open")) > 0 && isIdle(); }));
    ASSERT_TRUE(Stepper::runUntil([this] { return hasPicture(); }));
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

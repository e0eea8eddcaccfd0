// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/qmxvideodevice.h"

#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/device/clockthread.h"
#include "platform/qmx/device/lumenengine.h"

#include <QCoreApplication>
#include <QEvent>
#include <QPointer>

#include <cerrno>
#include <optional>

namespace {
constexpr const char *logSource = "lumen";
const QEvent::Type deliverEvent = QEvent::Type(QEvent::registerEventType());
} // namespace

struct QmxVideoDevice::Private
{
    Private(QmxVideoDevice *device, const LumenOptions &made) : q(device), options(made) {}

    void deliverAll();
    void deliver(const DeviceEvent &event);
    void deliverCaptureDrop(const DeviceEvent &event);
    void finishFlush();
    void failTake(const QmxError &error);
    void pushDone(DeviceEvent::Type type);
    void finishSetup();
    LumenBoard &board() const;

    /// A set-up that the board has refused: the asked one until that is told.
    struct Refused
    {
        QmxVideoDeviceSetup setup;
        QmxError error;
    };

    const QmxEnvironment environment = QmxEnvironment::current();
    QmxVideoDevice *q;
    LumenOptions options;
    // Destroyed from the bottom up: the clock first, then the engine, then what they push into.
    std::unique_ptr<DeviceEvents> events;
    std::unique_ptr<LumenEngine> engine;
    std::unique_ptr<ClockThread> clock;
    bool wasOpened = false;
    bool inSetup = false;
    bool flushing = false;
    bool vbiInTake = false; ///< one has been delivered since the direction became record
    std::optional<Refused> refused;
    QmxOperations::Token setupToken;
    QmxOperations::Token flushToken;
    std::shared_ptr<void> failures;
};

QmxVideoDevice::QmxVideoDevice(QObject *parent) : QmxVideoDevice(LumenOptions::current(), parent) {}

QmxVideoDevice::QmxVideoDevice(const LumenOptions &options, QObject *parent)
    : QObject(parent), d(std::make_unique<Private>(this, options))
{}

QmxVideoDevice::~QmxVideoDevice()
{
    close();
}

bool QmxVideoDevice::open(const QString &name)
{
    if (name != QLatin1String("lumen") || d->wasOpened) {
        qmxLogOutput(QmxLogLevel::Warning, logSource, __LINE__, "Video device \"%s\" cannot be opened: %s\n",
                     qPrintable(name),
                     d->wasOpened ? "it is opened once in its life" : "the only card is \"lumen\"");
        return false;
    }
    d->wasOpened = true;
    if (const QmxError error = d->board().open(); error.isError()) {
        qmxLogOutput(QmxLogLevel::Warning, logSource, __LINE__, "Video device \"%s\" cannot be opened: %s\n",
                     qPrintable(name), qPrintable(error.toString()));
        return false;
    }
    // The machine's card publishes what it does; one with a profile of its own keeps it private.
    if (!d->options.profile && !d->environment.deck->counters.publish(d->environment.places->counters))
        qmxLogOutput(QmxLogLevel::Warning, logSource, __LINE__,
                     "The counters %s cannot be shared, companions will not see them: %s\n",
                     qPrintable(d->environment.places->counters), qUtf8Printable(QmxError(errno).toString()));
    d->events = std::make_unique<DeviceEvents>(
        [this] { QCoreApplication::postEvent(this, new QEvent(deliverEvent)); });
    d->engine = std::make_unique<LumenEngine>(d->options, d->environment, *d->events);
    DeviceEvent found;
    found.type = DeviceEvent::InputChanged;
    found.state = d->engine->begin();
    d->events->push(found);
    d->failures = d->environment.deck->recordFailures.subscribe(
        [this](const QString &, const QmxError &error) { d->failTake(error); });
    d->clock = std::make_unique<ClockThread>(*d->engine, d->environment);
    return true;
}

void QmxVideoDevice::close()
{
    if (!isOpen()) return;
    d->failures.reset();
    d->clock.reset();
    d->engine.reset();
    d->inSetup = d->flushing = false;
    d->refused.reset();
    d->setupToken.reset();
    d->flushToken.reset();
}

bool QmxVideoDevice::isOpen() const
{
    return d->engine != nullptr;
}

QmxError QmxVideoDevice::setup(const QmxVideoDeviceSetup &setup)
{
    if (!isOpen()) return {ENODEV, QStringLiteral("The video device is not open")};
    if (d->inSetup) return {EBUSY, QStringLiteral("The video device is in set-up")};
    if (QmxError error = LumenEngine::check(setup); error.isError()) return error;
    if (const QmxError error = d->board().setup(setup); error.isError())
        d->refused = Private::Refused{setup, error};
    else
        d->engine->setup(setup);
    d->inSetup = true;
    d->setupToken = d->environment.deck->operations.begin(QStringLiteral("setting up the video device"));
    d->pushDone(DeviceEvent::SetupDone);
    d->clock->wake();
    return {};
}

bool QmxVideoDevice::isInSetup() const
{
    return d->inSetup;
}

QmxVideoDeviceSetup QmxVideoDevice::currentSetup() const
{
    if (!isOpen()) return {};
    return d->refused ? d->refused->setup : d->engine->currentSetup();
}

void QmxVideoDevice::flush()
{
    if (!isOpen() || d->flushing) return;
    d->engine->flush();
    d->flushing = true;
    d->flushToken = d->environment.deck->operations.begin(QStringLiteral("flushing the video device"));
    d->pushDone(DeviceEvent::FlushDone);
}

bool QmxVideoDevice::isFlushing() const
{
    return d->flushing;
}

int QmxVideoDevice::framesReadable() const
{
    return isOpen() ? d->engine->framesReadable() : 0;
}

QmxError QmxVideoDevice::readFrame(QmxFrame &frame)
{
    if (!isOpen()) return {ENODEV, QStringLiteral("The video device is not open")};
    const QmxError error = d->engine->readFrame(frame);
    return error.isError() ? error : d->board().read(frame);
}

int QmxVideoDevice::framesWritable() const
{
    return isOpen() ? d->engine->framesWritable() : 0;
}

QmxError QmxVideoDevice::writeFrame(const QmxFrame &frame)
{
    if (!isOpen()) return {ENODEV, QStringLiteral("The video device is not open")};
    QmxError error = d->board().write(frame);
    if (!error.isError()) error = d->engine->writeFrame(frame);
    if (error.isError())
        QMetaObject::invokeMethod(
            this, [this, error, frame] { emit writeToHardwareFailed(error, frame); }, Qt::QueuedConnection);
    return error;
}

void QmxVideoDevice::setProperty(const QmxId &key, const QVariant &value)
{
    if (!isOpen()) return;
    const bool wasRecording = d->engine->isRecording();
    d->engine->setProperty(key, value);
    const bool recording = d->engine->isRecording();
    if (recording && !wasRecording) d->vbiInTake = false;
    // A set-up that waited for the end of the take may change the rhythm.
    if (wasRecording && !recording) d->clock->wake();
}

QmxMetadataHash QmxVideoDevice::currentFrameMetadata() const
{
    return isOpen() ? d->engine->currentFrameMetadata() : QmxMetadataHash();
}

QmxVideoRefState QmxVideoDevice::refInputState(int) const
{
    return isOpen() ? d->engine->reference() : QmxVideoRefState();
}

QString QmxVideoDevice::stateString() const
{
    return isOpen() ? d->engine->stateString() : QStringLiteral("closed");
}

bool QmxVideoDevice::event(QEvent *event)
{
    if (event->type() != deliverEvent) return QObject::event(event);
    d->deliverAll();
    return true;
}

void QmxVideoDevice::Private::pushDone(DeviceEvent::Type type)
{
    DeviceEvent event;
    event.type = type;
    events->push(event);
}

void QmxVideoDevice::Private::deliverAll()
{
    // A slot may destroy the device, or turn the event loop itself: each event is taken on its own.
    const QPointer<QmxVideoDevice> alive(q);
    DeviceEvent event;
    while (alive && q->isOpen() && events->pop(event))
        deliver(event);
}

void QmxVideoDevice::Private::deliver(const DeviceEvent &event)
{
    constexpr int theInput = 0;
    switch (event.type) {
    case DeviceEvent::Vbi:
        vbiInTake = true;
        emit q->vbi(event.vbi);
        break;
    case DeviceEvent::SetupDone:
        finishSetup();
        break;
    case DeviceEvent::HardwareStarted:
        emit q->hardwareStarted();
        break;
    case DeviceEvent::CaptureDropped:
        deliverCaptureDrop(event);
        break;
    case DeviceEvent::PlaybackDropped:
        environment.deck->counters.add(QmxCounters::FramesDroppedPlayback);
        if (event.serial == engine->newestRun()) emit q->frameDropped();
        break;
    case DeviceEvent::KeyFrame:
        if (event.serial == engine->newestRun()) emit q->playedKeyFrame(event.metadata);
        break;
    case DeviceEvent::FlushDone: {
        const QPointer<QmxVideoDevice> alive(q);
        environment.deck->playhead.whenOpened([alive] {
            if (alive && alive->isOpen()) alive->d->finishFlush();
        });
        break;
    }
    case DeviceEvent::InputChanged:
        emit q->inputChanged(theInput, event.state);
        break;
    case DeviceEvent::AncillaryChanged:
        emit q->inputAncDataChanged(event.metadata);
        break;
    case DeviceEvent::VariableRate:
        emit q->raiseVFRAlarm(event.on);
        break;
    case DeviceEvent::Alarm:
        emit q->alarmTriggered(event.alarm);
        break;
    }
}

/// A loss that its user cannot act on now (something is in progress, or the take has not ticked yet) is told
/// once more when the frame after it has been read. One from before the take is not told at all.
void QmxVideoDevice::Private::deliverCaptureDrop(const DeviceEvent &event)
{
    if (event.serial != engine->take()) return;
    if (engine->isRecording() && (!vbiInTake || environment.deck->operations.inProgress() > 0))
        engine->repeatCaptureDrop();
    emit q->frameDropped();
}

LumenBoard &QmxVideoDevice::Private::board() const
{
    static LumenBoard none;
    return options.board ? *options.board : none;
}

void QmxVideoDevice::Private::finishSetup()
{
    inSetup = false;
    setupToken.reset();
    const QmxError error = refused ? refused->error : QmxError();
    refused.reset();
    emit q->setupIsDone(error);
}

void QmxVideoDevice::Private::finishFlush()
{
    flushing = false;
    flushToken.reset();
    const QPointer<QmxVideoDevice> alive(q);
    QmxPlayhead *playhead = &environment.deck->playhead;
    const quint64 moves = playhead->moves();
    emit q->flushed(engine->currentFrameMetadata());
    if (!alive || !q->isOpen()) return;
    playhead->settle();
    if (playhead->moves() != moves) engine->expectSought();
}

void QmxVideoDevice::Private::failTake(const QmxError &error)
{
    emit q->readFromHardwareFailed(error);
}

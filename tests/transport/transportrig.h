// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/device/lumenboard.h"
#include "tests/support/faultyfiles.h"
#include "tests/support/logcollector.h"
#include "tests/support/print.h"
#include "tests/support/stepper.h"
#include "tests/support/testfiles.h"
#include "xpd/transport/vtrobject.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>

class QmxStream;

/// Hardware under the card that does what the test says.
class TestBoard : public LumenBoard
{
public:
    QmxError open() override { return openError; }
    QmxError setup(const QmxVideoDeviceSetup &) override
    {
        if (failingSetups == 0) return {};
        --failingSetups;
        return QmxError(EIO);
    }
    QmxError read(QmxFrame &frame) override { return onRead ? onRead(frame) : QmxError(); }
    QmxError write(const QmxFrame &) override { return {}; }

    QmxError openError;
    int failingSetups = 0; ///< that come next
    std::function<QmxError(QmxFrame &frame)> onRead;
};

/// A whole transport on virtual time, with this test in the place of the application: it answers the
/// requests and writes down, in order, what the transport tells.
class TransportRig : public ::testing::Test
{
public:
    /// `input` is what is connected to the first input, `device` a further line of the card's profile.
    explicit TransportRig(const QString &input = QStringLiteral("generator:?rate=25&size=720x576&scan=i"),
                          const QString &device = QString());
    ~TransportRig() override;

    /// start(), until the transport is idle in StandbyOff and the input has been found.
    void startUp();
    /// Records into the clip `name`, until it has `frames` frames or a few more.
    void beginTake(const QString &name, int frames);
    /// Out of whatever it does, back to StandbyOff.
    void stop();
    /// Both.
    void recordClip(const QString &name, int frames);
    /// Plays the clip from StandbyOff until its first frame has been on the output.
    void playClip(const QString &name, double speed = 1.0);
    /// Shuts down in order and destroys the transport.
    void shutDown();
    /// Shuts down and begins again with a new transport, up to StandbyOff.
    void restart();
    /// Makes another one, not started.
    void create();

    bool runUntilIdle();
    /// Until the change to this mode is complete: reported, and nothing in progress.
    bool runUntilMode(VtrMode mode);
    bool isIdle() const;
    /// A frame of the clip being played waits for the output or is on it.
    bool hasPicture() const;
    VtrObject &vtr() { return *_vtr; }
    int framesRecorded() const;

    int count(const QString &event) const { return int(events.count(event)); }
    /// The state that the transport told last.
    const VtrState &reported() const { return _reported; }
    /// The count behind storageInUse().
    int storageInUse() const;
    /// Files below `media` that this process holds open.
    int openFiles() const;
    /// Nothing is in progress, the still for a lost input included, and the state held is the one told.
    bool isSettled() const;
    /// What the transport has logged since forgetLog(), oldest first.
    QStringList logged() const { return LogCollector::texts(QStringLiteral("vtrobject")).mid(_logMark); }
    void forgetLog() { _logMark = LogCollector::texts(QStringLiteral("vtrobject")).size(); }

    /// The transport's stream; the still's is another object.
    QmxStream &stream() const;
    /// Frames as a board hands them over whose input is gone.
    static QmxError loseImage(QmxFrame &frame);

    TestDir media;
    QmxEnvironment environment = QmxEnvironment::current(); ///< of this transport, with a deck of its own
    std::shared_ptr<TestBoard> board = std::make_shared<TestBoard>();
    std::shared_ptr<FaultyFiles> files;
    QStringList events;
    QVariant playbackDesc;
    int startFrame = 0;
    QVariant recordDesc;
    QmxId inhibit;
    QList<QmxAlarm> alarms;
    /// Number of alarms told so far that equal this one.
    qsizetype count(int id, QmxAlarm::AlarmLevel level, const QString &text) const
    {
        return alarms.count(QmxAlarm(QmxId(id), level, text, QString(), 0));
    }

private:
    void listen();

    std::unique_ptr<VtrObject> _vtr;
    qsizetype _logMark = 0;
    VtrState _reported;
};

/// One of several transports in a test, each with a deck, a card and a medium of its own.
struct OneTransport : TransportRig
{
    using TransportRig::TransportRig;
    void TestBody() override {}
    qint64 counter(QmxCounters::Row row) const { return environment.deck->counters.value(row); }
};

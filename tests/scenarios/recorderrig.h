// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/edges/qmxpreview.h"
#include "platform/store/config.h"
#include "tests/scenarios/take.h"
#include "tests/support/faultyfiles.h"
#include "tests/support/logcollector.h"
#include "tests/support/print.h"
#include "tests/support/stepper.h"
#include "tests/support/testfiles.h"
#include "xpd/app/mainobject.h"
#include "xpd/transport/vtrobject.h"

#include <gtest/gtest.h>

#include <memory>

/// What an output showed at one tick.
struct Shown
{
    qint64 tick = 0;
    qint64 strip = -1; ///< number of the generated picture; -1: no strip, as on black
    qint64 frame = -1; ///< of the stream being played
    QString timecode;
    QString format;
    bool isCapture = false;
    bool hasPicture = false;
};

/// A whole recorder on virtual time: store, daemon, card, streams and a medium.
/// The test is the operator: it writes into the store as another client, looks
/// at the output tick by tick, and reads the clips.
class RecorderRig : public ::testing::Test
{
public:
    /// `input` is what is connected to the first input, `device` are further
    /// lines of the card's profile.
    explicit RecorderRig(const QString &input = QStringLiteral("generator:?rate=25&size=720x576&scan=i"),
                         const QString &device = QString());
    ~RecorderRig() override;

    /// Switches the recorder on and waits for the input to be found.
    void begin();
    /// Ends it as the end of the program does.
    void quit();
    /// Takes it down without waiting for the transport to be ready for it.
    void quitAtOnce();

    VtrObject &vtr() { return *app->findChild<VtrObject *>(); }

    /// Lets time pass and notes what the output shows.
    void pass(int ms);
    void passTicks(int ticks) { pass(ticks * tickMs); }
    bool until(const std::function<bool()> &predicate, int maxMs = 10000);
    /// What was shown since the last call.
    QList<Shown> takeShown() { return std::exchange(shown, {}); }
    /// The frame of the stream on the output now; -1: none.
    qint64 onOutput() const { return shown.isEmpty() ? _lastShown.frame : shown.constLast().frame; }

    /// Writes a parameter as the operator and lets it arrive; an equal value that
    /// is no event changes nothing.
    void write(eParam_t param, const QString &value);
    void command(unsigned value) { write(eParam_TransportCommand, QString::number(value)); }
    void speed(const QString &value) { write(eParam_TransportSpeed, value); }
    void cue(int frame) { write(eParam_CueToFrame, QString::number(frame)); }
    /// Runs until the transport has nothing in progress and stands in this mode.
    bool settles(VtrMode::Value mode);
    bool isIdle();
    /// Waits until the next take has its clip; the clip's path.
    QString clipOpened(int maxMs = 10000);
    /// The operator's command, until the take has its clip.
    QString beginTake();
    /// A take of about this length by the operator's two commands; the clip's
    /// path.
    QString record(int ms);
    bool stop();
    /// From stop, until frame 0 is on the output in still.
    void enterStill();
    void cueAndWait(int frame);

    unsigned number(eParam_t param);
    QString text(eParam_t param);
    QByteArray data(eParam_t param);
    bool reads(eParam_t param, unsigned value);
    bool reads(eParam_t param, const QString &value);
    QString currentPath() { return QStringLiteral("/media/A/") + text(eParam_CurrentClip); }
    static QString shared(const char *name);
    static qint64 counter(QmxCounters::Row row)
    {
        return QmxEnvironment::current().deck->counters.value(row);
    }
    /// Waits until the store holds an alarm with this text, or none any more.
    bool shows(eParam_t alarm, const char *text);
    bool isClear(eParam_t alarm);
    /// Log lines of a source since the last command or write.
    QStringList logged(const char *source = "vtrobject") const;
    /// Waits until one of them holds `text`.
    bool logs(const char *source, const QString &text);

    int tickMs = 40;
    TestDir dir;
    std::shared_ptr<FaultyFiles> files;
    std::unique_ptr<Config> store;
    std::unique_ptr<MainObject> app;
    QList<Shown> shown;

private:
    void look();

    QmxPreviewReader _output;
    quint64 _outputCount = 0;
    qint64 _takesSeen = counter(QmxCounters::TakesOpened);
    Shown _lastShown;
    qsizetype _mark = 0;
};

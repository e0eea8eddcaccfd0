// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxcounters.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/edges/qmxpreview.h"
#include "platform/store/config.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

/// What the daemon may take of memory while it records or plays high definition, in megabytes.
constexpr double mostMemory = 300;

/// The recorder that runs beside the benchmark, driven through its store as a companion drives it.
class RecorderUnderBench
{
public:
    RecorderUnderBench();
    ~RecorderUnderBench();

    void write(eParam_t id, unsigned value) { _config->setUInt(id, value); }
    void writeText(eParam_t id, const QString &value) { _config->setString(id, value.toStdString()); }
    void writeText(eParam_t id, const char *value) { _config->setString(id, value); }
    unsigned status() const;
    qint64 counter(const char *name);
    QString clipPath() const;
    qint64 now() const { return _environment.clock->now(); }
    /// The newest picture on the preview: its tick, frame and strip.
    struct Shown
    {
        qint64 tick = -1;
        qint64 frame = -1;
        std::optional<quint32> strip;
        QString format;
    };
    Shown shown();
    /// False, with a line on standard error, when it did not come about in 20 seconds.
    bool waitFor(const char *what, const std::function<bool()> &holds, int seconds = 20);
    /// The same of what `ask` asks for, again after each of these nanoseconds: the daemon drops what comes
    /// while it changes its mode, and its status is ahead of that.
    bool askFor(const char *what, const std::function<void()> &ask, const std::function<bool()> &holds,
                qint64 every = QmxClock::nsPerSecond / 2);
    /// Processor time of the daemon so far, in seconds: of its coders, and of all its other threads.
    struct Cpu
    {
        double coders = 0;
        double others = 0;
        double all() const { return coders + others; }
    };
    Cpu daemonCpu();
    /// Memory of the daemon now, in megabytes, pictures and shared memory included.
    double daemonMemory();

    bool startTake();
    bool endTake();
    /// Cues to a frame of the current clip until the output shows it; with more patience, so that a slow one
    /// is not begun anew.
    bool cue(int frame);

private:
    QmxEnvironment _environment;
    std::unique_ptr<Config> _config;
    QmxCountersReader _counters;
    QmxPreviewReader _preview;
};

/// Strips of a clip's frames, decoded by ffmpeg.
QList<std::optional<quint32>> stripsOfClip(const QString &path, int most = -1);
/// Frames whose number is not one more than that of the frame before.
int benchBreaks(const QList<std::optional<quint32>> &strips);
/// Runs a program, which must succeed; its processor time in seconds, nothing when it failed.
std::optional<double> cpuOfProgram(const QString &program, const QStringList &arguments);

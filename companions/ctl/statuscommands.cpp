// SPDX-License-Identifier: GPL-3.0-or-later
// status, watch, clips: what is, for people and for scripts.
#include "companions/ctl/commands.h"
#include "companions/ctl/metrics.h"
#include "companions/ctl/verbcommand.h"

#include "platform/product/clipfinder.h"

#include <QJsonArray>

namespace {
struct View
{
    QString text;
    QJsonObject object;
};

/// Names come from other systems too: a line each, whatever is in them.
QString inOneLine(QString name)
{
    for (QChar &c : name) {
        if (!c.isPrint()) c = '?';
    }
    return name;
}

View look(const Recorder &recorder)
{
    const bool running = recorder.daemonIsRunning();
    const auto alarms = recorder.alarms();
    const bool recording = recorder.status() == TransportStatus::Recording;
    View view;
    view.object = {{"running", running},
                   {"status", running ? recorder.statusLabel() : QStringLiteral("not_running")},
                   {"timecode", recorder.timecode()},
                   {"input_timecode", recorder.inputTimecode()},
                   {"clip", recorder.clip()},
                   {"tick", recorder.counter("ticks")},
                   {"frame", recorder.counter("frame_on_output")},
                   {"clip_frames", recorder.counter("current_clip_frames")},
                   {"recorded_up_to", recorder.counter("recorded_up_to")},
                   {"dropped_capture", recorder.counter("frames_dropped_capture")},
                   {"dropped_playback", recorder.counter("frames_dropped_playback")},
                   {"late_ticks", recorder.counter("late_ticks")},
                   {"alarms", int(alarms.size())}};
    if (!running) {
        view.text = "the daemon is not running";
        return view;
    }
    const QString status = QStringLiteral("%1").arg(recorder.statusLabel(), -10);
    view.text = QStringLiteral("%1  %2  %3")
                    .arg(recording              ? Report::painted(status, Report::Colour::Bad)
                         : recorder.isPlaying() ? Report::painted(status, Report::Colour::Good)
                                                : status)
                    .arg(recorder.timecode(),
                         recorder.clip().isEmpty() ? QStringLiteral("no clip") : recorder.clip());
    if (recording) {
        view.text += QStringLiteral("  %1 frames, %2 safe")
                         .arg(recorder.counter("current_clip_frames"))
                         .arg(recorder.counter("recorded_up_to"));
    } else if (recorder.isInPlay()) {
        view.text += QStringLiteral("  frame %1").arg(recorder.counter("frame_on_output"));
    }
    if (const qint64 dropped =
            recorder.counter("frames_dropped_capture") + recorder.counter("frames_dropped_playback");
        dropped > 0) {
        view.text += Report::painted(QStringLiteral("  dropped %1").arg(dropped), Report::Colour::Bad);
    }
    if (!alarms.isEmpty()) {
        view.text += Report::painted(
            QStringLiteral("  %1 alarm%2").arg(alarms.size()).arg(alarms.size() == 1 ? "" : "s"),
            Report::Colour::Notice);
    }
    return view;
}
} // namespace

ExitCode ctlStatus(Recorder &recorder, const Report &report, const Arguments &)
{
    const View view = look(recorder);
    report.result(view.text, view.object);
    if (recorder.daemonStandsStill()) return tellStandsStill(report);
    return recorder.daemonIsRunning() ? ExitCode::Done : ExitCode::NoDaemon;
}

ExitCode ctlWatch(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    if (arguments.stats) return watchStats(recorder, report, arguments.once);
    constexpr int standsStillAfter = 1000; // ms
    qint64 tick = -1;
    qint64 tickBefore = -1;
    bool isTold = false;
    View last;
    const auto show = [&] {
        // A line a frame: the device's tick is the pace; without a daemon only changes count.
        const qint64 now = recorder.counter("ticks");
        if (now == tick && recorder.daemonIsRunning()) {
            return false;
        }
        const View view = look(recorder);
        tick = view.object["tick"].toInteger(); // the one that the line shows
        if (view.text != last.text || (report.isJson() && view.object != last.object)) {
            report.line(view.text, view.object);
            last = view;
        }
        return arguments.once;
    };
    while (!recorder.waitFor(show, standsStillAfter) && !Recorder::wasInterrupted()) {
        const bool standsStill = tick > 0 && tick == tickBefore && recorder.daemonIsRunning();
        if (standsStill && !isTold) {
            last.text = "the daemon stands still";
            last.object["status"] = "stands_still";
            report.line(last.text, last.object);
        }
        isTold = standsStill;
        tickBefore = tick;
    }
    report.endLine();
    return ExitCode::Done;
}

ExitCode ctlClips(Recorder &recorder, const Report &report, const Arguments &)
{
    ClipFinder finder(&recorder.config());
    QJsonArray list;
    QString text;
    int index = 0;
    for (const Clip &clip : finder.findClips(true, false, true)) {
        const QString name = QString::fromStdString(clip.getName());
        list.append(QJsonObject{{"index", index}, {"name", name}, {"frames", clip.getFrameCount()}});
        text += QStringLiteral("%1  %2  %3 frames\n")
                    .arg(index, 4)
                    .arg(inOneLine(name), -32)
                    .arg(clip.getFrameCount());
        ++index;
    }
    const QString path = recorder.text(eParam_ActiveMediaPath);
    if (list.isEmpty()) {
        text = path.isEmpty() ? QStringLiteral("no medium is active")
                              : QStringLiteral("no clips on %1").arg(path);
    }
    report.result(text, {{"path", path}, {"clips", list}});
    return ExitCode::Done;
}

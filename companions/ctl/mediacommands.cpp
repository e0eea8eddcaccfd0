// SPDX-License-Identifier: GPL-3.0-or-later
// media: what the media daemon sees.
#include "companions/ctl/commands.h"
#include "companions/ctl/verbcommand.h"

#include "platform/control/mediadaemonlock.h"
#include "platform/product/mediaorder.h"
#include "platform/store/eparam.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace {
QString timeText(int seconds)
{
    constexpr int minute = 60;
    constexpr int hour = 3600;
    if (seconds < 0) return QStringLiteral("unknown");
    return QStringLiteral("%1:%2:%3")
        .arg(seconds / hour)
        .arg(seconds % hour / minute, 2, 10, QChar('0'))
        .arg(seconds % minute, 2, 10, QChar('0'));
}

} // namespace

ExitCode ctlMedia(Recorder &recorder, const Report &report, const Arguments &)
{
    if (mediaDaemonPid() == 0) return tell(report, noMediaDaemon(": nobody looks after the media"));
    const QString stored = recorder.text(eParam_MediaReport);
    const int together = int(recorder.number(eParam_RecordTimeLeft));
    QString text;
    for (const MediumReport &medium : MediumReport::parse(stored.toStdString())) {
        text += QStringLiteral("%1  %2  %3  %4 % free  %5 %6  time left %7\n")
                    .arg(QString::fromStdString(medium.path), -20)
                    .arg(QString::fromStdString(medium.label), -16)
                    .arg(QString::fromStdString(medium.state), -9)
                    .arg(medium.percentFree, 3)
                    .arg(medium.clips, 5)
                    .arg(medium.clips == 1 ? QStringLiteral("clip ") : QStringLiteral("clips"))
                    .arg(timeText(medium.secondsLeft));
    }
    if (text.isEmpty())
        text = QStringLiteral("no media: nothing is mounted below /media\n");
    else if (together > 0)
        text += QStringLiteral("a take can become %1 long\n").arg(timeText(together));
    report.result(text,
                  {{"media", QJsonDocument::fromJson(stored.toUtf8()).array()}, {"seconds_left", together}});
    return ExitCode::Done;
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/lumenprofile.h"
#include "platform/qmx/edges/qmxgeneratorscript.h"
#include "platform/qmx/edges/qmxsourceformat.h"
#include "tests/fuzz/fuzz.h"

/// A profile of the card, and everything that may stand in one.

void Fuzz::writeSeeds(const QString &folder)
{
    writeSeed(
        folder, "profile",
        "[device]\nclock=fast:10\nreference=locked\nworkers=4\nprores_coder=libav\nbacklog_megabytes=512\n"
        "[inputs]\n601=generator:?rate=25&size=1920x1080\n[outputs]\nmonitor=udp://192.0.2.7:5000\n");
    writeSeed(folder, "script",
              "rate=30000/"
              "1001&size=1920x1080&scan=i&pattern=802&tone=901&channels=8&tc=10:00:00;00&tcrun=off@50,on@100&"
              "loss=300-350,400-&unstable=20-30&mute=100-200&camera=on@100&clip=a&vfr=24&format=1280x720p50@"
              "500&reference=lost@5");
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    const QString text = QString::fromStdString(Fuzz::text(data, size));
    LumenProfile::parse(text, QStringLiteral("fuzz"));
    QString problem;
    const QmxGeneratorScript script = QmxGeneratorScript::fromText(text, &problem);
    for (const qint64 frame : {qint64(0), qint64(49), qint64(1) << 40}) {
        script.formatIndex(frame);
        script.timecode(frame, QmxVideoRate(30000, 1001));
    }
    QmxSourceFormat::rateFromText(text);
    return 0;
}

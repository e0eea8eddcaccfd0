// SPDX-License-Identifier: GPL-3.0-or-later
// An export of a whole clip beside `cp` of the same file, both until all of it is on the medium.
#include "bench/benchclip.h"
#include "bench/figures.h"
#include "companions/mediad/clipexport.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>

QList<Figure> benchExport(int)
{
    constexpr int frames = 400;
    constexpr double mega = 1e6;
    const QString from = QStringLiteral("/media/A/xp-bench-from.mov");
    const QString copy = QStringLiteral("/media/A/xp-bench-copy.mov");
    const QString to = QStringLiteral("/media/A/xp-bench-to.mov");
    for (const QString &path : {from, copy, to})
        QFile::remove(path);
    if (!makeBenchClip(from, frames)) return {};
    const double bytes = double(QFileInfo(from).size());
    QElapsedTimer timer;
    timer.start();
    const bool isCopied = QProcess::execute(QStringLiteral("cp"), {from, copy}) == 0 &&
                          QProcess::execute(QStringLiteral("sync"), {copy}) == 0;
    const double copyMs = benchMs(timer);
    timer.restart();
    std::string finding;
    const QmxError error = exportClips(
        {QFileInfo(from).path(), {QFileInfo(from).fileName()}, to}, QmxEnvironment::current(),
        [](qint64, qint64) { return true; }, finding);
    const double exportMs = benchMs(timer);
    for (const QString &path : {from, copy, to})
        QFile::remove(path);
    if (!isCopied || error.isError()) return {};
    // It is written, and then read once more from the medium.
    constexpr double most = 4;
    return {{"export_time", exportMs, "ms", copyMs, "cp and sync", most},
            {"export_speed", bytes / mega / exportMs * 1e3, "MB/s", {}, {}, {}}};
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/stills/stillclips.h"
#include "platform/product/programtext.h"
#include "platform/qmx/core/qmx.h"

#include <QCoreApplication>
#include <QTextStream>

#include <cstdio>

namespace {
constexpr ProgramTextRow fileTexts[] = {
    {"/usr/local/share/media", "where the daemon looks for them"},
};
constexpr ProgramText text = {
    "xp-stills",
    8,
    "makes the pictures that stand in for a lost input",
    "DIR",
    "Makes the 22 clips of one frame below DIR that xpd records while its input is lost and\n"
    "continue_on_loss_of_video is on. Installing the recorder does it; `xpctl doctor` says when some are\n"
    "missing.",
    {},
    fileTexts,
    "xpd(8), xpctl(1)",
};
} // namespace

/// xp-stills DIR: makes the loss-of-video stills below DIR. 0: all are there; 1: one could not be made;
/// 2: wrong use.
int main(int argc, char **argv)
{
    if (const std::optional<int> answered = answerBeforeStart(text, argc, argv)) return *answered;
    const QCoreApplication application(argc, argv);
    Qmx::init(1);
    QTextStream errors(stderr);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 2 || arguments[1].startsWith(QLatin1Char('-'))) {
        errors << QString::fromStdString(text.usage());
        return 2;
    }
    for (const StillFile &clip : stillFiles()) {
        const QmxError error = writeStillClip(arguments[1], clip);
        if (!error.isError()) continue;
        errors << error.toString() << '\n';
        return 1;
    }
    return 0;
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/stills/stillclips.h"
#include "platform/qmx/core/qmx.h"

#include <QCoreApplication>
#include <QTextStream>

#include <cstdio>

/// xp-stills DIR: makes the loss-of-video stills below DIR. 0: all are there; 1: one could not be made;
/// 2: wrong use.
int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    Qmx::init(1);
    QTextStream errors(stderr);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 2 || arguments[1].startsWith(QLatin1Char('-'))) {
        errors
            << "Usage: xp-stills DIR\nMakes the loss-of-video stills below DIR (/usr/local/share/media).\n";
        return 2;
    }
    for (const StillClip &clip : stillClips()) {
        const QmxError error = writeStillClip(arguments[1], clip);
        if (!error.isError()) continue;
        errors << error.toString() << '\n';
        return 1;
    }
    return 0;
}

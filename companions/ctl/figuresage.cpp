// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/ctl/figuresage.h"

#include "platform/control/deckstate.h"
#include "platform/control/recorder.h"
#include "platform/qmx/core/qmxcounted.h"
#include "platform/qmx/core/qmxtakewindow.h"

#include <algorithm>
#include <cmath>

double figuresAge(const Recorder &recorder, const std::optional<QmxPreviewPicture> &card)
{
    qint64 told = card ? card->time : 0;
    if (told == 0)
        if (const auto now = QmxTakeWindow::Client().now()) told = now->moment;
    if (told == 0) return -1;
    // (A recorder whose clock runs faster than the machine's is ahead.)
    const qint64 age = std::max<qint64>(0, recorder.environment().clock->now() - told);
    constexpr double tenths = 10;
    return std::round(double(age) / double(QmxClock::nsPerSecond) * tenths) / tenths;
}

QString ageText(double age)
{
    return age < 0 ? QString() : QStringLiteral(", %1 s old").arg(age, 0, 'f', 1);
}

QString lastTakeText(const DeckState &deck, double age)
{
    return QStringLiteral("  last      its last take had %1, %2 safe%3\n")
        .arg(qmxCounted(deck.clipFrames, "frame"))
        .arg(deck.recordedUpTo)
        .arg(ageText(age));
}

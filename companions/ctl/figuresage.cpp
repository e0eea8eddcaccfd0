// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/ctl/figuresage.h"

#include "platform/control/deckstate.h"
#include "platform/control/recorder.h"
#include "platform/qmx/core/qmxcounted.h"
#include "platform/qmx/core/qmxtakewindow.h"

#include <algorithm>

std::optional<FiguresAge> figuresAge(const Recorder &recorder, const std::optional<QmxPreviewPicture> &card)
{
    qint64 told = card ? card->time : 0;
    if (told == 0)
        if (const auto now = QmxTakeWindow::Client().now()) told = now->moment;
    if (told == 0) return {};
    // (A recorder whose clock runs faster than the machine's is ahead.)
    const QmxClock::Duration age = recorder.environment().clock->since(told);
    return std::chrono::round<FiguresAge>(std::max(age, QmxClock::Duration::zero()));
}

double ageNumber(const std::optional<FiguresAge> &age)
{
    return age ? std::chrono::duration<double>(*age).count() : -1;
}

QString ageText(const std::optional<FiguresAge> &age)
{
    return age ? QStringLiteral(", %1 s old").arg(ageNumber(age), 0, 'f', 1) : QString();
}

QString lastTakeText(const DeckState &deck, const std::optional<FiguresAge> &age)
{
    return QStringLiteral("  last      its last take had %1, %2 safe%3\n")
        .arg(qmxCounted(deck.clipFrames, "frame"))
        .arg(deck.recordedUpTo)
        .arg(ageText(age));
}

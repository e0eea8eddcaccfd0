// SPDX-License-Identifier: GPL-3.0-or-later
// Loaded into a program beside its own libraries: once the event loop runs, Qt has a fatal message.
#include <QCoreApplication>
#include <QTimer>

namespace {

void failSoon()
{
    constexpr int soonMs = 500;
    QTimer::singleShot(soonMs, [] { qFatal("a fatal message"); });
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(failSoon)

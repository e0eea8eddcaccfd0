// SPDX-License-Identifier: GPL-3.0-or-later
// A service for the daemonizer's tests: it tells on standard error what happens to it.
#include "platform/product/daemonizer.h"
#include "platform/qmx/core/qmxheartbeat.h"
#include "platform/qmx/core/qmxlog.h"

#include <QCoreApplication>
#include <QThread>
#include <QTimer>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <optional>

#include <unistd.h>

namespace {

QThread *mainThread = nullptr;

void tell(const char *text)
{
    std::fprintf(stderr, "%s\n", text);
}

bool stalls = false;

void terminated(int signal)
{
    if (stalls) {
        tell("loop stands");
        for (;;)
            ::pause();
    }
    std::fprintf(stderr, "signal %d %s\n", signal,
                 QThread::currentThread() == mainThread ? "on the event loop" : "on another thread");
    QCoreApplication::exit(0);
}

std::string status()
{
    return "all is well";
}

} // namespace

int main(int argc, char *argv[])
{
    const char *role = argc > 1 ? argv[1] : "";
    Daemonizer::daemonize("Worker", terminated, status, true);
    std::fprintf(stderr, "pid %d\n", ::getpid());
    if (std::strcmp(role, "fail") == 0) {
        tell("cannot start");
        return 7;
    }
    stalls = std::strcmp(role, "stall") == 0;
    // A signal that comes before the application must not be lost.
    if (std::strcmp(role, "early") == 0) ::kill(::getpid(), SIGTERM);
    QCoreApplication application(argc, argv);
    mainThread = QThread::currentThread();
    std::optional<QmxHeartbeat> part;
    if (std::strcmp(role, "standstill") == 0)
        part.emplace(QStringLiteral("The video clock")), qmxLogOpenDisplay();
    tell("loop begins");
    const int result = QCoreApplication::exec();
    Daemonizer::setDone();
    tell("done");
    return result;
}

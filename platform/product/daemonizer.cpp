// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/daemonizer.h"

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxheartbeat.h"
#include "platform/qmx/core/qmxloglevel.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QTimer>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include <csignal>
#include <fcntl.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr timespec repeatInterval{1, 0}; // between two posts of a handler that has not run

/// Everything lives as long as the process: the relay thread does.
struct State
{
    std::string name;
    void (*signalHandler)(int) = nullptr;
    std::string (*statusFunction)() = nullptr;
    int readyPipe = -1; ///< to the waiting parent; -1 when there is none
    std::mutex mutex;   ///< of the next one: it does not go while something is posted to it
    QCoreApplication *application = nullptr;
    std::atomic<int> unhandled{0}; ///< signal whose handler has not run yet
};
State *state = nullptr;

/// One datagram to the service manager. That is all there is to its protocol, so no library is needed.
/// `flags` as for sendto().
void notify(const std::string &message, int flags = 0)
{
    const char *path = std::getenv("NOTIFY_SOCKET");
    sockaddr_un address{};
    if (!path || !*path || std::strlen(path) >= sizeof address.sun_path) return;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path, std::strlen(path));
    if (address.sun_path[0] == '@') address.sun_path[0] = '\0'; // a name without a file
    const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return;
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + std::strlen(path));
    // Nobody there to hear it is no reason not to go on.
    if (::sendto(fd, message.data(), message.size(), MSG_NOSIGNAL | flags,
                 reinterpret_cast<const sockaddr *>(&address), length) < 0 &&
        errno != EAGAIN)
        std::fprintf(stderr, "%s: cannot reach the service manager at %s: %s\n",
                     state ? state->name.c_str() : "", path, std::strerror(errno));
    ::close(fd);
}

/// A terminal goes away with its session; what was redirected into a file or a pipe stays.
void leaveTerminal()
{
    const int null = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    if (null < 0) return;
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fd == STDIN_FILENO || ::isatty(fd)) ::dup2(null, fd);
    ::close(null);
}

void feedOnce()
{
    const QString silent = QmxHeartbeat::silent();
    // Never waited for: a service manager that does not listen must not hold up the loop.
    if (silent.isEmpty())
        notify("WATCHDOG=1\n", MSG_DONTWAIT);
    else
        qmxLogOutput(QmxLogLevel::Error, "daemonizer", __LINE__,
                     "%s stands still; the service manager is not told that all is well\n",
                     qPrintable(silent));
}

/// Tells the service manager, if it wants to know, that the event loop turns and that what has to move moves:
/// twice in the time after which it would end us.
void feedWatchdog()
{
    bool isWanted = false;
    const qint64 microseconds = qEnvironmentVariable("WATCHDOG_USEC").toLongLong(&isWanted);
    const int pid = qEnvironmentVariableIntValue("WATCHDOG_PID"); // none: for whoever has been told
    if (!isWanted || microseconds <= 0 || (pid != 0 && pid != ::getpid())) return;
    auto *timer = new QTimer(QCoreApplication::instance());
    QObject::connect(timer, &QTimer::timeout, timer, feedOnce);
    constexpr qint64 halfInMilliseconds = 2 * 1000;
    timer->start(int(qMin<qint64>(qMax<qint64>(1, microseconds / halfInMilliseconds), 3'600'000)));
}

void eventLoopTurns()
{
    std::string message = "READY=1\n";
    if (state->statusFunction) message += "STATUS=" + state->statusFunction() + "\n";
    notify(message);
    feedWatchdog();
    if (state->readyPipe < 0) return;
    const char done = 0;
    if (::write(state->readyPipe, &done, 1) != 1)
        std::fprintf(stderr, "%s: nobody waits for the start any more\n", state->name.c_str());
    ::close(state->readyPipe);
    state->readyPipe = -1;
    leaveTerminal();
}

void applicationIsThere()
{
    const std::lock_guard lock(state->mutex);
    state->application = QCoreApplication::instance();
    QMetaObject::invokeMethod(state->application, eventLoopTurns, Qt::QueuedConnection);
}

void applicationIsGone()
{
    const std::lock_guard lock(state->mutex);
    state->application = nullptr;
}

void runHandler()
{
    if (const int signal = state->unhandled.exchange(0)) state->signalHandler(signal);
}

void relay(sigset_t relayed)
{
    for (;;) {
        siginfo_t info{};
        const int signal = state->unhandled ? ::sigtimedwait(&relayed, &info, &repeatInterval)
                                            : ::sigwaitinfo(&relayed, &info);
        if (signal > 0) state->unhandled = signal;
        const std::lock_guard lock(state->mutex);
        if (state->unhandled && state->application)
            QMetaObject::invokeMethod(state->application, runHandler, Qt::QueuedConnection);
    }
}

void startRelay()
{
    sigset_t relayed;
    sigemptyset(&relayed);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        sigaddset(&relayed, signal);
    // Threads that come later inherit the mask, so that the relay alone gets them.
    pthread_sigmask(SIG_BLOCK, &relayed, nullptr);
    const QmxError error = QmxEnvironment::current().threads->startDetached(
        QStringLiteral("daemon-relay"), [relayed] { relay(relayed); }); // for the life of the process
    if (!error.isError()) return;
    std::fprintf(stderr, "%s: signals end it at once: %s\n", state->name.c_str(),
                 qPrintable(error.toString()));
    pthread_sigmask(SIG_UNBLOCK, &relayed, nullptr);
}

/// In the parent: stays until the child serves or has ended.
[[noreturn]] void awaitChild(pid_t child, int pipe)
{
    char done = 0;
    ssize_t got = 0;
    do
        got = ::read(pipe, &done, 1);
    while (got < 0 && errno == EINTR);
    if (got == 1) ::_exit(0);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {}
    constexpr int signalBase = 128; // as shells tell it
    ::_exit(WIFEXITED(status) ? WEXITSTATUS(status) : signalBase + WTERMSIG(status));
}

/// Returns in the process that goes on: the child, or this one when it cannot be made.
void detach(const std::string &name)
{
    int ends[2] = {-1, -1};
    const pid_t child = ::pipe2(ends, O_CLOEXEC) == 0 ? ::fork() : -1;
    if (child < 0) {
        std::fprintf(stderr, "%s: cannot detach and stays in the foreground: %s\n", name.c_str(),
                     std::strerror(errno));
        for (const int end : ends)
            if (end >= 0) ::close(end);
        return;
    }
    if (child > 0) {
        ::close(ends[1]);
        awaitChild(child, ends[0]);
    }
    ::close(ends[0]);
    ::setsid();
    state->readyPipe = ends[1];
}

} // namespace

void Daemonizer::daemonize(std::string name, void (*signalHandler)(int), std::string (*statusFunction)(),
                           bool relaySignals)
{
    if (state) return;
    state = new State;
    state->name = std::move(name);
    state->signalHandler = signalHandler;
    state->statusFunction = statusFunction;
    const char *manager = std::getenv("NOTIFY_SOCKET");
    if (!manager || !*manager) detach(state->name);
    qAddPreRoutine(applicationIsThere);
    qAddPostRoutine(applicationIsGone);
    if (relaySignals && signalHandler) startRelay();
}

void Daemonizer::setDone()
{
    notify("STOPPING=1\n", MSG_DONTWAIT); // the end is not held up by whoever does not listen
}

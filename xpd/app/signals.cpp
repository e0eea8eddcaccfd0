// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/app/signals.h"

#include "platform/qmx/core/qmxloglevel.h"

#include <QCoreApplication>
#include <QThread>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <cxxabi.h>
#include <execinfo.h>

namespace {

constexpr const char *logSource = "main";
constexpr int maxFrames = 25;
constexpr size_t descriptionSize = 2048; // bytes, the end included

// In the order of installation; the repeats of SIGTTIN and SIGTTOU are harmless.
constexpr int handledSignals[] = {SIGINT,  SIGQUIT,   SIGTERM, SIGFPE,  SIGABRT, SIGILL,  SIGSEGV,
                                  SIGUSR1, SIGBUS,    SIGSYS,  SIGHUP,  SIGTSTP, SIGTTOU, SIGTTIN,
                                  SIGPIPE, SIGALRM,   SIGUSR2, SIGTTIN, SIGTTOU, SIGIO,   SIGPROF,
                                  SIGURG,  SIGVTALRM, SIGXCPU, SIGXFSZ};

enum class Kind { Fatal, Exit, Ignored };

Kind kindOf(int sig)
{
    switch (sig) {
    case SIGILL:
    case SIGABRT:
    case SIGBUS:
    case SIGFPE:
    case SIGSEGV:
    case SIGSYS:
        return Kind::Fatal;
    case SIGINT:
    case SIGQUIT:
    case SIGTERM:
        return Kind::Exit;
    default:
        return Kind::Ignored;
    }
}

/// Without SA_SIGINFO the second argument points to a record only on these machines, and that record may be
/// read but need not be filled; elsewhere the argument is whatever a register held.
constexpr bool plainHandlerGetsRecord()
{
#if defined(__x86_64__) || defined(__powerpc__)
    return true;
#else
    return false;
#endif
}

volatile sig_atomic_t exitRequested = 0;

std::array<char, descriptionSize> describe(int sig, const siginfo_t *record, const void *context)
{
    static const siginfo_t nothing = {};
    const siginfo_t &info = plainHandlerGetsRecord() && record ? *record : nothing;
    std::array<char, descriptionSize> text;
    // Several of these share their place in the record, so the same word may come more than once.
    std::snprintf(
        text.data(), text.size(), "%s %p S%X E%X C%X P%X U%X S%X U%lX S%lX V%lX I%X P%p O%X T%X A%p B%lX F%X",
        strsignal(sig), context, static_cast<unsigned>(info.si_signo), static_cast<unsigned>(info.si_errno),
        static_cast<unsigned>(info.si_code), static_cast<unsigned>(info.si_pid),
        static_cast<unsigned>(info.si_uid), static_cast<unsigned>(info.si_status),
        static_cast<unsigned long>(info.si_utime), static_cast<unsigned long>(info.si_stime),
        reinterpret_cast<unsigned long>(info.si_value.sival_ptr), static_cast<unsigned>(info.si_int),
        info.si_ptr, static_cast<unsigned>(info.si_overrun), static_cast<unsigned>(info.si_timerid),
        info.si_addr, static_cast<unsigned long>(info.si_band), static_cast<unsigned>(info.si_fd));
    return text;
}

void logAndPrint(int level, int line, const char *format, const char *description)
{
    qmxLogOutput(level, logSource, line, format, description);
    std::printf(format, description);
    std::fflush(stdout);
}

void restoreTerminal()
{
    // The keyboard transport may have left it in a raw mode.
    [[maybe_unused]] const int status = std::system("reset");
}

/// A line of backtrace_symbols: "module(name+offset) rest".
void printFrame(int index, const char *symbol)
{
    const std::string line = symbol;
    const size_t close = line.find(')');
    const size_t open = line.find('(');
    const size_t plus = line.find('+');
    const bool complete = close != std::string::npos && open < plus && plus < close;
    if (!complete) {
        std::printf("%2d: %s\n", index, line.c_str());
        return;
    }
    const std::string module = line.substr(0, open);
    const std::string mangled = line.substr(open + 1, plus - open - 1);
    const std::string offset = line.substr(plus + 1, close - plus - 1);
    const std::string rest = line.substr(close + 1);
    int status = 0;
    char *demangled = abi::__cxa_demangle(mangled.c_str(), nullptr, nullptr, &status);
    std::printf("%2d: %s: %s+%s%s\n", index, module.c_str(), demangled ? demangled : mangled.c_str(),
                offset.c_str(), rest.c_str());
    std::free(demangled);
}

} // namespace

void setupSignals()
{
    struct sigaction action = {};
    // No flags: the handler is called the plain way and looks at its further arguments all the same.
    action.sa_handler = reinterpret_cast<void (*)(int)>(reinterpret_cast<void (*)()>(signalAction));
    for (const int sig : handledSignals)
        sigaction(sig, &action, nullptr);
}

void signalAction(int sig, siginfo_t *info, void *context)
{
    const auto description = describe(sig, info, context);
    switch (kindOf(sig)) {
    case Kind::Fatal:
        signal(SIGABRT, SIG_DFL);
        logAndPrint(1, __LINE__, "Aborting. %s\n", description.data());
        printBackTrace();
        QmxLog::defaultLog()->flush(); // a thread of its own writes it
        std::abort();
    case Kind::Exit:
        if (exitRequested) {
            logAndPrint(3, __LINE__, "Forcing exit. %s\n", description.data());
            std::exit(1);
        }
        exitRequested = 1;
        qmxLogOutput(QmxLogLevel::Info, logSource, __LINE__, "Exit requested. %s\n", description.data());
        restoreTerminal();
        // Before the event loop runs there is nothing to leave: main() looks at the request when it does.
        if (qApp && qApp->thread()->loopLevel() > 0) QCoreApplication::exit(0);
        break;
    case Kind::Ignored:
        qmxLogOutput(QmxLogLevel::Warning, logSource, __LINE__, "Ignoring Signal. %s\n", description.data());
        break;
    }
}

bool exitIsRequested()
{
    return exitRequested != 0;
}

void printBackTrace()
{
    std::puts("BACKTRACE");
    void *addresses[maxFrames];
    const int count = backtrace(addresses, maxFrames);
    char **symbols = backtrace_symbols(addresses, count);
    // Frame 0 is this function.
    for (int i = 1; symbols && i < count && symbols[i]; ++i)
        printFrame(i, symbols[i]);
    std::free(symbols);
    std::fflush(stdout);
}

void handleDaemonizerSignal(int)
{
    QCoreApplication::exit(0);
}

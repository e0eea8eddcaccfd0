// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <signal.h>

// What the daemon does with POSIX signals. In debug mode it handles them itself; else the daemonizer relays
// those that end it.

/// Installs signalAction() for all signals of interest. Once the application object exists.
void setupSignals();

/// Fatal signals log, print the stack and abort. The first that asks for the end ends the event loop, a
/// second one the process, with status 1. All others are logged and ignored. Runs in signal context and
/// calls what is not safe there: an aid for developers.
void signalAction(int sig, siginfo_t *info, void *context);

/// An exit signal has come. One that came before the event loop ran has had no loop to end.
bool exitIsRequested();

/// Prints the stack of the caller's caller and above on standard output.
void printBackTrace();

/// For the daemonizer: ends the event loop.
void handleDaemonizerSignal(int sig);

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

/// Turns the process into a service: detaches it, tells the service manager when it is ready, and hands
/// termination signals into the event loop.
///
/// Threads: daemonize() starts one named "daemon-relay" in the process that stays; it waits for SIGTERM,
/// SIGINT and SIGHUP, which are blocked everywhere else, and posts the handler's call into the event loop,
/// again each second until it has run. The handler therefore runs on the event loop's thread.
class Daemonizer
{
public:
    /// Call before any thread and any application object exists. Under NOTIFY_SOCKET the process does not
    /// fork. Else it forks once; the parent stays until the child's event loop has turned (it then ends with
    /// status 0) or the child has ended (with the child's status). Returns only in the process that stays.
    /// `statusFunction` may be null; with a service manager its text is shown as the service's status.
    /// `relaySignals` false leaves the signals alone.
    static void daemonize(std::string name, void (*signalHandler)(int), std::string (*statusFunction)(),
                          bool relaySignals);
    /// Tells the service manager that the process is ending cleanly.
    static void setDone();
};

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <QtGlobal>

#include <csignal>

/// Sends a signal to one process. The number of a process that is not there (0, -1) means a whole group of
/// processes, the test's own among them: that is a failure of the test and nothing is sent.
inline void sendSignal(qint64 pid, int signal)
{
    if (pid <= 1)
        ADD_FAILURE() << "no process to send signal " << signal << " to: " << pid;
    else
        EXPECT_EQ(::kill(static_cast<pid_t>(pid), signal), 0) << "signal " << signal << " to " << pid;
}

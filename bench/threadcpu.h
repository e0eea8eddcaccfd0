// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ctime>

/// Processor time of this thread, in milliseconds: what else the machine does is no part of it.
inline double threadCpu()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
}

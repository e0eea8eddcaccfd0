// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxthreadname.h"

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

void qmxNameThread(const QString &name)
{
    constexpr int kernelLimit = 15;
    pthread_setname_np(pthread_self(), name.toLatin1().left(kernelLimit).constData());
}

void qmxYieldToEventLoop()
{
    constexpr int steps = 10;
    const auto thread = id_t(gettid());
    setpriority(PRIO_PROCESS, thread, getpriority(PRIO_PROCESS, thread) + steps);
}

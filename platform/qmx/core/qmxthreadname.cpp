// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxthreadname.h"

#include <pthread.h>

void qmxNameThread(const QString &name)
{
    constexpr int kernelLimit = 15;
    pthread_setname_np(pthread_self(), name.toLatin1().left(kernelLimit).constData());
}

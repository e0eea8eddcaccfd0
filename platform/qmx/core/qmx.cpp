// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmx.h"

#include "platform/qmx/core/qmxalarm.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxframe.h"
#include "platform/qmx/core/qmximagelut.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxloopmeter.h"
#include "platform/qmx/core/qmxprofileclock.h"
#include "platform/qmx/core/qmxprogramend.h"
#include "platform/qmx/core/qmxvbiinfo.h"
#include "platform/qmx/core/qmxvideorefstate.h"
#include "platform/qmx/core/qmxvideostate.h"

#include <QCoreApplication>
#include <QList>

#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace {

QList<void (*)()> &registrations()
{
    static QList<void (*)()> list; // filled by initialisers of any file, in any order
    return list;
}

template <class T>
void registerType(const char *name)
{
    qRegisterMetaType<T>(name);
}

void registerTypes()
{
    registerType<QmxId>("QmxId");
    registerType<QmxError>("QmxError");
    registerType<QmxTimeStamp>("QmxTimeStamp");
    registerType<QmxVideoRate>("QmxVideoRate");
    registerType<QmxTimecode>("QmxTimecode");
    registerType<QmxImageDesc>("QmxImageDesc");
    registerType<QmxAudioDesc>("QmxAudioDesc");
    registerType<QmxBuffer>("QmxBuffer");
    registerType<QmxImage>("QmxImage");
    registerType<QmxAudio>("QmxAudio");
    registerType<QmxMetadata>("QmxMetadata");
    registerType<QmxMetadataHash>("QmxMetadataHash");
    registerType<QmxFrame>("QmxFrame");
    registerType<QmxImageLut>("QmxImageLut");
    registerType<QmxVbiInfo>("QmxVbiInfo");
    registerType<QmxVideoState>("QmxVideoState");
    registerType<QmxVideoRefState>("QmxVideoRefState");
    registerType<QmxAlarm>("QmxAlarm");
    for (void (*registration)() : std::as_const(registrations()))
        registration();
}

void ignoreBrokenPipes()
{
    struct sigaction action = {};
    if (sigaction(SIGPIPE, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) return;
    action.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &action, nullptr);
}

} // namespace

void Qmx::init(int interfaceVersion)
{
    constexpr int supported = 1;
    static bool done = false;
    if (interfaceVersion != supported)
        qmxLogOutput(QmxLogLevel::Error, "qmx", __LINE__,
                     "The program asks for interface %d of the framework, which has %d\n", interfaceVersion,
                     supported);
    if (std::exchange(done, true)) return;
    if (qmxInstalledSpeed() > 0)
        qmxLogOutput(QmxLogLevel::Info, "qmx", __LINE__, "The clock runs %g times as fast as real time\n",
                     qmxInstalledSpeed());
    registerTypes();
    ignoreBrokenPipes();
    if (QCoreApplication::instance()) new QmxLoopMeter(QmxEnvironment::current().clock); // owned by it
    QmxProgramEnd::connectToApplication();
}

void Qmx::addQuitStep(std::function<void()> step)
{
    QmxProgramEnd::addStep(std::move(step));
}

Qmx::ValueTypes::ValueTypes(void (*registration)())
{
    registrations().append(registration);
}

void Qmx::setOOMAdjust(int adjustment)
{
    // The kernel's present scale is 1000 wide on either side; -17 switched the killer off on the old one.
    constexpr int oldNever = -17;
    constexpr int oldLast = 15;
    constexpr int scale = 1000;
    const int score = adjustment <= oldNever ? -scale : qBound(-scale, adjustment * scale / oldLast, scale);
    FILE *file = std::fopen("/proc/self/oom_score_adj", "we");
    if (!file) return;
    std::fprintf(file, "%d", score);
    std::fclose(file);
}

quint64 Qmx::totalSystemMemorySize()
{
    return quint64(sysconf(_SC_PHYS_PAGES)) * quint64(sysconf(_SC_PAGESIZE));
}

void Qmx::poolReserve(unsigned int bytes)
{
    pool()->reserve(bytes);
}

QmxMemoryPool *Qmx::pool()
{
    return QmxMemoryPool::instance();
}

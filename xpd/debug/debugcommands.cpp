// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/debug/debugcommands.h"

#include "platform/qmx/core/qmx.h"
#include "platform/qmx/core/qmxbuffer.h"
#include "platform/qmx/core/qmxmemorypool.h"
#include "platform/qmx/core/qmxtimecode.h"
#include "platform/qmx/core/qmxvbiinfo.h"
#include "xpd/transport/vtrobject.h"

#include <cmath>

namespace {

using Target = DebugCommandTarget;

struct Command
{
    const char *name;
    /// Acts; the text, if any, is the reply in place of the status line.
    QString (*run)(const Target &target, const QString &argument);
};

/// What does not read as a number: `fallback`. "nan" and "inf" are read, but are no speeds.
double toDouble(const QString &text, double fallback)
{
    bool ok = false;
    const double value = text.toDouble(&ok);
    return ok && std::isfinite(value) ? value : fallback;
}

int toInt(const QString &text, int fallback)
{
    bool ok = false;
    const int value = text.toInt(&ok);
    return ok ? value : fallback;
}

QString clips(const Target &target, const QString &)
{
    const QmxPlayList list = target.playListInUse();
    QString reply;
    for (int i = 0; i < list.size(); ++i)
        reply += QStringLiteral("%1: %2\n").arg(QString::number(i), list.at(i).name());
    return reply;
}

QString mem(const Target &, const QString &)
{
    QmxMemoryPool::UsageData data = {};
    Qmx::pool()->getUsageData(data);
    return QStringLiteral("QmxBuffer  : %1\nFlags      : %2\nPPB        : %3\nBlock Size : %4\n"
                          "Sys Frag   : %5\nHTLB Frag  : %6\nSys Size   : %7\nHTLB Size  : %8\n"
                          "Total Size : %9\nTotal Used : %10\n")
        .arg(QmxBufferData::bytesInUse())
        .arg(data.flags)
        .arg(data.pagesPerBlock)
        .arg(data.blockSize)
        .arg(data.sysFrag)
        .arg(data.htlbFrag)
        .arg(data.sysSize)
        .arg(data.htlbSize)
        .arg(data.totalSize)
        .arg(data.totalUsed);
}

QString none()
{
    return {};
}

constexpr Command commands[] = {
    {"status", [](const Target &, const QString &) { return none(); }},
    {"play", [](const Target &t, const QString &a) { return t.vtr->play(toDouble(a, 1.0)), none(); }},
    {"record", [](const Target &t, const QString &) { return t.vtr->record(), none(); }},
    {"stop", [](const Target &t, const QString &) { return t.vtr->standbyOff(), none(); }},
    {"still", [](const Target &t, const QString &) { return t.vtr->still(), none(); }},
    {"cue", [](const Target &t, const QString &a) { return t.vtr->cue(toInt(a, 0)), none(); }},
    {"cuetc", [](const Target &t, const QString &a) { return t.vtr->cueToTimecode(QmxTimecode(a)), none(); }},
    {"step", [](const Target &t, const QString &a) { return t.vtr->step(toInt(a, 1)), none(); }},
    {"loop", [](const Target &t, const QString &a) { return t.vtr->setLooping(toInt(a, 0) != 0), none(); }},
    {"clips", clips},
    {"clip", [](const Target &t, const QString &a) { return t.gotoClipByIndex(toInt(a, 0)), none(); }},
    {"mem", mem},
    {"quit", [](const Target &t, const QString &) { return t.closeConnection(), none(); }},
};

QString statusLine(const VtrObject &vtr)
{
    return QStringLiteral("%1 %2 %3")
        .arg(vtr.lastVBI().tcgTimecode().toString(), vtr.state().toString(), vtr.stateToString());
}

const Command *findCommand(const QString &name)
{
    for (const Command &command : commands) {
        if (name == QLatin1String(command.name)) return &command;
    }
    return nullptr;
}

} // namespace

QString runDebugCommand(const QString &line, const DebugCommandTarget &target)
{
    const QString words = line.simplified();
    const QString name = words.section(QLatin1Char(' '), 0, 0);
    const Command *command = findCommand(name);
    QString reply = command ? command->run(target, words.section(QLatin1Char(' '), 1, 1))
                            : QStringLiteral("unknown command: %1").arg(name);
    if (reply.isEmpty()) reply = statusLine(*target.vtr);
    if (!reply.endsWith(QLatin1Char('\n'))) reply += QLatin1Char('\n');
    return reply;
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/app/startup.h"

#include <QFile>
#include <QTextStream>

namespace {

constexpr quint64 poolPercent = 45;

} // namespace

bool readKernelCmdLine(const QString &key, QString *value)
{
    QFile file(QStringLiteral("/proc/cmdline"));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) return false;
    QTextStream text(&file);
    return findKernelWord(text, key, value);
}

bool findKernelWord(QTextStream &text, const QString &key, QString *value)
{
    for (;;) {
        QString word;
        text >> word;
        if (word.isEmpty()) return false;
        if (word.section(QLatin1Char('='), 0, 0) != key) continue;
        if (value) *value = word.section(QLatin1Char('='), 1);
        return true;
    }
}

quint64 memoryPoolSize(quint64 totalBytes)
{
    return totalBytes * poolPercent / 100;
}

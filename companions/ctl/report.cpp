// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/ctl/report.h"

#include <QJsonDocument>

#include <cstdio>
#include <unistd.h>

namespace {
void print(FILE *file, const QString &text)
{
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), file);
    std::fflush(file);
}

QString compact(const QJsonObject &object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}
} // namespace

void Report::result(const QString &text, const QJsonObject &object) const
{
    if (_json) {
        print(stdout, compact(object) + "\n");
    } else if (!text.isEmpty()) {
        print(stdout, text.endsWith('\n') ? text : text + "\n");
    }
}

ExitCode Report::error(ExitCode code, const QString &what, const QString &hint) const
{
    if (_json) {
        print(stderr, compact({{"error", what}, {"hint", hint}, {"code", int(code)}}) + "\n");
    } else {
        print(stderr, "xpctl: " + what + "\n");
        if (!hint.isEmpty()) {
            print(stderr, "       " + hint + "\n");
        }
    }
    return code;
}

void Report::line(const QString &text, const QJsonObject &object) const
{
    if (_json) {
        print(stdout, compact(object) + "\n");
    } else if (isatty(STDOUT_FILENO)) {
        print(stdout, "\r" + text + "\x1b[K"); // erase what a longer line left behind
    } else {
        print(stdout, text + "\n");
    }
}

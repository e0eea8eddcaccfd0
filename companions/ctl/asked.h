// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/ctl/commands.h"

#include <QJsonObject>
#include <QList>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

/// One command line for several recorders: each is asked by a process of its own, all at once. Main thread,
/// without an event loop; every call waits for the processes.
class Asked
{
public:
    struct Answer
    {
        int status = 0;
        QJsonObject result; ///< the last one, with --json
        QString text;       ///< what it said, both ways

        bool isDone() const { return status == int(ExitCode::Done); }
    };

    /// `variable` is what says in the environment which recorder is meant, `recorders` its values.
    Asked(const char *variable, const QStringList &recorders, QStringList words, bool json);

    /// What each says first, when it goes on after that: the indexes of those that are ready.
    QList<qsizetype> awaitReady();
    /// Lets those begin that wait for the word; the others end.
    void begin(const QList<qsizetype> &indexes);
    /// In the order of the recorders.
    QList<Answer> answers();

private:
    std::vector<std::unique_ptr<QProcess>> _processes;
    const bool _json;
};

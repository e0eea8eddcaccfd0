// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/ctl/asked.h"

#include <QList>
#include <QString>
#include <QStringList>

/// One command for several channels of this machine: each is asked by a process of its own, all at once, and
/// their answers are one answer.
///
/// A take of a gang begins with the same frame everywhere: all are asked whether they could begin one, the
/// frame is set for each (QmxTakeWindow), and only then all are told to record. When one refuses none begins,
/// or those that have begun end again, unless the best is wanted that can be had. A stop holds the same frame
/// as the last one everywhere, for takes that began so.
class Gang
{
public:
    /// `words` are the command line behind the options that name the gang.
    Gang(QList<int> channels, QStringList words, bool bestEffort, const Report &report)
        : _channels(std::move(channels)), _words(std::move(words)), _bestEffort(bestEffort), _report(report)
    {}

    ExitCode run(const CommandRow &row, const Arguments &arguments);

private:
    struct Part
    {
        Asked::Answer answer;
        int channel = 1;
        qint64 offset = 0; ///< of the first frame of a take from the one that was set, in frames
        bool hasOffset = false;
    };

    static QStringList namesOf(const QList<int> &channels);
    QList<int> channelsAt(const QList<qsizetype> &indexes) const;
    static QList<Part> partsOf(const QList<int> &channels, Asked &asked);
    QList<Part> ask(const QList<int> &channels, const QStringList &words) const;
    ExitCode record(const Arguments &arguments);
    ExitCode stop();
    ExitCode tell(const QList<Part> &parts, const QJsonObject &more = {}, const QString &last = {}) const;
    ExitCode tellStatus(const QList<Part> &parts) const;
    static bool isDone(const Part &part) { return part.answer.isDone(); }

    const QList<int> _channels;
    const QStringList _words;
    const bool _bestEffort;
    const Report &_report;
};

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/answer.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>
#include <string>

class Recorder;

/// The play list: one parameter of the store, with a revision by which two who change it at once find each
/// other out. A value; read() and write() wait for the store.
class PlayList
{
public:
    struct Entry
    {
        int place;
        QString name;
        bool isPresent; ///< on the active medium
    };

    static constexpr qsizetype mostEntries = 10000;

    static PlayList read(const Recorder &recorder);
    /// Replaces the list, if it still has that revision (empty: whatever it has).
    static Answer write(Recorder &recorder, const QStringList &names, const QString &revision);
    /// An entry as the list keeps it: of a part (QmxClipPart) by the frames that it is now. Nothing, and why,
    /// when there is no such clip or no such part of it. Asks the disk.
    static std::optional<QString> entryFor(const Recorder &recorder, const QString &text, QString &why);
    /// What a list of this text has as its revision.
    static QString revisionOf(const QString &text);

    const QList<Entry> &entries() const { return _entries; }
    QString revision() const { return _revision; }

    /// Held by the one program that changes the list, from reading it to writing it.
    static std::string lockPath(); ///< QmxPlaces::playListLock
    static constexpr std::chrono::seconds lockWithin{5};

private:
    QList<Entry> _entries;
    QString _revision;
};

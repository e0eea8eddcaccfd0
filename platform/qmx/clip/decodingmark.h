// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxplaces.h"

#include <QString>
#include <QStringList>

/// The note that a file of another program is being decoded by this process, so that a file that ends the
/// decoder does not end the recorder at every start. It stands while the decoder is at work, and only then:
/// what else ends a process is not the file's fault. Two processes that died while it stood are enough for
/// the file to be refused, until it changes or the machine restarts. One that died is remembered until much
/// of the file has been decoded: to open it, or to see its first picture, proves nothing about the next one.
///
/// Notes are empty files, one a process and decoder, in a folder that does not outlive the machine's run.
/// Where there is none nothing is noted.
class DecodingMark
{
public:
    static constexpr int mostDeaths = 1; ///< that may have had other reasons
    static QString standardFolder() { return QmxEnvironment::current().places->run; }

    explicit DecodingMark(const QString &folder = standardFolder()) : _folder(folder) {}
    ~DecodingMark() { end(); }
    DecodingMark(const DecodingMark &) = delete;
    DecodingMark &operator=(const DecodingMark &) = delete;

    /// While one of these lives the note stands again, for a file that has been begun with.
    class Standing
    {
    public:
        explicit Standing(DecodingMark &mark) : _mark(mark) { _mark.stand(); }
        ~Standing() { _mark.end(); }
        Standing(const Standing &) = delete;
        Standing &operator=(const Standing &) = delete;

    private:
        DecodingMark &_mark;
    };

    /// An error when the file has been fatal too often. `path` and what is known of the file tell it apart;
    /// `part`: of the file, with deaths of its own.
    QmxError begin(const QString &path, qint64 size, qint64 changed, const char *part = "");
    /// The decoder lives. Again: nothing.
    void end();
    /// So many pictures (pieces of sound) have been decoded since begin(), and whether they were all.
    void decoded(qint64 count, bool isAll);

private:
    void stand();
    QStringList notesOfDead() const;

    const QString _folder;
    QString _start;          ///< of the names of all notes for this file
    QString _own;            ///< our note; empty: none stands
    bool _isDoubted = false; ///< one has died of it
};

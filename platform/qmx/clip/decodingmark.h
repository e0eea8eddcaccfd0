// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxplaces.h"

#include <QString>

/// The note that a file of another program is being decoded for the first time by this process, so that a
/// file that ends the decoder does not end the recorder at every start. It stands from begin() until end();
/// two processes that died in between are enough for the file to be refused, until it changes or the machine
/// restarts.
///
/// Notes are small files in a folder that does not outlive the machine's run. Where there is none nothing is
/// noted.
class DecodingMark
{
public:
    static constexpr int mostDeaths = 1; ///< that may have had other reasons
    static QString standardFolder() { return QmxEnvironment::current().places->run; }

    explicit DecodingMark(const QString &folder = standardFolder()) : _folder(folder) {}
    ~DecodingMark() { end(); }
    DecodingMark(const DecodingMark &) = delete;
    DecodingMark &operator=(const DecodingMark &) = delete;

    /// An error when the file has been fatal too often. `path` and what is known of the file tell it apart.
    QmxError begin(const QString &path, qint64 size, qint64 changed);
    /// The decoder lives. Again: nothing.
    void end();

private:
    const QString _folder;
    QString _note;
};

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxtimecode.h"

#include <QList>
#include <QString>

#include <optional>

/// An edit decision list in the form of CMX 3600: lines of text that editing programs exchange. Read here are
/// cuts of pictures with their clip names and locators; what says how two events overlap is refused, since
/// nothing here could play it. A value; any thread.
struct Edl
{
    struct Locator
    {
        QmxTimecode at; ///< of the source
        QString name;
    };
    struct Event
    {
        QString reel;                    ///< at most eight characters
        QString clip;                    ///< from the comment with the clip's name; may be empty
        QmxTimecode sourceIn, sourceOut; ///< out is the first frame that does not belong to it any more
        QmxTimecode recordIn, recordOut;
        QList<Locator> locators;
    };

    QString title;
    QList<Event> events;
    bool dropFrame = false;

    static constexpr int mostEvents = 9999;

    /// Nothing, and why with the number of the line, when it is none that can be played here.
    static std::optional<Edl> fromText(const QString &text, QString &why);
    /// Lines with CR LF, as the form asks for.
    QString toText() const;
    /// What stands where a tape's name should: letters, digits and "_" of a clip's name, eight at most.
    static QString reelOf(const QString &clip);
};

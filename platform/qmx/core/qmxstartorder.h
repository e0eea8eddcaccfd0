// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QtGlobal>

#include <mutex>
#include <optional>

/// Where the next opening of a clip shall begin when that is not its first frame. The transport opens a clip
/// at its beginning and knows of no other place; whoever wants another one says so here before it opens.
/// A value.
struct QmxStartOrder
{
    enum class Place {
        Frame,  ///< `frame`
        Output, ///< the timecode of the picture that is on the output at that moment
        Live,   ///< `seconds` behind the newest frame of a clip that grows, as near to it as runs smoothly
    };

    QString clip; ///< file name; an opening of anything else passes the order over
    Place place = Place::Frame;
    qint64 frame = 0;
    double seconds = 0;
    /// What plays is held between `first` and `end` (one behind the last), until somebody seeks outside.
    qint64 first = 0;
    qint64 end = -1; ///< -1: no such bounds

    bool isPart() const { return end > first; }
    /// One line; nothing when it makes no sense.
    static std::optional<QmxStartOrder> fromText(const QString &text);
    QString toText() const;
};

/// The order that waits, one at most: the last one counts. Any thread.
class QmxStartOrders
{
public:
    void give(const QmxStartOrder &order);
    /// The order for the clip that is being opened; whatever waits is gone then.
    std::optional<QmxStartOrder> take(const QString &path);

private:
    std::mutex _mutex;
    std::optional<QmxStartOrder> _order;
};

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <mutex>

/// What the operator's settings want of inputs and takes, as far as it concerns nobody above the streams and
/// the video device: written by who follows the store, read by sources, device and streams of the same
/// recorder (QmxDeck). A value as a whole, so that nobody sees half of a change. Any thread; never waits.
class QmxTakeOptions
{
public:
    struct Values
    {
        /// A torn picture is passed on as it came; else the last whole one stands in for it.
        bool keepsTornPictures = false;
        /// A take begins so much before its command.
        int preRecordSeconds = 0;
        /// Where the next take begins, as the operator wrote it; empty: with the command.
        QString recordStart;
        /// Folder on a second medium to which a take is written as well; empty: none.
        QString mirrorMediaPath;

        friend bool operator==(const Values &, const Values &) = default;
    };

    Values values() const
    {
        const std::lock_guard lock(_mutex);
        return _values;
    }
    /// Lets `change` work on the values.
    template <class Change>
    void change(Change change)
    {
        const std::lock_guard lock(_mutex);
        change(_values);
    }

private:
    mutable std::mutex _mutex;
    Values _values;
};

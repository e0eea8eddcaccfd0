// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <chrono>
#include <functional>
#include <mutex>
#include <utility>

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
        std::chrono::seconds preRecord{};
        /// Frame with which the next take begins and, if it does, ends, as QmxTakeMoment reads it; empty:
        /// with its command.
        QString recordStart;
        QString recordEnd;
        quint32 startSerial = 0; ///< another one: one of them has been written
        /// Folder on a second medium to which a take is written as well; empty: none.
        QString mirrorMediaPath;
        /// Of the timecode, eight hexadecimal digits, for each clip that begins; empty: none.
        QString userBits;

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

    /// The take that `serial` asked for has begun, or can begin no more: both go, and `told` is told, on the
    /// caller's thread.
    void spendStart(quint32 serial)
    {
        std::function<void()> told;
        {
            const std::lock_guard lock(_mutex);
            if (_values.startSerial != serial) return;
            _values.recordStart.clear();
            _values.recordEnd.clear();
            told = _spent;
        }
        if (told) told();
    }
    void setSpent(std::function<void()> told)
    {
        const std::lock_guard lock(_mutex);
        _spent = std::move(told);
    }

private:
    mutable std::mutex _mutex;
    Values _values;
    std::function<void()> _spent;
};

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <span>
#include <vector>

/// Places of some slots of a clip, spread evenly over it, and of the newest one, which tells of those before
/// it (MovEarlierSlots). Where slots do not, each tells only where the next one is: without these places a
/// long clip that was never closed would be opened at the pace of a medium that is asked one thing at a time.
/// They stand in the free atom of the first block, which every flush writes anyway. They are hints: a slot
/// that is found by them is checked.
class MovWaymarks
{
public:
    /// Kept at most; then every second one goes.
    static constexpr size_t most = 128;

    /// Called for each slot, in order.
    void add(qint64 slot);
    /// Into a header as MovTables::openHeader() makes it, as many as its first block has room for.
    void write(QByteArray &header) const;
    /// Of a file's first block: rising, none before the first slot. Empty when there are none.
    static std::vector<qint64> read(std::span<const uchar> block);

private:
    std::vector<qint64> _slots;
    qint64 _newest = 0;
    quint64 _seen = 0; ///< slots so far
    quint64 _stride = 1;
};

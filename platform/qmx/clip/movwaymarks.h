// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <span>
#include <vector>

/// Places of some slots of a clip, spread evenly over it. A slot tells only where the next one is, so without
/// them a long clip that was never closed is opened at the pace of a medium that is asked one thing at a
/// time. They stand in the free atom of the first block, which every flush writes anyway. They are hints:
/// nothing that is read by them counts before its slot has been checked and reached from the one before.
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
    quint64 _seen = 0; ///< slots so far
    quint64 _stride = 1;
};

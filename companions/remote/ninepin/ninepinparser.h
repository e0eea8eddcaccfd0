// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/remote/ninepin/ninepinblock.h"

#include <functional>
#include <optional>
#include <span>
#include <vector>

/// A byte of the line, or the news that one was damaged on it.
struct NinepinByte
{
    std::uint8_t value = 0;
    NinepinFault fault = NinepinFault::None;
};

/// Takes the marks out of what a terminal with PARMRK and INPCK delivers: FF FF is the byte FF, FF 00 X is a
/// byte X whose parity was wrong, FF 00 00 a break. A mark may be cut anywhere between two reads.
class NinepinMarks
{
public:
    void feed(std::span<const std::uint8_t> read, std::vector<NinepinByte> &bytes);

private:
    enum { Plain, Marked, Damaged } _state = Plain;
};

/// Cuts a line's bytes into blocks. A block with a wrong sum, a damaged byte or a gap in it is dropped whole:
/// nothing inside it is ever looked at as a block of its own, since data bytes may look like commands.
///
/// Time is an argument, in nanoseconds of any steady clock. One thread.
class NinepinParser
{
public:
    struct Limits
    {
        qint64 gap;    ///< between two bytes of a block; what waits longer is dropped
        qint64 resync; ///< after a fault all is dropped until the line was quiet for so long
    };
    static constexpr Limits serial{10'000'000, 5'000'000};
    /// A network delivers late, but damages nothing.
    static constexpr Limits network{200'000'000, 0};

    using Good = std::function<void(const NinepinBlock &)>;
    using Bad = std::function<void(NinepinFault)>;

    NinepinParser(Limits limits, Good good, Bad bad);

    void feed(std::span<const NinepinByte> bytes, qint64 now);
    /// When expire() is to be called; nothing while no block is begun.
    std::optional<qint64> deadline() const;
    /// Drops a block whose next byte has not come in time.
    void expire(qint64 now);

private:
    void take(const NinepinByte &byte, qint64 now);
    void finish();
    void fail(NinepinFault fault);

    const Limits _limits;
    const Good _good;
    const Bad _bad;
    std::array<std::uint8_t, NinepinBlock::maximumData + 3> _bytes{};
    int _size = 0;
    qint64 _last = 0; ///< when the last byte came
    NinepinFault _damage = NinepinFault::None;
    bool _drains = false; ///< until the line is quiet
};

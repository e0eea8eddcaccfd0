// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

/// CRC-32C (Castagnoli, reflected polynomial 0x82F63B78), with the processor's instruction where it has one.
quint32 movCrc32c(const void *data, size_t size, quint32 previous = 0);
/// A sum that is made in parts of a kilobyte, by who reads them for something else too. Each part's own sum
/// begins with zero and is not inverted, as the processor's instruction makes it.
class MovCrcParts
{
public:
    static constexpr size_t partSize = 1024;

    void addPart(quint32 sum);
    /// Bytes of any number that have not been summed.
    void addBytes(const void *data, size_t size) { _value = movCrc32c(data, size, _value); }
    quint32 value() const { return _value; }

private:
    quint32 _value = 0;
};

/// Whether the bytes have this checksum. In a build for fuzzers they always do: no fuzzer guesses one, and
/// what lies behind is what it shall reach.
bool movCrcIs(quint32 checksum, const void *data, size_t size);

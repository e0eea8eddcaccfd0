// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

/// CRC-32C (Castagnoli, reflected polynomial 0x82F63B78), with the processor's instruction where it has one.
quint32 movCrc32c(const void *data, size_t size, quint32 previous = 0);
/// Whether the bytes have this checksum. In a build for fuzzers they always do: no fuzzer guesses one, and
/// what lies behind is what it shall reach.
bool movCrcIs(quint32 checksum, const void *data, size_t size);

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

/// CRC-32C (Castagnoli, reflected polynomial 0x82F63B78), with the processor's instruction where it has one.
quint32 movCrc32c(const void *data, size_t size, quint32 previous = 0);

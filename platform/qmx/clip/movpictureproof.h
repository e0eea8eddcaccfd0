// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxblake3.h"

#include <memory>
#include <mutex>

/// What proves one picture: its checksum in the slot, and what it adds to the chain. A value.
struct MovPictureProof
{
    quint32 crc = 0; ///< CRC-32C
    QmxBlake3::Digest digest{};

    static MovPictureProof of(const void *data, size_t size);
};

/// The same of a picture that several writers are given: the first one who needs it finds it out, and the
/// others wait for him. Any thread.
class MovSharedProof
{
public:
    const MovPictureProof &of(const void *data, size_t size)
    {
        std::call_once(_once, [&] { _proof = MovPictureProof::of(data, size); });
        return _proof;
    }

private:
    std::once_flag _once;
    MovPictureProof _proof;
};
using MovSharedProofPtr = std::shared_ptr<MovSharedProof>;

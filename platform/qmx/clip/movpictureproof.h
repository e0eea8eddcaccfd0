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

/// The same of a picture that goes through several hands, with the picture's frame: the first one who needs
/// it finds it out, and the others wait for him. It is of these bytes alone: of others, which somebody has
/// put in their place, it is found out anew. Any thread.
class MovSharedProof
{
public:
    MovPictureProof of(const void *data, size_t size)
    {
        std::call_once(_once, [&] {
            _proof = MovPictureProof::of(data, size);
            _data = data;
            _size = size;
        });
        return data == _data && size == _size ? _proof : MovPictureProof::of(data, size);
    }

private:
    std::once_flag _once;
    const void *_data = nullptr;
    size_t _size = 0;
    MovPictureProof _proof;
};
using MovSharedProofPtr = std::shared_ptr<MovSharedProof>;

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movpictureproof.h"

MovPictureProof MovPictureProof::of(const void *data, size_t size)
{
    MovPictureProof proof;
    proof.digest = QmxBlake3::hash(data, size, &proof.crc);
    return proof;
}

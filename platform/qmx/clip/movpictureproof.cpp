// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movpictureproof.h"

#include "platform/qmx/clip/movcrc.h"

MovPictureProof MovPictureProof::of(const void *data, size_t size)
{
    return {movCrc32c(data, size), QmxBlake3::hash(data, size)};
}

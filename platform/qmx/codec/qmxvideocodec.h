// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxpicture.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxhelpers.h"
#include "platform/qmx/core/qmxid.h"
#include "platform/qmx/core/qmximagedesc.h"

#include <memory>
#include <span>

/// Codes pictures of one description. Intra only: every call stands alone. One thread at a time.
class QmxVideoEncoder
{
public:
    virtual ~QmxVideoEncoder();
    /// Threads that may help with a picture whose coding takes long; they outlive the encoder. The bytes are
    /// the same with them.
    virtual void setHelpers(QmxHelpers *helpers);
    /// Codes one picture into pool memory.
    virtual QmxError encode(const QmxPicture &picture, QmxBuffer &coded) = 0;
};

/// Decodes coded pictures of one description. Intra only. One thread at a time.
class QmxVideoDecoder
{
public:
    virtual ~QmxVideoDecoder();
    /// Threads that may help with a picture that somebody waits for; they outlive the decoder. The samples
    /// are the same with them.
    virtual void setHelpers(QmxHelpers *helpers);
    virtual QmxError decode(const QmxBuffer &coded, QmxPicture &picture) = 0;
    /// The same at a part of its size, for thumbnails and other small views: width and height divided by 2, 4
    /// or 8 and rounded up. A codec that cannot do that cheaply gives the whole picture.
    virtual QmxError decodeSmaller(const QmxBuffer &coded, int divisor, QmxPicture &picture);
    /// Parts of the picture decoded last that were damaged; they are grey.
    virtual int damagedParts() const;
};

/// One codec: a row of the table in codecs.cpp, with a file of its own behind it.
struct QmxCodecRow
{
    QmxId dataType;
    const char *name;                 ///< "ProRes 422"
    const char *fourcc;               ///< sample entry in a QuickTime file: "apcn"
    QmxPicture::Format pictureFormat; ///< what it codes
    std::unique_ptr<QmxVideoEncoder> (*createEncoder)(const QmxImageDesc &desc);
    std::unique_ptr<QmxVideoDecoder> (*createDecoder)(const QmxImageDesc &desc);
};

std::span<const QmxCodecRow> qmxCodecs();
/// The row of a data type, null when there is none (yet).
const QmxCodecRow *qmxCodec(const QmxId &dataType);
/// The same with libavcodec's coder where there is one beside ours, for comparison.
const QmxCodecRow *qmxCodecByLibav(const QmxId &dataType);
/// The row of a sample entry, null when there is none.
const QmxCodecRow *qmxCodecByFourcc(const char *fourcc);

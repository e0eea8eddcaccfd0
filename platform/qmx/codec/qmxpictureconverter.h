// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxlibav.h"

#include <vector>

/// Converts between pixel formats, ranges and sizes: any decoded frame into a picture, pictures into each
/// other and into what an output wants. Keeps the contexts it made, so keep the converter. Interlaced frames
/// are converted field by field where lines would otherwise be mixed. One thread at a time.
class QmxPictureConverter
{
public:
    /// A decoded frame as a picture of the wanted format and size. Full-range YUV becomes legal range; the
    /// frame's own matrix is honoured, and made the one of the wanted size. Not valid: pool exhausted or a
    /// pixel format that swscale does not read.
    QmxPicture convert(const AVFrame *frame, QmxPicture::Format format, const QSize &size);
    /// The picture in another format, same size.
    QmxPicture convert(const QmxPicture &picture, QmxPicture::Format format);
    /// The picture in another size, same format; `interlaced`: field by field.
    QmxPicture convert(const QmxPicture &picture, const QSize &size, bool interlaced);
    /// Into planes that the caller owns, as libav knows them; legal range YUV. False: not possible.
    bool convert(const QmxPicture &picture, AVPixelFormat format, const QSize &size, uint8_t *const data[4],
                 const int stride[4], bool interlaced);

private:
    struct Key
    {
        int fromWidth, fromHeight, fromFormat, toWidth, toHeight, toFormat;
        int fromMatrix, toMatrix;
        bool fromFull, toFull;
        bool operator==(const Key &) const = default;
    };
    struct Entry
    {
        Key key;
        QmxLibav::Scaler scaler;
    };
    SwsContext *scaler(const Key &key);
    bool run(const AVFrame *frame, AVPixelFormat format, const QSize &size, uint8_t *const data[4],
             const int stride[4], bool byField);

    std::vector<Entry> _entries;
};

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxpicture.h"
#include "platform/qmx/core/qmximagelut.h"

#include <QString>

/// What the device does to pictures besides coding. Pure; any thread. Every function leaves its argument as
/// it is and gives a new picture (or a handle to the same samples when there is nothing to do); not valid
/// when the pool is exhausted.
namespace PictureWork {

/// The same picture in another sample format. Rgb444P10 and YCbCr are not converted into each other: not
/// valid.
QmxPicture inFormat(const QmxPicture &picture, QmxPicture::Format format);

/// A look-up table of 1024 entries a channel in full-range R, G, B applied to a picture; YCbCr pictures are
/// converted there and back (ITU-R BT.709 from 720 lines on, else BT.601). A table of another length leaves
/// the picture as it is. One that was read from a three-dimensional file stands for that (QmxCubes).
QmxPicture withLut(const QmxPicture &picture, const QmxImageLut &lut);

/// One of half that size (rounded up), as a decoder makes it of the frequencies that it keeps, made this
/// large; `interlaced`: each field by itself. One of another size stays as it is.
QmxPicture enlarged(const QmxPicture &picture, const QSize &size, bool interlaced);

/// A line of text (digits, letters, ":;-._ ") in white on black, centred near the bottom.
QmxPicture withText(const QmxPicture &picture, const QString &text);

} // namespace PictureWork

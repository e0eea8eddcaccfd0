// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/edges/qmxpreview.h"

#include <QByteArray>

/// Makes JPEG files of preview pictures: from legal range in the colours of BT.709 (BT.601 for standard
/// definition) to what a JPEG file holds, BT.601 in full range. One thread; keeps its memory from picture to
/// picture.
class JpegMaker
{
public:
    JpegMaker();
    ~JpegMaker();
    JpegMaker(const JpegMaker &) = delete;
    JpegMaker &operator=(const JpegMaker &) = delete;

    static constexpr int defaultQuality = 85;
    /// Empty when the picture has no size or there is no memory.
    QByteArray make(const QmxPreviewPicture &picture, int quality = defaultQuality);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/decodedpictures.h"

namespace {
constexpr int knownBeforeSweep = 256;

qint64 bytesOf(const DecodedPicturePtr &picture)
{
    return picture->picture.isValid() ? picture->picture.buffer().capacity() : 0;
}
} // namespace

DecodedPicturePtr DecodedPictures::find(const QmxFrame &frame, const QmxImageLut &lut, bool maySoft)
{
    auto picture = std::make_shared<DecodedPicture>();
    picture->lut = lut;
    if (!frame.vids().isEmpty()) picture->image = frame.vids().first();
    const quint64 serial = picture->image.buffers().value(0).serial();
    if (!picture->image.isValid() || serial == 0) {
        picture->state = DecodedPicture::Done;
        return picture;
    }
    DecodedPicturePtr known = _known.value(serial).lock();
    if (known && known->lut == lut && known->image.desc() == picture->image.desc() &&
        (maySoft || !known->isSoft))
        return known;
    if (_known.size() > knownBeforeSweep)
        _known.removeIf([](const auto &entry) { return entry.value().expired(); });
    _known.insert(serial, picture);
    return picture;
}

void DecodedPictures::keep(const DecodedPicturePtr &picture)
{
    _kept.push_back(picture);
    qint64 bytes = 0;
    for (const DecodedPicturePtr &each : _kept)
        bytes += bytesOf(each);
    while (!_kept.empty() && (int(_kept.size()) > kept || bytes > keptBytes)) {
        bytes -= bytesOf(_kept.front());
        _kept.pop_front();
    }
}

void DecodedPictures::clear()
{
    _known.clear();
    _kept.clear();
}

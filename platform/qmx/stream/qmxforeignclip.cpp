// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/qmxforeignclip.h"

#include <cerrno>

struct QmxForeignClip::Private
{
    QmxClipInfo info;
};

QmxForeignClip::QmxForeignClip() : d(std::make_unique<Private>()) {}
QmxForeignClip::~QmxForeignClip() = default;

QmxError QmxForeignClip::open(const QString &path)
{
    return {ENOTSUP, QStringLiteral("%1 is no clip that can be played").arg(path)};
}

const QmxClipInfo &QmxForeignClip::info() const
{
    return d->info;
}

QmxError QmxForeignClip::readPicture(qint64, QmxImage &)
{
    return ENOTSUP;
}

QmxError QmxForeignClip::readAudio(qint64, QmxAudio &)
{
    return ENOTSUP;
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxnextclip.h"

std::shared_ptr<void> QmxNextClip::setNamer(Namer namer)
{
    auto token = std::make_shared<Namer>(std::move(namer));
    _namer = token;
    return token;
}

QString QmxNextClip::after(const QString &path) const
{
    const std::shared_ptr<Namer> namer = _namer.lock();
    return namer ? (*namer)(path) : QString();
}

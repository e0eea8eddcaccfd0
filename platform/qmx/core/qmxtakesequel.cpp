// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxtakesequel.h"

#include <utility>

void QmxTakeSequel::setFinder(Finder finder)
{
    const std::lock_guard lock(_mutex);
    _finder = std::make_shared<const Finder>(std::move(finder));
}

QStringList QmxTakeSequel::after(const QString &path) const
{
    std::shared_ptr<const Finder> finder;
    {
        const std::lock_guard lock(_mutex);
        finder = _finder;
    }
    return finder && *finder ? (*finder)(path) : QStringList();
}

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

#include <functional>
#include <memory>
#include <mutex>

/// Where a take may have gone on when its clip was closed: known to whoever names clips, asked by whoever
/// plays a take while it is recorded. Any thread.
class QmxTakeSequel
{
public:
    /// Gives the paths, present or not, that a clip of the same take may have behind `path`; the likeliest
    /// first.
    using Finder = std::function<QStringList(const QString &path)>;
    void setFinder(Finder finder);
    QStringList after(const QString &path) const;

private:
    mutable std::mutex _mutex;
    std::shared_ptr<const Finder> _finder;
};

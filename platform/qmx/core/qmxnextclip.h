// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <functional>
#include <memory>

/// The way of a clip's name from whoever names clips to the stream that records: where a take goes on when
/// the medium of its clip is full. Known before it is needed, the stream can open the next clip ahead.
///
/// Event loop only.
class QmxNextClip
{
public:
    /// Gives the path of the clip that follows `path`; empty: the take would end there.
    using Namer = std::function<QString(const QString &path)>;
    /// The namer is asked until the token is dropped; the one set last counts.
    [[nodiscard]] std::shared_ptr<void> setNamer(Namer namer);

    bool isNamed() const { return !_namer.expired(); }
    QString after(const QString &path) const;

private:
    std::weak_ptr<Namer> _namer;
};

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"

#include <functional>

/// Keeps whoever reads or writes files in bulk (a copy to another medium, a clip that is sent over a network)
/// out of the way of takes: while the transport uses the media, so many bytes a second, and none while frames
/// wait for the disk. One thread.
class TransferPace
{
public:
    static constexpr double busyRate = 16e6; ///< bytes a second

    /// `isBusy` says at any moment whether the transport uses the media; false also when nobody waits for the
    /// bytes any more.
    TransferPace(const QmxEnvironment &environment, std::function<bool()> isBusy);

    /// Before (after) each piece: returns when `bytes` more may be read (written).
    void wait(qint64 bytes);

private:
    bool framesWait() const;

    const QmxEnvironment _environment;
    const std::function<bool()> _isBusy;
};

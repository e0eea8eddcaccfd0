// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxframe.h"
#include "platform/qmx/device/qmxvideodevicesetup.h"

/// The hardware under a card. A card of software alone has none, and nothing of it fails; a board says here
/// what it could not do, and the card reports it as its own. Event loop only, never waits.
class LumenBoard
{
public:
    virtual ~LumenBoard() = default;
    /// An error: the card cannot be opened.
    virtual QmxError open() { return {}; }
    /// Of a set-up that the card has accepted. An error arrives by setupIsDone(); the set-up before stays.
    virtual QmxError setup(const QmxVideoDeviceSetup &) { return {}; }
    /// A captured frame on its way out, as the board has it. An error: this frame is lost.
    virtual QmxError read(QmxFrame &) { return {}; }
    /// A frame to be shown.
    virtual QmxError write(const QmxFrame &) { return {}; }
};

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxlibav.h"

#include <QString>

/// A sender is not to be trusted: left to itself libavformat would take a play list for a signal and open
/// what that names, here or elsewhere, or read a film's tables without end. So a live input is what its
/// address says, opens that alone, and nothing else later. Lives as long as the context; one thread.
class SenderBounds
{
public:
    SenderBounds() = default;
    SenderBounds(const SenderBounds &) = delete;
    SenderBounds &operator=(const SenderBounds &) = delete;

    /// Whether it is an address of the network, and not a device or a file.
    static bool areFor(const QString &url);
    /// Before the context is opened. False: no memory.
    bool apply(AVFormatContext *context, const QString &url);
    /// The connection stood: an error after that is about what came.
    bool isConnected() const { return _isConnected; }

private:
    static int openOnce(AVFormatContext *context, AVIOContext **opened, const char *url, int flags,
                        AVDictionary **options);

    decltype(AVFormatContext::io_open) _open = nullptr; ///< libavformat's own
    bool _isAsked = false;
    bool _isConnected = false;
};

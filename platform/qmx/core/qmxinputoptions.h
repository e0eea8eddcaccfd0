// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>

/// How inputs treat what they get: set by the recorder's settings, read by the sources. Any thread.
struct QmxInputOptions
{
    /// A torn picture is passed on as it came; else the last whole one stands in for it.
    std::atomic<bool> keepsTornPictures = false;

    static QmxInputOptions *instance()
    {
        static QmxInputOptions options;
        return &options;
    }
};

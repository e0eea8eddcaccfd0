// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/panel/http.h"
#include "platform/qmx/clip/qmxclipwaveform.h"

#include <QHash>

#include <mutex>

struct Panel;

/// The sound of clips that have been asked for, as a screen shows it: all panels that look at a clip ask for
/// the same. One at a time is read: disk and workers have others to serve. Any thread; waits for the disk.
class Waveforms
{
public:
    /// EBUSY: another one is being read; else as QmxClipWaveform::make().
    QmxError peaks(const QString &path, qint64 first, qint64 end, int columns, QmxClipWaveform::Peaks &peaks);

private:
    static constexpr qsizetype most = 100;
    std::mutex _reading;
    std::mutex _mutex;
    QHash<QByteArray, QmxClipWaveform::Peaks> _known; ///< guarded by the mutex
};

/// The route to it (routes_clips.cpp).
void getWaveform(Panel &panel, const HttpCall &call, Respond respond);

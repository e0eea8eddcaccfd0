// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxforeignfile.h"
#include "platform/qmx/core/qmxaudio.h"

#include <vector>

/// The sound of a foreign file at 48 kHz, by sample.
class QmxForeignSound
{
public:
    explicit QmxForeignSound(const QmxEnvironment &environment) : _file(environment) {}
    /// `startTime`: where sample 0 lies, in seconds of the file. ENODATA: it has no sound.
    QmxError open(const QString &path, double startTime);
    int channels() const { return _channels; }
    /// Samples from `first` on; silence where there are none. Errno of the medium.
    QmxError read(qint64 first, int count, qint32 *to);

private:
    void seekTo(qint64 sample);
    bool decodeMore();

    QmxForeignFile _file;
    QString _path;
    QmxLibav::Resampler _resampler;
    int _channels = 0;
    double _startTime = 0;
    qint64 _position = 0; ///< sample at the begin of the buffer
    bool _positionKnown = false;
    bool _atEnd = false;
    std::vector<qint32> _buffer;
};

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxerror.h"

#include <QString>

#include <functional>
#include <memory>
#include <vector>

/// A sound device of this machine by ALSA's name ("default", "hw:1", "plughw:1,0"), open in one direction at
/// 48 kHz. Samples are interleaved, 32 bits; a device that has only 16 gets the upper ones. Calls block; one
/// thread.
class QmxSoundCard
{
public:
    enum class Direction { Play, Capture };
    /// `channels`: as many as are asked for, or the nearest number that the device has. Null: the error says
    /// why and what to do. `interrupted` is asked ten times a second inside blocking calls; true ends them.
    static std::unique_ptr<QmxSoundCard> open(const QString &name, Direction direction, int channels,
                                              std::function<bool()> interrupted, QmxError *error);
    /// Empty, or why this machine has no device of this name. Nothing is opened: somebody may be using it.
    static QString missing(const QString &name);
    virtual ~QmxSoundCard();

    virtual int channels() const = 0;
    /// Samples that the device takes or gives at once.
    virtual int period() const = 0;
    /// Samples (of one channel) that wait in the device: to be played, or to be read. 0: none, or the device
    /// keeps none (a file). What lies behind it, in a sound server or a converter, nobody can hold back or
    /// hasten.
    virtual qint64 waiting() = 0;
    /// `count` samples of every channel. EPIPE: the device had run out of samples before; it is ready again
    /// and nothing of these has been taken.
    virtual QmxError write(const qint32 *samples, int count) = 0;
    /// Replaces `samples` by what has come, at most `count` of every channel. EPIPE: some were lost before.
    virtual QmxError read(std::vector<qint32> &samples, int count) = 0;
};

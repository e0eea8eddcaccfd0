// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/edges/qmxgeneratorpicture.h"
#include "platform/qmx/edges/qmxgeneratorscript.h"
#include "platform/qmx/edges/qmxsource.h"

#include <vector>

/// Which frame a source that runs at its own rate shows at a tick. While the device ticks at the same rate,
/// every tick shows the next frame (a missed tick a frame more); at another rate the frame is the one that
/// is due at the tick's deadline.
class QmxGeneratorPosition
{
public:
    qint64 frameAt(const QmxTick &tick, const QmxVideoRate &rate);
    qint64 frame() const { return _frame; }
    /// Goes on at another rate with a frame whose moment is the present one.
    void restartAt(qint64 frame);

private:
    bool _started = false;
    qint64 _frame = 0;
    qint64 _anchorFrame = 0; ///< was due at _anchorTime
    qint64 _anchorTime = 0;
    qint64 _lastTime = 0;
};

/// The signal generator as a source; see QmxGeneratorScript for what it plays. No thread of its own, needs
/// no clock: frame and time follow from the ticks alone. Backgrounds of all its formats are drawn in the
/// constructor.
class QmxGeneratorSource : public QmxSource
{
public:
    QmxGeneratorSource(const QmxGeneratorScript &script, const QString &name);

    QmxSourceFrame take(const QmxTick &tick) override;
    QString statusText() const override;

private:
    QmxAudio sound(const QmxTick &tick, bool present, bool newFrame);
    QmxMetadataHash metadata(qint64 frame) const;

    QmxGeneratorScript _script;
    QString _name;
    std::vector<QmxGeneratorPicture> _pictures; ///< one a format
    std::vector<QmxVideoState> _states;
    std::vector<qint32> _tone; ///< whole periods
    QmxGeneratorPosition _position;
    qint64 _lastFrame = -1;
    QmxPicture _lastPicture;
    qint64 _sample = 0; ///< position in the tone
};

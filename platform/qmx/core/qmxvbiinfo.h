// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxtimecode.h"
#include "platform/qmx/core/qmxtimestamp.h"

/// What one vertical interval brought. A value.
class QmxVbiInfo
{
public:
    QmxVbiInfo() = default;
    QmxVbiInfo(const QmxTimecode &tcg, const QmxTimecode &input, const QmxTimeStamp &time)
        : _tcgTimecode(tcg), _inputTimecode(input), _timeStamp(time)
    {}

    /// In capture the generator's value, in playback the timecode of the frame on the output.
    QmxTimecode tcgTimecode() const { return _tcgTimecode; }
    void setTcgTimecode(const QmxTimecode &timecode) { _tcgTimecode = timecode; }
    /// Of the input signal, in every mode.
    QmxTimecode inputTimecode() const { return _inputTimecode; }
    void setInputTimecode(const QmxTimecode &timecode) { _inputTimecode = timecode; }
    QmxTimeStamp timeStamp() const { return _timeStamp; }
    void setTimeStamp(const QmxTimeStamp &time) { _timeStamp = time; }
    bool isValid() const { return _timeStamp.isValid(); }

    friend bool operator==(const QmxVbiInfo &, const QmxVbiInfo &) = default;

private:
    QmxTimecode _tcgTimecode;
    QmxTimecode _inputTimecode;
    QmxTimeStamp _timeStamp;
};

Q_DECLARE_METATYPE(QmxVbiInfo)

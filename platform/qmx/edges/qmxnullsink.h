// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/edges/qmxsink.h"

#include <atomic>

/// Shows nothing. Also stands in for a locator that makes no sense; `status` then says why.
class QmxNullSink : public QmxSink
{
public:
    explicit QmxNullSink(const QString &status, bool isWrong = false) : _status(status), _isWrong(isWrong) {}

    void show(const QmxOutputFrame &) override { ++_frames; }
    QString statusText() const override;
    QString problem() const override { return _isWrong ? _status : QString(); }
    int divisor(const QmxImageDesc &, bool) const override { return greatestDivisor; }

private:
    QString _status;
    bool _isWrong; ///< it stands in for a locator that makes no sense
    std::atomic<qint64> _frames = 0;
};

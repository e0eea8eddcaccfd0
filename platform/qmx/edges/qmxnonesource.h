// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/edges/qmxsource.h"

/// An input with nothing connected: never a signal, silence of the exact length. Also stands in for a
/// locator that makes no sense; `status` then says why.
class QmxNoneSource : public QmxSource
{
public:
    explicit QmxNoneSource(const QString &status, bool isWrong = false) : _status(status), _isWrong(isWrong)
    {}

    QmxSourceFrame take(const QmxTick &tick) override;
    QString statusText() const override { return _status; }
    QString problem() const override { return _isWrong ? _status : QString(); }

private:
    QString _status;
    bool _isWrong; ///< it stands in for a locator that makes no sense
};

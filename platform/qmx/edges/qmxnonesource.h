// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/edges/qmxsource.h"

/// An input with nothing connected: never a signal, silence of the exact length. Also stands in for a
/// locator that makes no sense; `status` then says why.
class QmxNoneSource : public QmxSource
{
public:
    explicit QmxNoneSource(const QString &status) : _status(status) {}

    QmxSourceFrame take(const QmxTick &tick) override;
    QString statusText() const override { return _status; }

private:
    QString _status;
};

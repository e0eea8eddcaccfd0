// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/edges/qmxsink.h"

#include <atomic>

/// Shows nothing. Also stands in for a locator that makes no sense; `status` then says why.
class QmxNullSink : public QmxSink
{
public:
    explicit QmxNullSink(const QString &status) : _status(status) {}

    void show(const QmxOutputFrame &) override { ++_frames; }
    QString statusText() const override;

private:
    QString _status;
    std::atomic<qint64> _frames = 0;
};

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxerror.h"

#include <QString>

#include <functional>
#include <memory>

/// The way of a failed recording from the stream to the device: a record stream whose medium has failed
/// stays open and says so here, and the device ends the take by reporting the error as a failure of its
/// own hardware (readFromHardwareFailed).
///
/// Event loop only. A failure is reported once a stream, from the stream's own posted event, as the last
/// thing of that event: from inside a receiver every call on streams and devices is allowed.
class QmxRecordFailures
{
public:
    QmxRecordFailures();
    ~QmxRecordFailures();
    QmxRecordFailures(const QmxRecordFailures &) = delete;
    QmxRecordFailures &operator=(const QmxRecordFailures &) = delete;

    using Receiver = std::function<void(const QString &path, const QmxError &error)>;
    /// The receiver is called until the token is dropped.
    [[nodiscard]] std::shared_ptr<void> subscribe(Receiver receiver);

    /// Called by the record stream; the sentence of the error names medium, clip and reason.
    void report(const QString &path, const QmxError &error);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

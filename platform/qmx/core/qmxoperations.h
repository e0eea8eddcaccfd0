// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <chrono>
#include <functional>
#include <memory>

/// The asynchronous operations (open, close, set-up, flush) that are in progress now.
///
/// At the end of the program the event loop runs on until none is in progress; an operation that hangs
/// beyond all bounds is then named in the log, open clips are made durable and the program ends with
/// status 1. Whoever starts such an operation keeps the token until its completion has been emitted.
/// All members: any thread.
class QmxOperations
{
public:
    QmxOperations();
    ~QmxOperations();
    QmxOperations(const QmxOperations &) = delete;
    QmxOperations &operator=(const QmxOperations &) = delete;

    using Token = std::shared_ptr<void>;
    /// `what` names the operation for the operator: "closing /media/A/take_1.mov".
    Token begin(const QString &what);
    int inProgress() const;
    /// The operation that has been in progress longest, with its age; empty when none is.
    QString oldest(std::chrono::nanoseconds *age) const;
    /// Time of the last completion (QmxClock::now()).
    qint64 lastCompletion() const;

    /// A record stream registers how to make itself durable at once when the program is forced to end.
    Token addEmergencyFlush(std::function<void()> flush);
    void runEmergencyFlushes();

private:
    struct Private;
    std::shared_ptr<Private> d;
};

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxlog.h"

#include <memory>

/// Takes records to the file and the console. Its thread "qmx-log" is the only one that folds, formats and
/// writes; every other thread only puts a record into a bounded queue. Lives until the process ends.
class QmxLogWriter : public QmxLogTap
{
public:
    static constexpr int queueBound = 4096; ///< records; what does not fit is dropped and counted

    /// Starts the thread.
    QmxLogWriter();
    ~QmxLogWriter() override;

    void record(const QmxLogRecord &record) override;
    void openFile(const QString &path, qint64 maximumBytes);
    void openDisplay();
    /// As QmxLog::flush().
    void flush();
    qint64 dropped() const;

private:
    struct State;
    std::shared_ptr<State> _state;
};

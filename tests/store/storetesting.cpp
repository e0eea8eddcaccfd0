// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/store/storetesting.h"
#include "tests/support/testfiles.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <algorithm>

namespace {
constexpr int patience = 20000; // real milliseconds; other processes do not run on the test's clock
}

bool isToldRestored(Config &config)
{
    std::string value;
    const std::vector<AlarmRecord> history = config.alarmHistory(10);
    return config.getData(eParam_AlarmStoreRestored, value) && !value.empty() &&
           std::any_of(history.begin(), history.end(), [](const AlarmRecord &record) {
               return record.id == eParam_AlarmStoreRestored && record.raised;
           });
}

Worker::Worker(const QStringList &arguments)
{
    _process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    _process.start(QCoreApplication::applicationDirPath() + "/store_worker", arguments);
    EXPECT_TRUE(_process.waitForStarted());
}

Worker::~Worker()
{
    kill();
}

QStringList Worker::lines()
{
    _process.waitForReadyRead(0); // what lies in the pipe counts, too
    _output += _process.readAllStandardOutput();
    QStringList found = QString::fromUtf8(_output).split('\n');
    found.removeLast(); // not ended yet
    return found;
}

bool Worker::waitForLines(qsizetype count)
{
    return Stepper::waitFor(
        [&] {
            _process.waitForReadyRead(1);
            return lines().size() >= count;
        },
        patience);
}

bool Worker::waitForLine(const QString &last)
{
    const QByteArray end = last.toUtf8() + '\n';
    return Stepper::waitFor(
        [&] {
            _process.waitForReadyRead(1);
            _output += _process.readAllStandardOutput();
            return _output.endsWith(end);
        },
        3 * patience);
}

bool Worker::waitForEnd()
{
    return _process.waitForFinished(patience);
}

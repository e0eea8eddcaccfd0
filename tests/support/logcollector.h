// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxlog.h"

#include <gtest/gtest.h>

#include <QList>
#include <QString>
#include <QStringList>

/// The log of a test: keeps every record and fails the test at its end when it holds a line of level 1 or 2
/// that the test did not announce, or an announced one did not come. main.cpp makes one for each test.
namespace LogCollector {

/// Announces a line of level 1 or 2 of this source (empty: any) that contains `text`, any number of times
/// but at least once.
void expectLog(const QString &source, const QString &text);
/// The same for one that may or may not come.
void allowLog(const QString &source, const QString &text = QString());
/// All records so far, of all levels up to debug.
QList<QmxLogRecord> records();
/// Texts of the records of a source, oldest first.
QStringList texts(const QString &source = QString());
/// The same with level and line number: "2 138 text".
QStringList lines(const QString &source);
void clear();

/// For main.cpp: starts collecting.
testing::TestEventListener *createListener();

} // namespace LogCollector

using LogCollector::allowLog;
using LogCollector::expectLog;

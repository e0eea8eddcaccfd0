// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/recorder.h"
#include "platform/control/verbs.h"

#include <QByteArray>
#include <QJsonObject>

/// The recorder's counters, alarms and status in the text format of Prometheus. Waits for the store.
QByteArray figuresText(const Recorder &recorder);
/// A row of the table of verbs as JSON: name, help, arguments, and how each front has it.
QJsonObject verbObject(const VerbRow &row);

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/verbs.h"

#include <QJsonObject>

/// A row of the table of verbs as JSON: name, help, arguments, and how each front has it.
QJsonObject verbObject(const VerbRow &row);

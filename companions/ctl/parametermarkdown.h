// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// The reference of all parameters, as docs/parameters.md holds it. Made from the descriptors alone: no store
/// is needed, and it says the same on every machine.
QString parametersAsMarkdown();
/// The table of all alarms, as docs/alarms.md ends with it. Made from their list alone.
QString alarmsAsMarkdown();

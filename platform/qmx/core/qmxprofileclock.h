// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// The factor N of `clock=fast:N` in section [device] of the device's profile; 0 when the profile asks for
/// real time or there is none.
double qmxProfileSpeed(const QString &path);
/// The factor of the fast clock on which this program has run since it was loaded; 0: real time.
double qmxInstalledSpeed();

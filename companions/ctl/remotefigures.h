// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/ctl/doctor.h"
#include "companions/ctl/metrics.h"

/// What xpremote counts of each of its peers, while it runs.
void addRemoteMetrics(QList<Metric> &metrics);
/// Whether the ports of /etc/xp/remote.ini are open.
Finding remoteFinding(Recorder &recorder);

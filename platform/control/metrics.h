// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/recorder.h"

#include <QList>
#include <QString>

/// One figure for monitoring.
struct Metric
{
    QString name; ///< "xp_frames_recorded_total", in base units (seconds, bytes)
    QString help;
    bool isCounter = false; ///< only grows while the daemon runs
    QString label;          ///< name of its label; empty: none
    QString labelValue;
    double value = 0;
};

/// All figures of this moment, those of one name together: from shared memory, the store and the file
/// systems; the daemon is not asked.
QList<Metric> collectMetrics(const Recorder &recorder);
/// In the text format of Prometheus.
QByteArray metricsText(const QList<Metric> &metrics);

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/recorder.h"

#include <QString>

#include <span>

/// What one look at the installation has found.
struct Finding
{
    enum State {
        Good,
        Hint,  ///< works, but could be better
        Wrong, ///< takes are at risk, or nothing works
    };
    State state = Good;
    QString found;
    QString advice; ///< what to do; empty when there is nothing to do
};

/// One check: a row of the table in doctor.cpp.
struct DoctorCheck
{
    const char *name;
    Finding (*look)(Recorder &recorder);
    bool needsStore = false; ///< without what stands there it would only guess
};

std::span<const DoctorCheck> doctorChecks();
/// Whether `path` can be used as a medium: exists, is a file system of its own, can be written, has room.
Finding checkMedium(const QString &path);
/// What takes that begin before their command cost (doctorprerecord.cpp).
Finding checkPreRecord(Recorder &recorder);
/// Writes a file of its own on the medium and takes it away again.
Finding checkDiskSpeed(const QString &path);

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"

#include <QJsonObject>

#include <functional>
#include <string>

/// What came of checking clips.
struct VerifiedClips
{
    std::string text;   ///< for people
    QJsonObject report; ///< for scripts: counts, and a list of clips; bounded, damaged ones first
};

/// Checks one clip of a folder against the proof that it carries, or, without a name, all of them; one that
/// is being recorded up to its last flush. Clips of other programs are counted and left out; a single one is
/// refused (ENOTSUP). `pace` as with copyClip(). Blocks on the medium; any thread.
QmxError verifyClips(const std::string &folder, const std::string &clip, const QmxEnvironment &environment,
                     const std::function<bool(qint64 done, qint64 total)> &pace, VerifiedClips &result);

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"

#include <functional>
#include <string>

/// Copies a clip to a path on another medium and compares what lies there with what was read.
///
/// The copy appears under its name only when all of it is durable and has been read back and found equal;
/// until then it is a hidden file that goes when the copy fails. An existing file is never replaced, a clip
/// that is being recorded is refused (EWOULDBLOCK), and so is a copy that would leave less room than a take
/// needs to begin (ENOSPC). `pace` is called between pieces with the bytes done of all that is to be done
/// (reading back included): it may wait, and ends the copy by returning false (ECANCELED). `finding`, when
/// given, says in words what the proof in the copy has shown; a damaged clip is copied all the same. Empty:
/// it has none.
///
/// Blocks on both media; any thread.
QmxError copyClip(const std::string &from, const std::string &to, const QmxEnvironment &environment,
                  const std::function<bool(qint64 done, qint64 total)> &pace, std::string *finding = nullptr);

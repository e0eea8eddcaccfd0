// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"

#include <functional>
#include <string>

/// Makes the two copies of a take equally long: the one that ended early gets the frames that it lacks, and
/// nothing else of it is written; one that is not there at all is copied as a whole. Every frame that was
/// added is read back from the medium and compared. A clip of the same name that is not of the same take
/// stays as it is: `isLeft`, as when nothing can be read of either. `text` becomes the sentence that says
/// what was found or done. `pace` as in copyClip().
///
/// Blocks on both media; any thread.
QmxError completeCopy(const std::string &one, const std::string &other, const QmxEnvironment &environment,
                      const std::function<bool(qint64 done, qint64 total)> &pace, std::string &text,
                      bool *isLeft = nullptr);

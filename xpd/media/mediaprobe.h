// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"

#include <QString>

#include <memory>
#include <optional>
#include <vector>

/// Asks the file system how full a medium is without ever holding up the event loop for longer than 100 ms.
///
/// Threads: owned and called by the event loop. Each question runs on a helper thread ("media-probe"), of
/// which there is one for every medium that is being asked. A medium that does not answer in time counts as
/// not measurable, and is not asked again until its thread is back: a hanging disk costs one wait, the
/// others stay measurable. At most four threads exist; while all four hang, questions are refused and
/// counted. Threads that hang at destruction are left behind and end by themselves.
class MediaProbe
{
public:
    /// What is compared and computed of the answer of statfs.
    struct Answer
    {
        bool otherThanRoot = false; ///< the path lies on another file system than "/"
        quint64 freeBlocks = 0;     ///< free to the super-user, not only to us
        quint64 totalBlocks = 0;
    };

    explicit MediaProbe(const QmxEnvironment &environment = QmxEnvironment::current());
    ~MediaProbe();

    /// Blocks for at most 100 ms. Nothing when `path` or "/" cannot be examined, or not in time.
    std::optional<Answer> measure(const QString &path);

    /// Questions refused because the medium, or every helper thread, was still hanging.
    quint64 refused() const { return _refused; }

private:
    struct Question;
    struct Lane;
    Lane *laneFor(const QString &path);

    std::shared_ptr<QmxFiles> _files;
    std::vector<std::unique_ptr<Lane>> _lanes;
    quint64 _refused = 0;
};

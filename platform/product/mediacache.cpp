// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/mediacache.h"

#include "platform/product/clipscan.h"
#include "platform/product/mediumhelper.h"
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"

namespace {

std::string nameOf(const std::string &path)
{
    return path.substr(path.rfind('/') + 1);
}

} // namespace

bool kel::media::MediaCache::GrokClip(Clip &clip, std::string path, bool exact)
{
    const QmxEnvironment environment = QmxEnvironment::current();
    if (path.empty() || (!exact && environment.deck->givenClips.contains(path))) return false;
    if (const auto recording = environment.deck->recordTable.entry(QString::fromStdString(path))) {
        clip = Clip(nameOf(path), path, recording->frames, environment.clock->wallTime());
    } else {
        const auto found = MediumHelper::instance().answer<std::optional<Clip>>(
            folderOf(path), [environment, path] { return scanClip(path, environment); });
        if (!found || !*found) return false;
        // It is as long as it is: whoever recorded it here has ended, even if its close is still under way.
        clip = Clip((*found)->getName(), path, (*found)->frames(), (*found)->getRecordedAt());
    }
    environment.deck->givenClips.add(path);
    return true;
}

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/mediad/medium.h"
#include "companions/mediad/mounttable.h"
#include "platform/qmx/core/qmxenvironment.h"

#include <map>
#include <optional>
#include <string>
#include <utility>

/// What changes all the time in a take. Blocks on the medium; nothing when the place is no medium.
struct MediumRoom
{
    bool writable = false;
    qint64 bytesFree = 0;
    qint64 bytesTotal = 0;
    double percentFree = 0;

    void applyTo(Medium &medium) const;
};
std::optional<MediumRoom> measureRoom(QmxFiles &files, const Mount &mount);

/// Looks at one medium: room, clips, whether a take is running on it. It reads no clip but the head of the
/// newest one and waits for no lock, so it disturbs nobody who records.
///
/// Blocks on the medium; one thread at a time.
class MediumLook
{
public:
    explicit MediumLook(const QmxEnvironment &environment);

    /// Nothing when the place is no medium: it cannot be read, or lies on the file system of "/". Without
    /// `listClips` only the room is measured and the rest is that of the last listing; the first look lists.
    std::optional<Medium> look(const Mount &mount, bool listClips);

private:
    struct Known
    {
        qint64 size = -1;
        qint64 changed = 0; ///< nanoseconds since 1970
        bool beingRecorded = false;
        bool byAnother = false;
        bool hasFrames = false; ///< only of what another recorder records
    };
    void lookAtLock(const std::string &path, const struct stat64 &status, const Known &before,
                    Known &now) const;
    bool list(Medium &medium);
    double rateOf(const std::string &folder, const std::pair<std::string, qint64> &clip);

    QmxEnvironment _environment;
    std::map<std::string, Known> _known; ///< by file name
    std::optional<Medium> _last;
    std::pair<std::string, qint64> _newest; ///< name and time of the newest clip
    double _newestRate = 0;                 ///< its bytes a second
};

// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/thumbnails.h"

#include "platform/product/clipscan.h"
#include "platform/qmx/clip/qmxclipstill.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/core/qmxsafefolder.h"

#include <QFile>
#include <QFileInfo>

#include <filesystem>
#include <set>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {
// The panel has an account of its own in the group.
constexpr mode_t groupLooks = 0750;
constexpr mode_t groupReads = 0640;
constexpr const char *ending = ".jpg";

qint64 timeOf(const std::string &path, const QmxEnvironment &environment)
{
    struct stat64 status = {};
    if (environment.files->stat(QString::fromLocal8Bit(path), &status) != 0) return -1;
    return status.st_mtim.tv_sec;
}

qint64 timeIn(const QmxSafeFolder &folder, const QString &thumbnail)
{
    const struct stat is = folder.status(thumbnail);
    return S_ISREG(is.st_mode) && is.st_uid == geteuid() ? qint64(is.st_mtim.tv_sec) : -1;
}

QmxSafeFolder folderFor(const std::string &medium, const QmxEnvironment &environment)
{
    const QFileInfo all(environment.places->thumbnails);
    return QmxSafeFolder(all.path())
        .make(all.fileName(), groupLooks)
        .make(QFileInfo(QString::fromLocal8Bit(medium)).fileName(), groupLooks);
}

/// Pictures of this account's own only: whatever else has been put there is not ours to remove.
void removeOthers(const QmxSafeFolder &folder, const std::set<std::string> &wanted)
{
    std::error_code failed;
    std::set<std::string> gone;
    fs::directory_iterator old("/proc/self/fd/" + std::to_string(folder.fd()), failed);
    for (const fs::directory_iterator end; !failed && old != end; old.increment(failed)) {
        const std::string name = old->path().filename().string();
        if (name.ends_with(ending) && !wanted.contains(name)) gone.insert(name);
    }
    for (const std::string &name : gone)
        if (timeIn(folder, QFile::decodeName(name.c_str())) >= 0)
            folder.remove(QFile::decodeName(name.c_str()));
}

} // namespace

int keepThumbnails(const std::string &medium, const QmxEnvironment &environment,
                   const std::function<bool()> &goesOn)
{
    const QmxSafeFolder folder = folderFor(medium, environment);
    if (!folder.isOpen()) return -1;
    std::error_code failed;
    std::set<std::string> wanted;
    std::set<std::string> clips;
    fs::directory_iterator entry(medium, failed);
    for (const fs::directory_iterator end; !failed && entry != end; entry.increment(failed))
        if (isClipName(entry->path().filename().string())) clips.insert(entry->path().filename().string());
    if (failed) return 0; // gone: its pictures are wanted again when it comes back
    int made = 0;
    for (const std::string &name : clips) {
        const std::string clip = medium + "/" + name;
        const QString thumbnail = QFile::decodeName((name + ending).c_str());
        const qint64 time = timeOf(clip, environment);
        wanted.insert(name + ending);
        if (time < 0 || timeIn(folder, thumbnail) == time) continue;
        if (!goesOn()) return made;
        // One that cannot be decoded gets an empty file, so that it is not tried again and again.
        const QByteArray picture =
            QmxClipStill::make(QString::fromLocal8Bit(clip), QmxClipStill::aTenth, environment);
        if (folder.replace(thumbnail, picture, {.mode = groupReads, .seconds = time})) ++made;
    }
    removeOthers(folder, wanted);
    return made;
}

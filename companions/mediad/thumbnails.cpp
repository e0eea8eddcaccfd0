// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/thumbnails.h"

#include "platform/product/clipscan.h"
#include "platform/qmx/clip/qmxclipstill.h"

#include <QFile>
#include <QSaveFile>

#include <filesystem>
#include <set>

#include <fcntl.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

qint64 timeOf(const std::string &path, const QmxEnvironment &environment)
{
    struct stat64 status = {};
    if (environment.files->stat(QString::fromLocal8Bit(path), &status) != 0) return -1;
    return status.st_mtim.tv_sec;
}

bool save(const std::string &path, const QByteArray &bytes, qint64 time)
{
    QSaveFile file(QString::fromLocal8Bit(path));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) return false;
    const struct timespec times[] = {{time, 0}, {time, 0}};
    return utimensat(AT_FDCWD, path.c_str(), times, 0) == 0;
}

} // namespace

int keepThumbnails(const std::string &medium, const std::string &folder, const QmxEnvironment &environment,
                   const std::function<bool()> &goesOn)
{
    std::error_code failed;
    fs::create_directories(folder, failed);
    std::set<std::string> wanted;
    std::set<std::string> clips;
    fs::directory_iterator entry(medium, failed);
    for (const fs::directory_iterator end; !failed && entry != end; entry.increment(failed))
        if (isClipName(entry->path().filename().string())) clips.insert(entry->path().filename().string());
    if (failed) return 0; // gone: its pictures are wanted again when it comes back
    int made = 0;
    for (const std::string &name : clips) {
        const std::string clip = medium + "/" + name;
        const std::string thumbnail = folder + "/" + name + ".jpg";
        const qint64 time = timeOf(clip, environment);
        wanted.insert(name + ".jpg");
        if (time < 0 || timeOf(thumbnail, environment) == time) continue;
        if (!goesOn()) return made;
        // One that cannot be decoded gets an empty file, so that it is not tried again and again.
        if (save(thumbnail,
                 QmxClipStill::make(QString::fromLocal8Bit(clip), QmxClipStill::aTenth, environment), time))
            ++made;
    }
    fs::directory_iterator old(folder, failed);
    for (const fs::directory_iterator end; !failed && old != end; old.increment(failed)) {
        std::error_code kept;
        if (!wanted.contains(old->path().filename().string())) fs::remove(old->path(), kept);
    }
    return made;
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/clipplaces.h"

#include "platform/product/mediumhelper.h"
#include "platform/qmx/clip/qmxclipreader.h"

namespace {

QString local(const std::string &path)
{
    return QString::fromLocal8Bit(path);
}

/// The frames of `other` when it is a copy of `one`; -1: it is not.
qint64 framesOfCopy(const std::string &one, const std::string &other, const QmxEnvironment &environment)
{
    struct stat64 ofOne = {};
    struct stat64 ofOther = {};
    if (environment.files->stat(local(other), &ofOther) != 0 ||
        environment.files->stat(local(one), &ofOne) != 0)
        return -1;
    // However its folder is written, a clip is no copy of itself.
    if (ofOne.st_dev == ofOther.st_dev && ofOne.st_ino == ofOther.st_ino) return -1;
    QmxClipInfo first;
    QmxClipInfo second;
    if (QmxClipReader::probe(local(one), first, environment).isError() ||
        QmxClipReader::probe(local(other), second, environment).isError())
        return -1;
    const bool same = !first.foreign && !second.foreign && first.created == second.created &&
                      first.startTimecode == second.startTimecode && first.image == second.image;
    return same ? second.frames : -1;
}

} // namespace

bool isSameClip(const std::string &one, const std::string &other, const QmxEnvironment &environment)
{
    return framesOfCopy(one, other, environment) >= 0;
}

std::map<std::string, int> secondPlaces(const std::string &folder, const std::string &other,
                                        const std::list<Clip> &clips, const QmxEnvironment &environment)
{
    std::map<std::string, int> found;
    if (other.empty() || other == folder) return found;
    for (const Clip &clip : clips) {
        const std::string &name = clip.getName();
        const qint64 frames = framesOfCopy(folder + "/" + name, other + "/" + name, environment);
        if (frames >= 0) found[name] = int(frames);
    }
    return found;
}

std::map<std::string, int> askSecondPlaces(const std::string &folder, const std::string &other,
                                           const std::list<Clip> &clips, const QmxEnvironment &environment)
{
    using Places = std::map<std::string, int>;
    constexpr std::chrono::milliseconds patience{2000};
    if (folder.empty() || other.empty() || folder == other) return {};
    return MediumHelper::instance()
        .answer<Places>(
            other,
            [folder, other, clips, environment] { return secondPlaces(folder, other, clips, environment); },
            patience)
        .value_or(Places());
}

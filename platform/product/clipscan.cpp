// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/clipscan.h"

#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

const char *const clipExtensions[] = {".mov",  ".mp4", ".m4v", ".mxf",  ".mkv",
                                      ".webm", ".avi", ".ts",  ".m2ts", ".images"};

} // namespace

ClipSource::~ClipSource() = default;

bool isClipName(const std::string &name)
{
    // Names with control characters could not be shown or typed, nor stand in a list of lines.
    if (name.empty() || name[0] == '.' ||
        std::any_of(name.begin(), name.end(), [](unsigned char c) { return std::iscntrl(c) != 0; }))
        return false;
    std::string extension = fs::path(name).extension().string();
    for (char &c : extension)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    for (const char *known : clipExtensions)
        if (extension == known) return true;
    return false;
}

std::optional<Clip> scanClip(const std::string &path, const QmxEnvironment &environment)
{
    QmxClipInfo info;
    struct stat64 status
    {};
    const QString name = QString::fromLocal8Bit(path);
    // Of folders only those of pictures have such a name.
    if (environment.files->stat(name, &status) != 0 || !(S_ISREG(status.st_mode) || S_ISDIR(status.st_mode)))
        return std::nullopt;
    const QmxError error = QmxClipReader::probe(name, info, environment);
    if (error.isError() && error.value() != ENODATA) return std::nullopt;
    const qint64 changed = status.st_mtim.tv_sec * QmxClock::nsPerSecond + status.st_mtim.tv_nsec;
    return Clip(path.substr(path.rfind('/') + 1), path, error.isError() ? 0 : static_cast<int>(info.frames),
                changed, info.closed || info.foreign);
}

MediumClipSource::MediumClipSource(const QmxEnvironment &environment) : _environment(environment) {}

std::optional<Clip> MediumClipSource::look(const std::string &path, Known &known) const
{
    struct stat64 status
    {};
    if (_environment.files->stat(QString::fromLocal8Bit(path), &status) != 0) return std::nullopt;
    const qint64 changed = status.st_mtim.tv_sec * QmxClock::nsPerSecond + status.st_mtim.tv_nsec;
    const bool isSame = known.size == status.st_size && known.changed == changed;
    // A clip that is not closed may grow without its size changing: its space is reserved ahead.
    if (!isSame || (known.clip ? !known.clip->isClosed() : S_ISREG(status.st_mode)))
        known = {status.st_size, changed, S_ISREG(status.st_mode) && status.st_size == 0,
                 scanClip(path, _environment)};
    return known.clip;
}

std::optional<std::vector<Clip>> MediumClipSource::clips(const std::string &folder)
{
    std::error_code failed, unknown;
    std::vector<Clip> found;
    std::map<std::string, Known> seen;
    bool complete = true;
    const QString here = _environment.places->here(QString::fromLocal8Bit(folder));
    fs::directory_iterator entry(here.toLocal8Bit().toStdString(), failed);
    if (failed) return std::nullopt;
    for (const fs::directory_iterator end; !failed && entry != end; entry.increment(failed)) {
        const std::string name = entry->path().filename().string();
        if (!isClipName(name) || entry->is_symlink(unknown)) continue; // a link leads away from the medium
        const std::string path = folder + "/" + name;
        Known &known = seen[path];
        if (const auto before = _known.find(path); before != _known.end()) known = before->second;
        const std::optional<Clip> clip = look(path, known);
        if (!clip) {
            // A take begins with an empty file. Its writer may be about to lock it: no look at that.
            complete = complete && !known.isEmpty;
            continue;
        }
        // What this process records is not for its own lists yet. What another one records is: it grows.
        if (clip->isClosed() || !_environment.deck->recordTable.entry(QString::fromLocal8Bit(path)))
            found.push_back(*clip);
        else
            complete = false;
    }
    if (failed) return std::nullopt;
    _complete = complete;
    _known = std::move(seen); // what has gone from the medium goes from memory
    return found;
}

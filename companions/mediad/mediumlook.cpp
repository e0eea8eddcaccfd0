// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/mediumlook.h"

#include "platform/product/clipscan.h"
#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/core/qmxlockfile.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/core/qmxsamefilesystem.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <unistd.h>

namespace fs = std::filesystem;

namespace {

QString localName(const std::string &path)
{
    return QString::fromLocal8Bit(path);
}

/// A lock on this file is held by a program of another recorder that works on the same medium: not by our
/// daemon, nor by ourselves. Those of other process namespaces are not told at all.
bool isLockOfAnother(ino64_t inode, const QmxPlaces &places)
{
    std::ifstream locks("/proc/locks");
    if (!locks) return false;
    const int daemon = QmxLockFile(places.recorderLock).holder();
    const std::string file = ':' + std::to_string(inode);
    // "1: FLOCK  ADVISORY  WRITE 1234 08:01:567 0 EOF"
    for (std::string line; std::getline(locks, line);) {
        std::istringstream words(line);
        std::string number, kind, how, mode, place;
        int pid = 0;
        if (!(words >> number >> kind >> how >> mode >> pid >> place) || kind != "FLOCK") continue;
        if (place.ends_with(file) && (pid == daemon || pid == ::getpid())) return false;
    }
    return true;
}

/// FNV-1a (draft-eastlake-fnv, 64 bits) over what tells one state of a clip from another.
class Fingerprint
{
public:
    void add(const void *data, std::size_t size)
    {
        for (std::size_t i = 0; i < size; ++i) {
            _value = (_value ^ static_cast<const unsigned char *>(data)[i]) * 0x100000001b3;
        }
    }
    std::uint64_t value() const { return _value; }

private:
    std::uint64_t _value = 0xcbf29ce484222325;
};

} // namespace

MediumLook::MediumLook(const QmxEnvironment &environment) : _environment(environment) {}

void MediumLook::lookAtLock(const std::string &path, const struct stat64 &status, const Known &before,
                            Known &now) const
{
    now.beingRecorded = QmxClipReader::isBeingRecorded(localName(path), _environment);
    now.byAnother = now.beingRecorded && isLockOfAnother(status.st_ino, *_environment.places);
    QmxClipInfo info;
    now.hasFrames = now.byAnother && (before.hasFrames ||
                                      !QmxClipReader::probe(localName(path), info, _environment).isError());
}

std::optional<MediumRoom> measureRoom(QmxFiles &files, const Mount &mount)
{
    const QString top = QStringLiteral("/");
    struct statfs64 root = {};
    struct statfs64 space = {};
    if (files.statfs(top, &root) != 0 || files.statfs(localName(mount.path), &space) != 0 ||
        space.f_blocks == 0 || qmxSameFileSystem(files, top, root, localName(mount.path), space)) {
        return std::nullopt;
    }
    return MediumRoom{mount.writable, qint64(space.f_bfree) * qint64(space.f_bsize),
                      qint64(space.f_blocks) * qint64(space.f_bsize),
                      std::round(double(space.f_bfree) / double(space.f_blocks) * 100.0)};
}

void MediumRoom::applyTo(Medium &medium) const
{
    medium.writable = writable;
    medium.bytesFree = bytesFree;
    medium.bytesTotal = bytesTotal;
    medium.percentFree = percentFree;
}

std::optional<Medium> MediumLook::look(const Mount &mount, bool listClips)
{
    const auto room = measureRoom(*_environment.files, mount);
    if (!room) return std::nullopt;
    const bool lists = listClips || !_last;
    if (lists) {
        _last = Medium{};
        _last->path = mount.path;
        _last->label = mediumLabel(mount);
        _last->mount = mount.mount;
    }
    room->applyTo(*_last);
    if (lists && !list(*_last)) {
        _last.reset();
    }
    return _last;
}

/// Bytes a second of a clip; what it is for the newest one is remembered.
double MediumLook::rateOf(const std::string &folder, const std::pair<std::string, qint64> &clip)
{
    if (clip == _newest || clip.first.empty()) {
        return clip.first.empty() ? 0 : _newestRate;
    }
    _newest = clip;
    _newestRate = 0;
    QmxClipInfo info;
    const QmxError error = QmxClipReader::probe(localName(folder + "/" + clip.first), info, _environment);
    if (!error.isError() && info.frames > 0 && info.image.frameRate().isValid()) {
        _newestRate =
            double(_known[clip.first].size) / double(info.frames) * info.image.frameRate().toDouble();
    }
    return _newestRate;
}

/// Fills in what is known of the clips; false when the medium cannot be read.
bool MediumLook::list(Medium &medium)
{
    std::error_code failed, unknown;
    std::map<std::string, Known> seen;
    fs::directory_iterator entry(medium.path, failed);
    for (const fs::directory_iterator end; !failed && entry != end; entry.increment(failed)) {
        const std::string name = entry->path().filename().string();
        struct stat64 status = {};
        // An empty file may belong to a writer that has not got its lock yet: asking could take it away.
        // (A link is none: it would lead away from the medium.)
        if (!isClipName(name) || entry->is_symlink(unknown) ||
            _environment.files->stat(localName(entry->path().string()), &status) != 0 ||
            !(S_ISREG(status.st_mode) || S_ISDIR(status.st_mode)) || status.st_size == 0) {
            continue;
        }
        Known now{status.st_size, status.st_mtim.tv_sec * QmxClock::nsPerSecond + status.st_mtim.tv_nsec,
                  false, false, false};
        const Known &before = _known[name];
        if (S_ISREG(status.st_mode) &&
            (now.size != before.size || now.changed != before.changed || before.beingRecorded)) {
            lookAtLock(entry->path().string(), status, before, now);
        }
        seen.emplace(name, now);
    }
    if (failed) {
        return false;
    }
    Fingerprint fingerprint;
    std::pair<std::string, qint64> newest;
    for (const auto &[name, clip] : seen) {
        if (clip.byAnother) {
            // It changes all the time: that it is there is all that the lists have to know.
            if (clip.hasFrames) {
                medium.growing.push_back(name);
                fingerprint.add(name.c_str(), name.size() + 1);
            }
            continue;
        }
        medium.beingRecorded = medium.beingRecorded || clip.beingRecorded;
        if (clip.beingRecorded) {
            medium.recordedBytes = clip.size;
            medium.recorded.push_back(name);
            continue;
        }
        if (clip.changed > newest.second) {
            newest = {name, clip.changed};
        }
        medium.names.push_back(name);
        fingerprint.add(name.c_str(), name.size() + 1);
        fingerprint.add(&clip.size, sizeof clip.size);
        fingerprint.add(&clip.changed, sizeof clip.changed);
    }
    medium.clips = fingerprint.value();
    _known = std::move(seen);
    medium.newestRate = rateOf(medium.path, newest);
    return true;
}

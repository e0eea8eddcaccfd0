// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/cliprepair.h"

#include "companions/mediad/openfile.h"
#include "platform/product/clipscan.h"
#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/core/qmxcounted.h"
#include "platform/qmx/core/qmxloglevel.h"

#include <cerrno>
#include <filesystem>

#include <sys/file.h>

namespace fs = std::filesystem;

namespace {

constexpr const char *module = "cliprepair";

QString repairClip(const QString &path, const QmxEnvironment &environment, bool &unfinished)
{
    QmxClipInfo info;
    const QmxError state = QmxClipReader::probe(path, info, environment);
    if (state.value() == ENODATA)
        return QStringLiteral("%1 was left behind without a frame; it can be deleted").arg(path);
    if (state.isError() || info.closed || info.foreign) return {};
    bool repaired = false;
    QmxError error;
    const bool isFree = tryForAMoment(*environment.clock, [&] {
        error = QmxClipReader::repair(path, repaired, environment);
        return error.value() != EWOULDBLOCK;
    });
    // It is being recorded; of a medium that only others may write to that is not told by the attempt.
    if (!isFree || (error.isError() && QmxClipReader::isBeingRecorded(path, environment))) return {};
    unfinished = unfinished || error.isError();
    if (error.isError())
        return QStringLiteral("%1 was left unfinished and could not be repaired: %2")
            .arg(path, error.toString());
    if (!repaired || QmxClipReader::probe(path, info, environment).isError()) return {};
    return QStringLiteral("%1 was left unfinished and has been repaired: it has %2")
        .arg(path, qmxCounted(info.frames, "frame"));
}

/// A copy that a crash has ended; one that goes on is locked.
void removeLeftCopy(const std::string &path, const QmxEnvironment &environment)
{
    const OpenFile part(*environment.files, path, O_RDONLY);
    if (part.isOpen() && environment.files->flock(part.fd(), LOCK_EX | LOCK_NB) == 0)
        environment.files->unlink(QString::fromLocal8Bit(path));
}

} // namespace

std::vector<std::string> repairClips(const std::string &folder, const QmxEnvironment &environment,
                                     bool *unfinished)
{
    bool isUnfinished = false;
    std::vector<std::string> report;
    std::error_code failed;
    fs::directory_iterator entry(folder, failed);
    for (const fs::directory_iterator end; !failed && entry != end; entry.increment(failed)) {
        const std::string name = entry->path().filename().string();
        if (name.starts_with('.') && name.ends_with(".part") && isClipName(name.substr(1, name.size() - 6)))
            removeLeftCopy(entry->path().string(), environment);
        if (!isClipName(name)) continue;
        const QString text =
            repairClip(QString::fromLocal8Bit(entry->path().string()), environment, isUnfinished);
        if (text.isEmpty()) continue;
        qmxLogText(QmxLogLevel::Warning, module, __LINE__, text);
        report.push_back(text.toStdString());
    }
    if (failed) {
        qmxLogOutput(QmxLogLevel::Error, module, __LINE__,
                     "Cannot look for unfinished clips in %s: %s; check the medium\n", folder.c_str(),
                     failed.message().c_str());
    }
    if (unfinished) *unfinished = isUnfinished;
    return report;
}

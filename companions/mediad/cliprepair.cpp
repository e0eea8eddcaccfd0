// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/cliprepair.h"

#include "platform/product/clipscan.h"
#include "platform/qmx/core/qmxlog.h"
#include "platform/qmx/stream/qmxclipreader.h"

#include <cerrno>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

constexpr const char *module = "cliprepair";

void repairClip(const QString &path, const QmxEnvironment &environment)
{
    QmxClipInfo info;
    const QmxError state = QmxClipReader::probe(path, info, environment);
    if (state.value() == ENODATA) {
        qmxLogOutput(2, module, __LINE__, "%s was left behind without a frame; it can be deleted\n",
                     path.toLocal8Bit().constData());
        return;
    }
    if (state.isError() || info.closed || info.foreign) {
        return;
    }
    bool repaired = false;
    const QmxError error = QmxClipReader::repair(path, repaired, environment);
    if (error.value() == EWOULDBLOCK) {
        return; // it is being recorded
    }
    if (error.isError()) {
        qmxLogOutput(1, module, __LINE__, "%s was left unfinished and could not be repaired: %s\n",
                     path.toLocal8Bit().constData(), error.toString().toLocal8Bit().constData());
    } else if (repaired && !QmxClipReader::probe(path, info, environment).isError()) {
        qmxLogOutput(2, module, __LINE__,
                     "%s was left unfinished and has been repaired: it has %lld frames\n",
                     path.toLocal8Bit().constData(), static_cast<long long>(info.frames));
    }
}

} // namespace

void repairClips(const std::string &folder, const QmxEnvironment &environment)
{
    std::error_code failed;
    fs::directory_iterator entry(folder, failed);
    for (const fs::directory_iterator end; !failed && entry != end; entry.increment(failed)) {
        if (isClipName(entry->path().filename().string())) {
            repairClip(QString::fromLocal8Bit(entry->path().string()), environment);
        }
    }
    if (failed) {
        qmxLogOutput(1, module, __LINE__, "Cannot look for unfinished clips in %s: %s; check the medium\n",
                     folder.c_str(), failed.message().c_str());
    }
}

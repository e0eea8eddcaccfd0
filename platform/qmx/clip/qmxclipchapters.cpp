// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/qmxclipchapters.h"

#include "platform/qmx/clip/atomcursor.h"
#include "platform/qmx/clip/movclaims.h"
#include "platform/qmx/clip/qmxclipindex.h"
#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/clip/qmxforeignfile.h"

#include <cerrno>

namespace {
constexpr unsigned mostChapters = 10000;

/// Whether a file has to be looked at with the general demultiplexer: not one of ours without such a track,
/// which nearly all are, nor one that grows.
QmxError mayHaveSome(const QString &clip, const QmxEnvironment &environment, bool &may)
{
    may = false;
    MovInput input(environment);
    QmxClipIndex index;
    if (QmxError error = input.open(clip); error.isError()) return error;
    const QmxError error = index.load(input, false);
    if (!error.isError() && index.isOwn())
        may = index.info.closed && index.movie().firstTrack(atomType("text")) != nullptr;
    else if (!error.isError() || error.value() == ENOTSUP)
        may = !movCheckClaims(input).isError();
    else
        return error;
    return {};
}

QString nameOf(const AVChapter &chapter)
{
    const AVDictionaryEntry *title = av_dict_get(chapter.metadata, "title", nullptr, 0);
    return title ? QString::fromUtf8(title->value).trimmed() : QString();
}
} // namespace

QmxError QmxClipChapters::read(const QString &clip, QList<QmxClipChapter> &chapters,
                               const QmxEnvironment &environment)
{
    chapters.clear();
    struct stat64 data = {};
    if (environment.files->stat(clip, &data) == 0 && S_ISDIR(data.st_mode)) return {};
    bool may = false;
    QmxClipInfo info;
    QmxError error = mayHaveSome(clip, environment, may);
    if (error.isError() || !may) return error;
    error = QmxClipReader::probe(clip, info, environment);
    QmxForeignFile file(environment);
    if (!error.isError()) error = file.openTables(clip);
    if (error.isError()) return error;
    const AVFormatContext &format = *file.format();
    for (unsigned i = 0; i < std::min(format.nb_chapters, mostChapters); ++i) {
        const AVChapter &chapter = *format.chapters[i];
        const double frame =
            double(chapter.start) * av_q2d(chapter.time_base) * info.image.frameRate().toDouble();
        const QString name = nameOf(chapter);
        if (name.isEmpty() || !(frame > -1) || frame >= double(info.frames)) continue;
        chapters.append({std::max<qint64>(0, qRound64(frame)), name});
    }
    return {};
}

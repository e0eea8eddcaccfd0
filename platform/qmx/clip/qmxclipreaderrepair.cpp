// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movclose.h"
#include "platform/qmx/clip/movlayout.h"
#include "platform/qmx/clip/movrestore.h"
#include "platform/qmx/clip/qmxclipindex.h"
#include "platform/qmx/clip/qmxclipreader.h"

#include <algorithm>
#include <cerrno>

namespace {

/// What takes the place of fragments that are lost before `after`: the picture before them is repeated and as
/// much of the sound as is missing, so that numbers, timecodes and the distance of sound and picture stay. At
/// the begin of a clip it is the first picture and sound that are left.
void bridge(MovTables &tables, const MovFragment *before, const MovFragment &after)
{
    const MovFragment &near = before ? *before : after;
    MovFragment gap;
    gap.firstFrame = tables.frames();
    gap.frames.assign(size_t(after.firstFrame - gap.firstFrame),
                      before ? near.frames.back() : near.frames.front());
    gap.audioOffset = near.audioOffset;
    qint64 missing = after.firstSample - tables.samples();
    // Of a clip whose sound is nearly empty a number in it could ask for more pieces than there are frames.
    const bool sane = near.samples() > 0 && missing / near.samples() <= 2 * qint64(gap.frames.size()) + 1;
    for (bool first = true; first || (sane && missing > 0); first = false) {
        const qint64 samples = sane ? std::clamp<qint64>(missing, 0, near.samples()) : 0;
        gap.audioBlocks.assign(samples > 0 ? 1 : 0, quint32(samples));
        tables.append(gap);
        gap.frames.clear();
        missing -= samples;
    }
}

} // namespace

QmxError QmxClipReader::repair(const QString &path, bool &repaired, const QmxEnvironment &environment)
{
    repaired = false;
    MovInput input(environment);
    QmxClipIndex index;
    index.setKeepFragments(true);
    QmxError error = input.open(path);
    if (!error.isError()) error = index.load(input, true);
    // Nothing to do for other people's files.
    if (error.value() == ENOTSUP) return {};
    if (error.isError() || !index.isOwn() || index.info.closed) return error;

    MovOutput output(environment);
    error = output.openExisting(path);
    // Only with the lock is it certain that nobody adds to the clip any more.
    if (!error.isError()) error = input.refreshSize();
    if (!error.isError()) error = index.load(input, true);
    if (error.isError() || index.info.closed) return error;

    MovFormat format;
    error = movFormatOf(input, index, format);
    if (error.isError()) return error;
    QByteArray header(MovLayout::headerSize, '\0');
    error = input.read(header.data(), header.size(), 0);
    if (error.isError()) return error;
    MovTables tables;
    MovProof proof;
    proof.begin(header);
    const MovFragment *before = nullptr;
    for (const MovFragment &found : index.fragments()) {
        MovFragment fragment = found;
        if (fragment.firstFrame > tables.frames()) bridge(tables, before, fragment);
        error = movReadJumps(input, fragment);
        if (error.isError()) return error;
        tables.append(fragment);
        proof.append(fragment, format);
        before = &found;
    }
    const QJsonObject take = proof.take().ended(MovTake::read(header), QStringLiteral("repair"), environment);
    error = movClose(output, tables, format, header, index.openSlot(), proof, take);
    repaired = !error.isError();
    return error;
}

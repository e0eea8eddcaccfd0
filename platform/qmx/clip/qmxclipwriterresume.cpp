// SPDX-License-Identifier: GPL-3.0-or-later
// A writer that goes on with a clip that another one has left.
#include "platform/qmx/clip/qmxclipwriterprivate.h"

#include "platform/qmx/clip/atomcursor.h"
#include "platform/qmx/clip/atomwriter.h"
#include "platform/qmx/clip/movrestore.h"

#include <cerrno>
#include <span>

/// Makes a closed clip one that grows: what it got at its close goes again. Until the open slot stands there,
/// the file is one whose end is missing.
QmxError QmxClipWriter::Private::reopen(MovInput &input)
{
    QByteArray block(MovLayout::block, '\0');
    QmxError error = input.read(block.data(), block.size(), 0);
    if (error.isError()) return error;
    AtomCursor place(std::span(reinterpret_cast<const uchar *>(block.constData()), size_t(block.size()))
                         .subspan(size_t(MovLayout::flipPosition)));
    const bool isClosed = place.u32() == 1 && place.u32() == atomType("mdat");
    const qint64 end = MovLayout::flipPosition + qint64(place.u64());
    if (!isClosed || end % MovLayout::block != 0 || end < MovLayout::firstSlot || end > input.size())
        return input.damaged("its end is not where it says");
    AtomWriter head;
    head.begin("wide");
    head.zeros(MovLayout::flipSize - MovLayout::mdatHead);
    head.end();
    block.replace(MovLayout::flipPosition, MovLayout::flipSize, head.data());
    scratch.assign(block);
    error = output.write(scratch.data(), scratch.size(), 0);
    if (!error.isError()) error = output.sync();
    scratch.assign(MovFragment::openSlot());
    if (!error.isError()) error = output.write(scratch.data(), scratch.size(), end);
    if (!error.isError()) error = output.truncate(end + MovLayout::slotSize);
    if (!error.isError()) error = output.sync();
    return error.isError() ? error : input.refreshSize();
}

/// Takes over what the writer before knew.
QmxError QmxClipWriter::Private::restore(MovInput &input, const QmxClipIndex &index)
{
    if (!index.info.lostFrames.isEmpty()) return input.damaged("frames are missing in it");
    kept.resize(MovLayout::headerSize);
    QmxError error = input.read(kept.data(), kept.size(), 0);
    if (!error.isError()) error = movFormatOf(input, index, format);
    if (error.isError()) return error;
    format.soundPhase = index.soundPhase;
    take = MovTake::read(kept);
    proof.begin(kept);
    for (const MovFragment &found : index.fragments()) {
        MovFragment old = found;
        error = movReadJumps(input, old);
        if (error.isError()) return error;
        tables.append(old);
        proof.append(old, format);
        chain.setLink(old.link.link);
        lateBefore = lateTicks() - old.link.lateTicks;
        waymarks.add(old.slot);
        earlier.add(old);
        fragment.sequence = old.sequence + 1;
    }
    written = durable = tables.frames();
    if (!index.info.timecodeRuns.isEmpty()) {
        const QmxClipInfo::TimecodeRun &run = index.info.timecodeRuns.last();
        lastJump = run.firstFrame;
        const qint64 next = run.start.toFrameNumber() + tables.frames() - run.firstFrame;
        nextTimecode =
            quint32(QmxTimecode(int(next), format.timecodeFps, run.start.isDropFrame()).toFrameNumber());
    }
    beginFragment(index.openSlot());
    return {};
}

QmxError QmxClipWriter::resume(const QString &path)
{
    if (d->open) return {EBUSY, QStringLiteral("The writer of clip %1 is in use").arg(d->path)};
    auto fresh = std::make_unique<Private>(d->environment);
    QmxError error = fresh->output.openExisting(path);
    if (error.isError()) return error;
    MovInput input(d->environment);
    QmxClipIndex index;
    index.setKeepFragments(true);
    error = input.open(path);
    if (!error.isError()) error = index.load(input, true);
    if (!error.isError() && !index.isOwn()) error = input.damaged("another program has made it");
    if (!error.isError() && index.info.closed) {
        error = fresh->reopen(input);
        if (!error.isError()) error = index.load(input, true);
    }
    if (!error.isError()) error = fresh->restore(input, index);
    if (error.isError()) return error;
    fresh->path = path;
    fresh->open = true;
    d = std::move(fresh);
    return {};
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movclose.h"

#include "platform/qmx/clip/movalignedbuffer.h"
#include "platform/qmx/clip/movlayout.h"

namespace {

QmxError writeMoov(MovOutput &output, const QByteArray &moov, qint64 slot)
{
    MovAlignedBuffer buffer;
    buffer.assign(moov);
    output.reserve(slot, slot + buffer.paddedSize());
    // The first block last: until then the open slot hides what stands behind it.
    if (buffer.paddedSize() > MovLayout::block) {
        QmxError error = output.write(buffer.data() + MovLayout::block,
                                      buffer.paddedSize() - MovLayout::block, slot + MovLayout::block);
        if (error.isError()) return error;
    }
    QmxError error = output.write(buffer.data(), MovLayout::block, slot);
    if (!error.isError()) error = output.truncate(slot + buffer.size());
    if (!error.isError()) error = output.sync();
    return error;
}

} // namespace

QmxError movClose(MovOutput &output, const MovTables &tables, const MovFormat &format, QByteArray header,
                  qint64 slot, const MovProof &proof, const QJsonObject &take,
                  const QList<QmxClipChapter> &chapters)
{
    const MovChapters track(chapters, tables.frames(), format);
    MovAlignedBuffer buffer;
    QmxError error;
    const qint64 text = slot + MovLayout::slotSize;
    if (!track.isEmpty()) {
        buffer.assign(track.text());
        output.reserve(text, text + buffer.paddedSize());
        error = output.write(buffer.data(), buffer.paddedSize(), text);
        if (error.isError()) return error;
        slot = text + buffer.paddedSize();
    }
    MovTables::flipHeader(header, slot);
    error = writeMoov(output, proof.sealed(header, tables.finalMoov(format, track, text), slot, take), slot);
    if (error.isError()) {
        // Half a moov is hidden again behind an open slot, if the medium still takes it.
        buffer.assign(MovFragment::openSlot());
        output.write(buffer.data(), buffer.size(), slot);
        return error;
    }
    buffer.assign(QByteArrayView(header).first(MovLayout::block));
    error = output.write(buffer.data(), buffer.size(), 0);
    if (!error.isError()) error = output.sync();
    return error;
}

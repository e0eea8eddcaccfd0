// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/qmxclipwriterprivate.h"

#include "platform/qmx/clip/movclose.h"
#include "platform/qmx/clip/movcrc.h"
#include "platform/qmx/clip/movpcm.h"
#include "platform/qmx/core/qmxids.h"

#include <algorithm>
#include <cerrno>

namespace {

bool sameFamily(QmxId a, QmxId b)
{
    return a == b || (QmxIds::isProRes422(a) && QmxIds::isProRes422(b));
}

/// Zeros beyond the content, which nobody reads. Memory that has them already is left alone: another writer
/// may be at the same picture.
void fillUp(QmxBuffer picture)
{
    uchar *const end = picture.data() + picture.size();
    uchar *const to =
        picture.data() + std::min<qint64>(MovLayout::roundUp(picture.size()), picture.capacity());
    if (std::any_of(end, to, [](uchar byte) { return byte != 0; })) std::memset(end, 0, size_t(to - end));
}

} // namespace

QmxError QmxClipWriter::Private::fail(const QmxError &error)
{
    failure = error;
    return error;
}

void QmxClipWriter::Private::beginFragment(qint64 slot)
{
    const quint32 sequence = fragment.sequence;
    fragment = MovFragment();
    fragment.sequence = sequence;
    fragment.slot = slot;
    fragment.firstFrame = tables.frames();
    fragment.firstSample = tables.samples();
    fragment.isLinked = true;
    position = slot + MovLayout::slotSize;
    sound.clear();
}

QmxError QmxClipWriter::Private::fits(const QmxFrame &frame, QmxBuffer &picture)
{
    const QmxImage image = frame.vids().isEmpty() ? QmxImage() : frame.vids().first();
    if (!image.isValid()) {
        picture = lastPicture;
        if (picture.isValid()) return {};
        return {EINVAL, QStringLiteral("The first frame of clip %1 has no picture").arg(path)};
    }
    picture = image.buffers().first();
    const QmxImageDesc &wanted = format.info.image;
    const QmxImageDesc desc = image.desc();
    if (desc.width() != wanted.width() || desc.height() != wanted.height() ||
        !sameFamily(desc.dataType(), wanted.dataType()))
        return {EINVAL, QStringLiteral("A picture of %1 does not fit clip %2 of %3")
                            .arg(desc.toString(), path, wanted.toString())};
    if (picture.size() <= 0 || picture.size() > MovLayout::maxFragmentBytes / 2)
        return {EINVAL,
                QStringLiteral("A picture of %1 bytes does not fit clip %2").arg(picture.size()).arg(path)};
    return {};
}

QmxError QmxClipWriter::Private::writePicture(QmxBuffer picture, const MovSharedProofPtr &shared)
{
    const qint64 size = picture.size();
    const qint64 padded = MovLayout::roundUp(size);
    const uchar *data = picture.constData();
    const bool aligned = reinterpret_cast<quintptr>(data) % MovLayout::block == 0;
    if (aligned && picture.capacity() >= padded) {
        fillUp(picture);
    } else {
        scratch.assign(QByteArrayView(data, size));
        data = scratch.data();
    }
    output.reserve(position, position + padded);
    QmxError error = output.write(data, padded, position);
    if (error.isError()) return error;
    const uchar *const bytes = picture.constData();
    const MovPictureProof proves =
        shared ? shared->of(bytes, size_t(size)) : MovPictureProof::of(bytes, size_t(size));
    fragment.frames.push_back({position, quint32(size), proves.crc});
    chain.addPicture(proves.digest);
    position += padded;
    return {};
}

void QmxClipWriter::Private::addSound(const QmxFrame &frame)
{
    if (!format.hasAudio()) return;
    const QmxAudio audio = frame.auds().isEmpty() ? QmxAudio() : frame.auds().first();
    const bool usable = audio.isValid() && audio.samples() > 0 && audio.desc().channels() == format.channels;
    const QmxVideoRate rate(int(format.timeScale), int(format.frameDuration));
    const int samples = usable ? audio.samples() : qmxAudioSamples(written, rate);
    const qint64 values = qint64(samples) * format.channels;
    uchar *to = sound.extend(values * MovFormat::bytesPerSample);
    if (usable)
        MovPcm::toFile(audio.data(), values, to);
    else
        std::memset(to, 0, size_t(values * MovFormat::bytesPerSample));
    fragment.audioBlocks.push_back(quint32(samples));
}

/// A take begins anywhere in the cadence of its sound. Known from the blocks of its first fragment.
void QmxClipWriter::Private::findSoundPhase()
{
    const QmxVideoRate rate(int(format.timeScale), int(format.frameDuration));
    for (int phase = 0; phase < MovFormat::soundPhases; ++phase) {
        bool fits = true;
        for (size_t i = 0; i < fragment.audioBlocks.size() && fits; ++i)
            fits = qmxAudioSamples(phase + qint64(i), rate) == int(fragment.audioBlocks[i]);
        if (!fits) continue;
        format.soundPhase = phase;
        return;
    }
}

/// With the first flush all is known that the header tells.
void QmxClipWriter::Private::beginTake()
{
    findSoundPhase();
    take = MovTake::begun(path, environment);
    if (!lateStart.isEmpty()) take["late_start"] = lateStart;
    proof.begin(header(0));
    chain.setLink(proof.first());
}

void QmxClipWriter::Private::addJump(quint32 timecode)
{
    fragment.jumps.push_back({written, timecode, 0});
    nextTimecode = timecode;
    lastJump = written;
}

void QmxClipWriter::Private::addTimecode(const QmxFrame &frame)
{
    auto timecode = frame.meta().value(QmxIds::timecode).value<QmxTimecode>();
    if (written == 0 && timecode.isValid()) {
        // The header written at the opening is not in force before the first flush.
        format.setStartTimecode(timecode);
        nextTimecode = format.startFrame;
    } else if (format.hasTimecode && timecode.isValid()) {
        timecode.setFPS(format.timecodeFps);
        timecode.setDropFrame(format.info.startTimecode.isDropFrame());
        const quint32 value = quint32(timecode.toFrameNumber());
        if (value != nextTimecode) addJump(value);
    }
    // A length in the tables has 32 bits: a run that would outgrow them goes on as another one.
    constexpr qint64 longestRun = qint64(1) << 31;
    if (format.hasTimecode && (written - lastJump) * format.frameDuration >= longestRun)
        addJump(nextTimecode);
    // At 24 hours the count begins anew; QmxTimecode knows where that is with drop-frame counting.
    nextTimecode = quint32(
        QmxTimecode(int(nextTimecode + 1), format.timecodeFps, format.info.startTimecode.isDropFrame())
            .toFrameNumber());
}

/// What follows the pictures of a fragment: its sound, then the timecodes that jump.
QmxError QmxClipWriter::Private::writeTail()
{
    fragment.audioOffset = position;
    fragment.audioCrc = movCrc32c(sound.data(), size_t(sound.size()));
    const qint64 soundSize = sound.size();
    for (auto &jump : fragment.jumps) {
        jump.offset = position + sound.size();
        QByteArray value;
        appendBig32(value, jump.value);
        sound.append(value);
    }
    fragment.link.jumpsCrc = movCrc32c(sound.data() + soundSize, size_t(sound.size() - soundSize));
    if (sound.size() > 0) {
        output.reserve(position, position + sound.paddedSize());
        QmxError error = output.write(sound.data(), sound.paddedSize(), position);
        if (error.isError()) return error;
    }
    position += sound.paddedSize();
    return {};
}

/// The chain goes on over the fragment, whose sound and timecodes are complete.
void QmxClipWriter::Private::prove()
{
    fragment.link.lateTicks = quint32(lateTicks() - lateBefore);
    fragment.link.link = chain.endFragment(QmxBlake3::hash(sound.data(), size_t(sound.size())));
}

/// What stands before the first slot.
QByteArray QmxClipWriter::Private::header(qint64 frames) const
{
    if (!kept.isEmpty()) return kept;
    QByteArray bytes = MovTables::openHeader(format, frames);
    MovTake::write(bytes, take);
    return bytes;
}

/// Puts a fragment in force, whose content is on the medium.
QmxError QmxClipWriter::Private::publish(MovFragment &content)
{
    scratch.assign(MovFragment::openSlot());
    QmxError error = output.write(scratch.data(), scratch.size(), content.end);
    if (error.isError()) return error;
    waymarks.add(content.slot);
    QByteArray head = header(tables.frames() + qint64(content.frames.size()));
    waymarks.write(head);
    if (tables.frames() == 0) {
        scratch.assign(head);
        error = output.write(scratch.data(), scratch.size(), 0);
        if (error.isError()) return error;
    }
    scratch.assign(content.toSlot(format, earlier));
    content.slotCrc = movCrc32c(scratch.data(), size_t(scratch.size()));
    error = output.write(scratch.data(), scratch.size(), content.slot);
    if (error.isError()) return error;
    if (tables.frames() > 0) {
        scratch.assign(QByteArrayView(head).first(MovLayout::block));
        error = output.write(scratch.data(), scratch.size(), 0);
        if (error.isError()) return error;
    }
    return output.sync();
}

QmxError QmxClipWriter::Private::flush()
{
    if (!open) return {};
    if (failure.isError()) return failure;
    if (fragment.frames.empty()) return {};
    if (tables.frames() == 0) beginTake();
    QmxError error = writeTail();
    prove();
    if (!error.isError()) error = output.sync();
    fragment.end = position;
    if (!error.isError()) error = publish(fragment);
    if (error.isError()) return fail(error);
    if (output.isDeleted())
        return fail(
            {ENOENT, QStringLiteral("Clip %1 was deleted by somebody during its take: nothing of it is "
                                    "left; record again")
                         .arg(path)});
    output.cache(fragment.slot, MovLayout::slotSize);
    tables.append(fragment);
    earlier.add(fragment);
    proof.append(fragment, format);
    durable = tables.frames();
    ++fragment.sequence;
    beginFragment(fragment.end);
    return {};
}

QmxClipWriter::QmxClipWriter(const QmxEnvironment &environment) : d(std::make_unique<Private>(environment)) {}

QmxClipWriter::~QmxClipWriter()
{
    close();
}

QmxError QmxClipWriter::create(const QString &path, const QmxClipInfo &info)
{
    if (d->open) return {EBUSY, QStringLiteral("The writer of clip %1 is in use").arg(d->path)};
    QmxError error = MovFormat::fromInfo(info, d->format);
    if (error.isError()) return error;
    d->format.created = d->created(info);
    error = d->output.create(path);
    if (error.isError()) return error;
    d->path = path;
    d->tables = MovTables();
    d->waymarks = MovWaymarks();
    d->earlier = MovEarlierSlots();
    d->take = QJsonObject();
    d->kept.clear();
    d->origin = QJsonArray();
    d->chapters.clear();
    d->failure = QmxError();
    d->written = d->durable = 0;
    d->nextTimecode = d->format.startFrame;
    d->lastJump = 0;
    d->chain.clearPictures();
    d->lastPicture = QmxBuffer();
    d->fragment = MovFragment();
    d->beginFragment(MovLayout::firstSlot);

    d->scratch.assign(MovTables::openHeader(d->format, 0));
    d->scratch.append(MovFragment::openSlot());
    error = d->output.write(d->scratch.data(), d->scratch.size(), 0);
    if (!error.isError()) error = d->output.sync();
    if (error.isError())
        d->output.discard();
    else
        d->open = true;
    return error;
}

QmxError QmxClipWriter::take(const QString &path, const QmxClipInfo &info)
{
    if (!d->open || d->written > 0) return {EBADF, QStringLiteral("No clip waits to become %1").arg(path)};
    QmxError error = MovFormat::fromInfo(info, d->format);
    if (!error.isError()) error = d->output.rename(path);
    if (error.isError()) return d->fail(error);
    // The header written at the opening is not in force before the first flush.
    d->format.created = d->created(info);
    d->nextTimecode = d->format.startFrame;
    d->path = path;
    return {};
}

QmxError QmxClipWriter::writeFrame(const QmxFrame &frame)
{
    if (!d->open) return {EBADF, QStringLiteral("No clip is open for writing")};
    if (d->failure.isError()) return d->failure;
    QmxBuffer picture;
    QmxError error = d->fits(frame, picture);
    if (error.isError()) return error;
    const qint64 used = d->position - d->fragment.slot;
    if (int(d->fragment.frames.size()) >= MovLayout::maxFragmentFrames ||
        used + MovLayout::roundUp(picture.size()) > MovLayout::maxFragmentBytes) {
        error = d->flush();
        if (error.isError()) return error;
    }
    if (d->written == 0) {
        d->lateBefore = d->lateTicks();
        d->lateStart = frame.meta().value(QmxIds::lateStart).toJsonObject();
    }
    // (A frame without picture repeats another one.)
    const bool isOwn = !frame.vids().isEmpty() && frame.vids().first().isValid();
    error =
        d->writePicture(picture, isOwn ? frame.meta().value(QmxIds::pictureProof).value<MovSharedProofPtr>()
                                       : MovSharedProofPtr());
    if (error.isError()) {
        // On a full medium the frames before this one may still be saved: room allocated ahead is left.
        d->flush();
        return d->fail(error);
    }
    if (!isOwn) ++d->fragment.replaced;
    d->addSound(frame);
    d->addTimecode(frame);
    d->lastPicture = picture;
    ++d->written;
    return {};
}

QmxFrame QmxClipWriter::share(const QmxFrame &frame)
{
    QmxFrame shared = frame;
    if (!frame.vids().isEmpty() && frame.vids().first().isValid())
        fillUp(frame.vids().first().buffers().first());
    if (!shared.meta().contains(QmxIds::pictureProof))
        shared.meta().insert(QmxIds::pictureProof, QVariant::fromValue(std::make_shared<MovSharedProof>()));
    return shared;
}

void QmxClipWriter::noteLost(int count)
{
    d->fragment.lost += quint32(std::max(count, 0));
    d->fragment.link.noteLost(quint32(d->fragment.frames.size()), quint32(std::max(count, 0)));
}

void QmxClipWriter::setOrigin(const QJsonArray &origin)
{
    d->origin = origin;
}

void QmxClipWriter::setChapters(const QList<QmxClipChapter> &chapters)
{
    d->chapters = chapters;
}

QmxError QmxClipWriter::flush()
{
    return d->flush();
}

QmxError QmxClipWriter::close()
{
    if (!d->open) return {};
    QmxError error = d->flush();
    d->open = false;
    d->lastPicture = QmxBuffer();
    if (d->tables.frames() == 0) {
        d->output.discard();
        return error;
    }
    QJsonObject take = d->proof.take().ended(
        d->take, d->origin.isEmpty() ? QStringLiteral("the take") : QStringLiteral("export"), d->environment);
    if (!d->origin.isEmpty()) take["exported_from"] = d->origin;
    // As the last flush has left it: what a cut tears while it is written anew differs in its first sector
    // only.
    QByteArray head = d->header(d->tables.frames());
    d->waymarks.write(head);
    const QmxError closing =
        movClose(d->output, d->tables, d->format, head, d->fragment.slot, d->proof, take, d->chapters);
    d->output.close();
    return error.isError() ? error : closing;
}

bool QmxClipWriter::isOpen() const
{
    return d->open;
}

bool QmxClipWriter::failed() const
{
    return d->failure.isError();
}

QString QmxClipWriter::path() const
{
    return d->path;
}

qint64 QmxClipWriter::framesWritten() const
{
    return d->written;
}

qint64 QmxClipWriter::framesDurable() const
{
    return d->durable;
}

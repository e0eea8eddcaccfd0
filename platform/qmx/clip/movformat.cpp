// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movformat.h"

#include "platform/qmx/codec/qmxvideocodec.h"
#include "platform/qmx/core/qmxids.h"

#include <cerrno>
#include <numeric>

namespace {

constexpr int maxSide = 16384;
constexpr int maxChannels = 64;
constexpr int maxReelBytes = 255;
constexpr quint32 resolution72 = 72 << 16;
// Channel layout tags of Core Audio.
constexpr quint32 layoutMono = 100 << 16 | 1;
constexpr quint32 layoutStereo = 101 << 16 | 2;
constexpr quint32 layoutDiscrete = 147 << 16;
// Flags of a version 2 sound description: signed integers, packed.
constexpr quint32 pcmSignedPacked = 0x4 | 0x8;
// Flags of a timecode description.
constexpr quint32 timecodeDrop = 0x1;
constexpr quint32 timecodeWraps24 = 0x2;

/// Cut at a character's border: UTF-8 continuation bytes do not begin one.
QByteArray utf8UpTo(const QString &text, qsizetype bytes)
{
    QByteArray whole = text.toUtf8();
    if (whole.size() <= bytes) return whole;
    while (bytes > 0 && (quint8(whole.at(bytes)) & 0xC0U) == 0x80U)
        --bytes;
    return whole.left(bytes);
}

bool isSd525(const QmxImageDesc &image)
{
    return image.width() == 720 && (image.height() == 486 || image.height() == 480);
}

bool isSd625(const QmxImageDesc &image)
{
    return image.width() == 720 && image.height() == 576;
}

struct PixelShape
{
    int horizontal = 1;
    int vertical = 1;
    int cleanWidth = 0;
    int cleanHeight = 0;
};

/// Standard-definition pictures show 704 pixels of their 720 as the 4:3 or 16:9 picture (ITU-R BT.601).
PixelShape pixelShape(const QmxImageDesc &image)
{
    const int aspectWidth = image.aspectWidth() > 0 ? image.aspectWidth() : image.width();
    const int aspectHeight = image.aspectHeight() > 0 ? image.aspectHeight() : image.height();
    const bool wide = qint64(aspectWidth) * 9 == qint64(aspectHeight) * 16;
    const bool narrow = qint64(aspectWidth) * 3 == qint64(aspectHeight) * 4;
    if (wide || narrow) {
        if (isSd525(image)) return {wide ? 40 : 10, wide ? 33 : 11, 704, 480};
        if (isSd625(image)) return {wide ? 16 : 12, 11, 704, 576};
    }
    const qint64 horizontal = qint64(aspectWidth) * image.height();
    const qint64 vertical = qint64(aspectHeight) * image.width();
    const qint64 divisor = std::gcd(horizontal, vertical);
    return {int(horizontal / divisor), int(vertical / divisor), image.width(), image.height()};
}

void beginEntry(AtomWriter &atoms, const char *fourcc)
{
    atoms.begin(fourcc);
    atoms.zeros(6);
    atoms.u16(1); // data reference
}

void writeScan(AtomWriter &atoms, const QmxImageDesc &image)
{
    atoms.begin("fiel");
    atoms.u8(image.isInterlaced() ? 2 : 1);
    // Interlaced lines stand in order; 9: the top field comes first, 14: the bottom field.
    atoms.u8(!image.isInterlaced() ? 0 : isSd525(image) ? 14 : 9);
    atoms.end();
}

void writeColour(AtomWriter &atoms, const QmxImageDesc &image)
{
    const quint16 primaries = isSd525(image) ? 6 : isSd625(image) ? 5 : 1;
    atoms.begin("colr");
    atoms.fourcc("nclc");
    atoms.u16(primaries);
    atoms.u16(1);                      // transfer of BT.709
    atoms.u16(primaries == 1 ? 1 : 6); // matrix
    atoms.end();
}

void writeShape(AtomWriter &atoms, const QmxImageDesc &image)
{
    const PixelShape shape = pixelShape(image);
    atoms.begin("pasp");
    atoms.u32(quint32(shape.horizontal));
    atoms.u32(quint32(shape.vertical));
    atoms.end();
    atoms.begin("clap");
    for (int value : {shape.cleanWidth, 1, shape.cleanHeight, 1, 0, 1, 0, 1})
        atoms.u32(quint32(value));
    atoms.end();
}

void writeChannels(AtomWriter &atoms, int channels)
{
    atoms.begin("chan", 0, 0);
    atoms.u32(channels == 1 ? layoutMono : channels == 2 ? layoutStereo : layoutDiscrete | quint32(channels));
    atoms.u32(0); // channel bitmap
    atoms.u32(0); // channel descriptions
    atoms.end();
}

/// The first half of every sound description.
void writeSoundHead(AtomWriter &atoms, quint16 version, int channels, int bits, quint16 compression,
                    quint32 rate)
{
    atoms.u16(version);
    atoms.u16(0);
    atoms.u32(0); // vendor
    atoms.u16(quint16(channels));
    atoms.u16(quint16(bits));
    atoms.u16(compression);
    atoms.u16(0);
    atoms.u32(rate);
}

} // namespace

QmxError MovFormat::fromInfo(const QmxClipInfo &info, MovFormat &format)
{
    const QmxImageDesc &image = info.image;
    const QmxCodecRow *codec = qmxCodec(image.dataType());
    if (!image.isValid() || image.width() > maxSide || image.height() > maxSide)
        return {EINVAL, QStringLiteral("A clip cannot have the picture format %1").arg(image.toString())};
    if (!codec)
        return {EINVAL, QStringLiteral("No clip can hold the data type %1").arg(image.dataType().name())};
    const QmxAudioDesc &audio = info.audio;
    const int rate = audio.sampleRateDen() > 0 ? audio.sampleRateNum() / audio.sampleRateDen() : 0;
    if (audio.isValid() &&
        (audio.channels() > maxChannels || rate != 48000 || audio.dataType() != QmxIds::pcm))
        return {EINVAL, QStringLiteral("A clip cannot have the sound format %1").arg(audio.toString())};

    format = MovFormat();
    format.info = info;
    format.fourcc = codec->fourcc;
    format.codecName = codec->name;
    const QmxVideoRate frameRate = info.effectiveRate.isValid() ? info.effectiveRate : image.frameRate();
    // A scale of at least 1000 keeps programs happy that round times to milliseconds.
    const int factor = frameRate.num() < 1000 ? 1000 : 1;
    format.timeScale = quint32(frameRate.num() * factor);
    format.frameDuration = quint32(frameRate.den() * factor);
    format.timecodeFps = frameRate.timecodeRate();
    format.channels = audio.channels();
    format.setStartTimecode(info.startTimecode);
    return {};
}

void MovFormat::setStartTimecode(const QmxTimecode &timecode)
{
    hasTimecode = timecode.isValid();
    if (!hasTimecode) return;
    info.startTimecode = timecode;
    info.startTimecode.setFPS(timecodeFps);
    // Readers refuse a track that leaves frame numbers out at any rate but a multiple of 30000/1001.
    if (qint64(timeScale) * 1001 % (qint64(frameDuration) * 30000) != 0)
        info.startTimecode.setDropFrame(false);
    startFrame = quint32(info.startTimecode.toFrameNumber());
}

void MovFormat::writeVideoEntry(AtomWriter &atoms) const
{
    const QmxImageDesc &image = info.image;
    beginEntry(atoms, fourcc.constData());
    atoms.u32(0); // version, revision
    atoms.fourcc("qmx ");
    atoms.u32(0x200); // temporal and spatial quality, without meaning here
    atoms.u32(0x3ff);
    atoms.u16(quint16(image.width()));
    atoms.u16(quint16(image.height()));
    atoms.u32(resolution72);
    atoms.u32(resolution72);
    atoms.u32(0); // data size
    atoms.u16(1); // frames a sample
    const QByteArray name = codecName.left(31);
    atoms.u8(quint8(name.size()));
    atoms.bytes(name);
    atoms.zeros(31 - int(name.size()));
    atoms.u16(24);     // depth
    atoms.u16(0xffff); // no colour table
    writeScan(atoms, image);
    writeColour(atoms, image);
    writeShape(atoms, image);
    atoms.end();
}

void MovFormat::writeAudioEntry(AtomWriter &atoms) const
{
    const bool simple = channels <= 2;
    beginEntry(atoms, simple ? "in24" : "lpcm");
    if (simple) {
        writeSoundHead(atoms, 1, channels, 16, 0xfffe, quint32(sampleRate) << 16);
        atoms.u32(1); // samples a packet
        atoms.u32(bytesPerSample);
        atoms.u32(quint32(audioFrameBytes()));
        atoms.u32(2); // bytes of an uncompressed sample, as for 16 bit
        atoms.begin("wave");
        atoms.begin("frma");
        atoms.fourcc("in24");
        atoms.end();
        atoms.begin("enda");
        atoms.u16(1); // little-endian
        atoms.end();
        atoms.u32(8); // terminator
        atoms.u32(0);
        atoms.end();
    } else {
        // The first half holds fixed values, for programs that do not know version 2.
        writeSoundHead(atoms, 2, 3, 16, 0xfffe, 0x10000);
        atoms.u32(72); // size of this structure
        atoms.f64(sampleRate);
        atoms.u32(quint32(channels));
        atoms.u32(0x7f000000);
        atoms.u32(bytesPerSample * 8);
        atoms.u32(pcmSignedPacked);
        atoms.u32(quint32(audioFrameBytes()));
        atoms.u32(1); // samples a packet
    }
    writeChannels(atoms, channels);
    atoms.end();
}

void MovFormat::writeTimecodeEntry(AtomWriter &atoms) const
{
    beginEntry(atoms, "tmcd");
    atoms.u32(0);
    atoms.u32(timecodeWraps24 | (info.startTimecode.isDropFrame() ? timecodeDrop : 0));
    atoms.u32(timeScale);
    atoms.u32(frameDuration);
    atoms.u8(quint8(timecodeFps));
    atoms.u8(0);
    const QByteArray reel = utf8UpTo(info.reelName, maxReelBytes);
    if (!reel.isEmpty()) {
        atoms.begin("name");
        atoms.u16(quint16(reel.size()));
        atoms.u16(0); // language
        atoms.bytes(reel);
        atoms.end();
    }
    atoms.end();
}

/// Text that is never shown in the picture.
void MovFormat::writeChapterEntry(AtomWriter &atoms)
{
    beginEntry(atoms, "text");
    atoms.u32(1);   // display flags: do not show
    atoms.u32(1);   // centred
    atoms.zeros(6); // background
    atoms.zeros(8); // box
    atoms.zeros(8); // reserved
    atoms.zeros(4); // font, face
    atoms.zeros(3); // reserved
    atoms.zeros(6); // foreground
    atoms.u8(0);    // font name
    atoms.end();
}

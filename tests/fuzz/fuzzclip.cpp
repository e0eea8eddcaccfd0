// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/clip/qmxclipwriter.h"
#include "tests/fuzz/fuzz.h"

#include <QFile>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

/// Any bytes, read as a clip: nothing may crash, hang or read past its memory. What can be opened can be
/// repaired, and after the repair it can still be opened.

namespace {

constexpr int maxFramesRead = 20;

[[noreturn]] void fail(const char *what, const QmxError &error)
{
    std::fprintf(stderr, "%s: %s\n", what, qPrintable(error.toString()));
    std::abort();
}

// The smallest picture, of content that nobody decodes, keeps the structure large beside the content.
QmxClipInfo seedInfo(int channels)
{
    QmxClipInfo info;
    info.image.setSize(16, 16);
    info.image.setAspectRatio(16, 16);
    info.image.setFrameRate(QmxVideoRate(25, 1));
    info.image.setDataType(QmxId(203));
    if (channels > 0) {
        info.audio.setDataType(QmxId(408));
        info.audio.setChannels(channels);
        info.audio.setSampleRate(48000, 1);
        info.audio.setFrameRate(info.image.frameRate());
    }
    info.startTimecode = QmxTimecode(90000, 25, false);
    return info;
}

void writeClips(const QString &folder, int channels, int frames)
{
    const QString path = folder + QStringLiteral("/closed%1.mov").arg(channels);
    const QmxClipInfo info = seedInfo(channels);
    QmxClipWriter writer;
    QmxError error = writer.create(path, info);
    for (int i = 0; i < frames && !error.isError(); ++i) {
        QmxFrame frame;
        QmxBuffer picture = QmxBuffer::allocate(200 + i);
        std::fill_n(picture.data(), picture.size(), uchar(i));
        frame.vids().append(QmxImage(info.image, {picture}));
        error = writer.writeFrame(frame);
        if (!error.isError() && i % 4 == 3) error = writer.flush();
    }
    if (!error.isError()) error = writer.flush();
    if (!error.isError()) QFile::copy(path, folder + QStringLiteral("/open%1.mov").arg(channels));
    if (!error.isError()) error = writer.close();
    if (error.isError()) fail("writing a seed", error);
}

} // namespace

void Fuzz::writeSeeds(const QString &folder)
{
    for (int channels : {0, 2})
        writeClips(folder, channels, 10);
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    static const QString path = Fuzz::scratchFile("input.mov");
    Fuzz::writeScratch(path, data, size);

    QmxClipInfo info;
    QmxClipReader::probe(path, info);
    QmxClipReader reader;
    if (reader.open(path).isError()) return 0;
    QmxFrame frame;
    for (qint64 n = 0; n < std::min<qint64>(reader.info().frames, maxFramesRead); ++n)
        reader.readFrame(n, frame);
    reader.readFrame(reader.info().frames - 1, frame);
    reader.refresh();
    reader.close();

    bool repaired = false;
    if (QmxClipReader::repair(path, repaired).isError() || !repaired) return 0;
    const QmxError error = reader.open(path);
    if (error.isError()) fail("after a repair", error);
    return 0;
}

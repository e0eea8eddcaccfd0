// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/scenarios/take.h"

#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/codec/qmxvideocodec.h"
#include "platform/qmx/edges/qmxstrip.h"
#include "tests/support/print.h"

#include <gtest/gtest.h>

#include <set>

Take Take::read(const QString &path)
{
    Take take;
    take.path = path;
    QmxClipReader reader;
    const QmxError error = reader.open(path);
    EXPECT_FALSE(error.isError()) << path.toStdString() << ": " << error.toString().toStdString();
    if (error.isError()) return take;
    take.info = reader.info();
    const QmxCodecRow *codec = qmxCodec(take.info.image.dataType());
    const auto decoder = codec->createDecoder(take.info.image);
    for (qint64 i = 0; i < take.info.frames; ++i) {
        QmxFrame frame;
        EXPECT_FALSE(reader.readFrame(i, frame).isError()) << path.toStdString() << ' ' << i;
        QmxPicture picture;
        if (!frame.vids().isEmpty() && !frame.vids().first().buffers().isEmpty()) {
            EXPECT_FALSE(decoder->decode(frame.vids().first().buffers().first(), picture).isError()) << i;
        }
        const auto strip = picture.isValid() ? QmxStrip::read(picture) : std::nullopt;
        take.strips.append(strip ? qint64(*strip) : -1);
        take.timecodes.append(frame.meta().value(QmxId(12)).value<QmxTimecode>());
        const QmxAudio sound = frame.auds().isEmpty() ? QmxAudio() : frame.auds().first();
        take.samples.append(sound.isValid() ? sound.samples() : 0);
        take.marks.append(sound.isValid()
                              ? QmxStrip::findMark(sound.data(), sound.samples(), sound.desc().channels())
                              : -1);
    }
    return take;
}

void Take::expectWhole() const
{
    SCOPED_TRACE(path.toStdString());
    EXPECT_TRUE(info.closed);
    ASSERT_GT(frames(), 0);
    // Where a frame has no whole number of samples, its sound may begin one
    // sample off.
    const int tolerance = std::set<int>(samples.begin(), samples.end()).size() > 1 ? 1 : 0;
    QList<int> expected, found;
    int start = 0;
    for (int i = 0; i < frames(); start += samples.at(i++)) {
        ASSERT_EQ(strips.at(i), strips.first() + i) << "frame " << i;
        if (strips.at(i) % QmxStrip::markInterval == 0 && i > 0) expected.append(start);
        if (marks.at(i) >= 0 && start + marks.at(i) > tolerance) found.append(start + marks.at(i));
    }
    ASSERT_EQ(found.size(), expected.size());
    for (qsizetype i = 0; i < found.size(); ++i)
        ASSERT_NEAR(found.at(i), expected.at(i), tolerance) << "sound mark " << i;
    expectOneSequenceOfTimecodes();
}

void Take::expectOneSequenceOfTimecodes() const
{
    for (int i = 1; i < frames(); ++i)
        ASSERT_EQ(timecodes.at(i), timecodes.first().advanced(i)) << path.toStdString() << " frame " << i;
}

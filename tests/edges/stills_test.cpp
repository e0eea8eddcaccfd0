// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/stills/stillclips.h"
#include "tests/support/print.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

TEST(Stills, areClipsThatOtherProgramsPlay)
{
    const QList<StillFile> clips = stillFiles();
    EXPECT_EQ(clips.size(), 22);
    const TestDir dir;
    for (const StillFile &clip : clips) {
        if (clip.desc.width() > 1920) continue; // nothing new but time
        SCOPED_TRACE(clip.file.toStdString());
        ASSERT_EQ(writeStillClip(dir.path(), clip), QmxError());
        ASSERT_EQ(writeStillClip(dir.path(), clip), QmxError()); // again, over the old one
        const ProgramResult probe = runProgram(
            QStringLiteral("ffprobe"),
            QStringLiteral("-v error -count_frames -select_streams v -show_entries "
                           "stream=codec_tag_string,width,height,nb_read_frames,field_order -of csv=p=0 %1")
                .arg(dir.file(clip.file))
                .split(QLatin1Char(' ')));
        EXPECT_EQ(probe.err, QByteArray());
        const bool top = clip.desc.height() != 486;
        EXPECT_EQ(probe.out.trimmed(), QStringLiteral("%1,%2,%3,%4,1")
                                           .arg(clip.desc.dataType().value() == 202 ? QStringLiteral("apcn")
                                                                                    : QStringLiteral("ap4h"))
                                           .arg(clip.desc.width())
                                           .arg(clip.desc.height())
                                           .arg(!clip.desc.isInterlaced() ? QStringLiteral("progressive")
                                                : top                     ? QStringLiteral("tb")
                                                                          : QStringLiteral("bt"))
                                           .toLatin1());
    }
}

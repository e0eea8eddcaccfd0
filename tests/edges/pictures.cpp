// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/edges/pictures.h"

#include "platform/qmx/edges/qmxsourceformat.h"

#include <gtest/gtest.h>

#include <QFile>

GeneratedFrames::GeneratedFrames(const QString &format, int pattern, const QmxEnvironment &environment,
                                 qint64 start)
    : _ticks(QmxSourceFormat::fromText(format).frameRate(), start)
{
    frame.desc = QmxSourceFormat::fromText(format);
    _generator = qmxCreateInternalGenerator(frame.desc, QmxId(pattern), QmxId(900), environment);
}

const QmxOutputFrame &GeneratedFrames::next()
{
    frame.tick = _ticks.next();
    const QmxSourceFrame made = _generator->take(frame.tick);
    frame.picture = made.picture;
    frame.audio = made.audio;
    return frame;
}

void makeClip(const QString &path, const QString &format, int frames, const QStringList &coding)
{
    const TestDir dir;
    const QmxImageDesc desc = QmxSourceFormat::fromText(format);
    ASSERT_TRUE(desc.isValid());
    QFile pictures(dir.file(QStringLiteral("pictures"))), sound(dir.file(QStringLiteral("sound")));
    ASSERT_TRUE(pictures.open(QIODevice::WriteOnly) && sound.open(QIODevice::WriteOnly));
    const auto generator =
        qmxCreateInternalGenerator(desc, QmxId(800), QmxId(900), QmxEnvironment::current());
    Ticks ticks(desc.frameRate());
    for (int i = 0; i < frames; ++i) {
        const QmxSourceFrame frame = generator->take(ticks.next());
        for (int plane = 0; plane < 3; ++plane)
            for (int y = 0; y < frame.picture.height(); ++y)
                pictures.write(reinterpret_cast<const char *>(frame.picture.row(plane, y)),
                               frame.picture.planeWidth(plane) * 2);
        for (int k = 0; k < frame.audio.samples(); ++k)
            sound.write(
                reinterpret_cast<const char *>(frame.audio.data() + k * QmxSourceFormat::audioChannels),
                8 * 4);
    }
    pictures.close();
    sound.close();
    const QString rate = QStringLiteral("%1/%2").arg(desc.frameRate().num()).arg(desc.frameRate().den());
    QStringList arguments = QStringLiteral("-v error -y -f rawvideo -pix_fmt yuv422p10le -s %1x%2 -r %3 -i")
                                .arg(desc.width())
                                .arg(desc.height())
                                .arg(rate)
                                .split(QLatin1Char(' '));
    arguments << pictures.fileName();
    arguments += QStringLiteral("-f s32le -ar 48000 -ac 8 -i").split(QLatin1Char(' '));
    arguments << sound.fileName() << coding << path;
    const ProgramResult result = runProgram(QStringLiteral("ffmpeg"), arguments, 120000);
    ASSERT_EQ(result.status, 0) << result.err.constData();
}

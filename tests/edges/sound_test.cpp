// SPDX-License-Identifier: GPL-3.0-or-later
// Sound devices: their pace on virtual time, their samples through ALSA's own files in place of a card.
#include "platform/qmx/core/qmxaudio.h"
#include "platform/qmx/edges/qmxsink.h"
#include "platform/qmx/edges/qmxsoundpacing.h"
#include "platform/qmx/edges/qmxsourceformat.h"
#include "platform/qmx/edges/qmxstrip.h"
#include "tests/edges/live.h"
#include "tests/support/logcollector.h"
#include "tests/support/stepper.h"

#include <gtest/gtest.h>

namespace {
constexpr int frameSamples = qmxAudioRate / 25;
}

TEST(SoundPacing, keepsItsDistanceToAnyCardAndTakesUpAStallAtOnce)
{
    for (const double card : {0.9995, 0.99999, 1.0, 1.0003}) { // its seconds in one of ours
        SCOPED_TRACE(card);
        const QmxVideoRate rate(30000, 1001);
        QmxSoundPacing pacing(240);
        double waiting = 0;
        int stretched = 0;
        for (qint64 tick = 0; tick < 30 * 3600; ++tick) {
            const int samples = qmxAudioSamples(tick, rate);
            const QmxSoundPacing::Step step = pacing.step(qint64(waiting), samples, rate);
            waiting += step.silence + samples - step.dropped + step.stretch;
            stretched = std::max(stretched, std::abs(step.stretch));
            if (tick == 50'000) waiting = 0; // nothing came for a while
            waiting -= double(samples) * card;
            if (tick == 60'000) waiting += 20'000; // too much came at once
            if (tick == 50'000) waiting = 0;
            const bool isSettled = tick < 50'000 || (tick > 50'010 && tick < 60'000) || tick > 60'100;
            ASSERT_TRUE(!isSettled || std::abs(waiting - pacing.distance(rate)) < samples / 2.0) << tick;
        }
        EXPECT_LE(stretched, 4); // of 1602: nobody hears that
        EXPECT_GE(pacing.jumps(), 2);
    }
}

TEST(SoundOutput, playsTheSoundOfEachPictureWithinHalfAFrame)
{
    const TestDir dir;
    const QString path = dir.file(QStringLiteral("heard.raw"));
    GeneratedFrames generated(QStringLiteral("720x576i25"));
    allowLog(QStringLiteral("qmxsoundsink"));
    allowLog(QStringLiteral("alsa"));
    {
        const auto sink =
            qmxCreateSink(QStringLiteral("alsa:tee:null,%1,raw").arg(path), QmxEnvironment::current());
        for (int i = 0; i < 60; ++i) {
            sink->show(generated.next());
            Stepper::run(QmxClock::nsPerMillisecond);
        }
        EXPECT_EQ(sink->problem(), QString());
        EXPECT_EQ(sink->dropped(), 0) << sink->statusText().toStdString();
    }
    const QByteArray heard = readAll(path);
    const auto *samples = reinterpret_cast<const qint32 *>(heard.constData());
    const int count = int(heard.size() / 8);
    EXPECT_NEAR(count, 60 * frameSamples, frameSamples);
    // Each tenth frame begins with a mark that is louder than the tone.
    int marks = 0;
    for (int i = 0, last = -frameSamples * 2; i < count; ++i) {
        if (std::abs(samples[2 * i]) < (1 << 30) || i - last < 2 * frameSamples) continue;
        EXPECT_NEAR(i, (marks * 10 + 0.5) * frameSamples, frameSamples / 2.0) << "mark " << marks;
        last = i;
        ++marks;
    }
    EXPECT_EQ(marks, 6);

    const auto missing = qmxCreateSink(QStringLiteral("alsa:hw:31"), QmxEnvironment::current());
    missing->show(generated.frame);
    EXPECT_TRUE(Stepper::waitFor([&] { return missing->problem().contains(QLatin1String("aplay -L")); }))
        << missing->problem().toStdString();
}

TEST(SoundInput, isPutBesideThePictureOfTheSameMoment)
{
    // The device's sample number n is n; the picture's strip counts frames.
    const TestDir dir;
    QByteArray ramp;
    for (qint32 i = 0; i < 16 * qmxAudioRate; ++i)
        for (int channel = 0; channel < QmxSourceFormat::audioChannels; ++channel) {
            const qint32 value = i * 256;
            ramp.append(reinterpret_cast<const char *>(&value), sizeof value);
        }
    writeAll(dir.file(QStringLiteral("ramp.raw")), ramp);
    writeAll(dir.file(QStringLiteral("alsa.conf")),
             QStringLiteral("</usr/share/alsa/alsa.conf>\npcm.ramp { type file slave.pcm { type null } "
                            "file \"/dev/null\" infile \"%1\" format raw }\n")
                 .arg(dir.file(QStringLiteral("ramp.raw")))
                 .toUtf8());
    qputenv("ALSA_CONFIG_PATH", dir.file(QStringLiteral("alsa.conf")).toUtf8());
    const QString clip = dir.file(QStringLiteral("a.ts"));
    makeClip(clip, QStringLiteral("720x576i25"), 400,
             QStringLiteral("-c:v mpeg2video -q:v 3 -flags +ildct -an").split(' '));
    const QString address = QStringLiteral("udp://127.0.0.1:%1").arg(freePort(SOCK_DGRAM));
    allowLog(QStringLiteral("qmxlivesource"));
    allowLog(QStringLiteral("alsa"));
    const Sender sender(clip, address);
    LiveInput input(address + QStringLiteral("?audio=alsa:ramp"));
    double least = 1e9, most = -1e9;
    int seen = 0;
    EXPECT_TRUE(input.until(
        [&](const QmxSourceFrame &frame) {
            const auto picture = QmxStrip::read(frame.picture);
            if (!picture || !frame.audio.isValid() || frame.audio.data()[0] < 256 || ++seen < 50)
                return false;
            const double apart = frame.audio.data()[0] / 256.0 / qmxAudioRate - *picture / 25.0;
            least = std::min(least, apart);
            most = std::max(most, apart);
            return seen == 175;
        },
        30))
        << input.status();
    EXPECT_LT(most - least, 0.04) << "sound and picture run apart";
    expectLog(QStringLiteral("sources"), QStringLiteral("write its sound"));
    EXPECT_TRUE(qmxCreateSource(QStringLiteral("v4l2:/dev/video0?audio=hw:1"), QmxEnvironment::current())
                    ->statusText()
                    .contains(QLatin1String("audio=alsa:DEVICE")));
}

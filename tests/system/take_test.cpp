// SPDX-License-Identifier: GPL-3.0-or-later
// Takes that begin at an exact frame or in the past, with real programs on a machine that has other things to
// do.
#include "platform/qmx/core/qmxtimecode.h"
#include "platform/qmx/core/qmxvideorate.h"
#include "tests/support/print.h"
#include "tests/system/sandbox.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

class StartUnderLoad : public testing::TestWithParam<const char *>
{};

} // namespace

TEST_P(StartUnderLoad, theFirstFrameIsTheOneAskedForWhetherTheCommandIsEarlyOrLate)
{
    const QByteArray rate = QByteArray(GetParam()).split('&').first();
    const int fps = int(std::lround(rate.toDouble()));
    const bool drop = rate.endsWith(".97") || rate.endsWith(".94");
    const QByteArray sign = drop ? ";" : ":";
    Sandbox sandbox;
    sandbox.setProfile(QByteArray("[inputs]\n601=generator:?rate=") + GetParam() + "&tc=10:00:00" + sign +
                       "00\n");
    const ProgramResult result = sandbox.run("sign='" + sign + R"sh('
        now() { xpctl --json status | sed -E 's/.*"input_timecode":"([^"]*)".*/\1/'; }
        after() { # so many seconds
            local h m s rest
            IFS=':;' read -r h m s rest < <(now)
            s=$(((10#$h * 60 + 10#$m) * 60 + 10#$s + $1))
            printf '%02d:%02d:%02d%s07' $((s / 3600)) $((s / 60 % 60)) $((s % 60)) "$sign"
        }
        take() { # NAME, seconds until its start, seconds until its command
            local at command
            at=$(after $2) command=$(after $3)
            say $1; echo $at
            xpctl set record_start "$at"
            await "[ \"\$(now)\" \> '$command' ]"
            xpctl --json record --for 4
            cp "/media/A/$(xpctl get current_clip)" $OUT/$1.mov
        }
        xpctl set timecode_source embedded
        xpctl set pre_record 6
        await '[[ $(now) == 10:* ]]'
        for core in $(seq $(nproc)); do while :; do :; done & done
        trap 'kill $(jobs -p)' EXIT
        take early 3 1
        take late 2 4
        say lost; xpctl metrics | grep '^xp_frames_dropped_capture_total'
    )sh");
    for (const QString &name : {QStringLiteral("early"), QStringLiteral("late")}) {
        const QByteArrayList lines = said(result.out, name.toLatin1()).trimmed().split('\n');
        QmxTimecode asked{QString::fromLatin1(lines.first())};
        // A machine that cannot keep what it should says by how much the take is late; none is so in silence.
        const int late = jsonField(lines.last(), "late_frames").toInt();
        EXPECT_TRUE(late == 0 || name == "late");
        asked.setFPS(fps);
        const auto strips = stripsOf(sandbox.out(name + ".mov"));
        ASSERT_FALSE(strips.isEmpty());
        EXPECT_EQ(brokenAt(strips), QString());
        EXPECT_GE(strips.size(), qRound(4 * rate.toDouble())) << "ended before all of it was handed out";
        EXPECT_EQ(strips.first().value_or(0),
                  quint32(late + asked.toFrameNumber() - QmxTimecode(10, 0, 0, 0, fps, drop).toFrameNumber()))
            << name.toStdString() << ' ' << asked.toString().toStdString();
    }
    EXPECT_TRUE(said(result.out, "lost").contains("_total 0")) << result.out.toStdString();
}

INSTANTIATE_TEST_SUITE_P(Rates, StartUnderLoad,
                         testing::Values("24&size=1920x1080", "25&size=720x576&scan=i",
                                         "29.97&size=720x486&scan=i", "50&size=1280x720",
                                         "59.94&size=1280x720"));

// SPDX-License-Identifier: GPL-3.0-or-later
// Two decks on one medium: one plays what the other one is recording.
#include "tests/support/print.h"
#include "tests/system/sandbox.h"

#include <gtest/gtest.h>

#include <thread>

namespace {
/// Strip and frame of each line that xp-preview-strip printed behind "== NAME".
QList<std::pair<qint64, qint64>> shownIn(const QByteArray &out, const QByteArray &name)
{
    QList<std::pair<qint64, qint64>> list;
    for (const QByteArray &line : said(out, name).split('\n')) {
        const QList<QByteArray> words = line.split(' ');
        if (words.size() == 4) list.append({words[2].toLongLong(), words[1].toLongLong()});
    }
    return list;
}
} // namespace

TEST(Replay, aSecondDeckPlaysWhatTheFirstOneRecords)
{
    const QTemporaryDir media;
    const QStringList options{"--media", media.path()};
    Sandbox recorder(options), player(options);
    ProgramResult taken;
    std::thread take([&] {
        taken = recorder.run(R"sh(
            xpctl record >&2
            await '[ -e /media/A/stop ]'
            xpctl stop >&2
            say took; xpctl --json status
        )sh");
    });
    const ProgramResult result = player.run(R"sh(
        trap 'touch /media/A/stop' EXIT
        await 'xpctl clips | grep -q grows'
        say list; xpctl --json clips
        xpctl live >&2
        say live; xp-preview-strip 75; xpctl --json status
        xpctl mark in >&2
        xpctl step 5 >&2
        xpctl mark out >&2
        say marks; xpctl --json marks
        xpctl replay 0.5 >&2
        await 'xpctl status | grep -q "^still"'
        say replayed; xpctl --json status
        xpctl live -1 >&2
        touch /media/A/stop
        await 'xpctl status | grep -q "^still"'
        say end; xpctl --json status; xpctl --json clips
        clip=$(xpctl get current_clip)
        xpctl export $clip angle --in 10 >&2
        xpctl cue 30 >&2; xpctl play 0.5 >&2
        (sleep 0.3; xpctl angle angle.mov >&2) & say angle; xp-preview-strip 40; wait $!; say other; xpctl --json status
    )sh");
    take.join();
    EXPECT_TRUE(said(result.out, "list").contains("\"grows\":true"));
    const auto live = shownIn(result.out, "live");
    ASSERT_EQ(live.size(), 75);
    // (A busy machine leaves pictures of the preview out.)
    for (qsizetype i = 1; i < live.size(); ++i) {
        EXPECT_GT(live[i].second, live[i - 1].second) << "held";
        EXPECT_EQ(live[i].first - live[i].second, live[0].first - live[0].second) << "another frame";
    }
    const QByteArray status = said(result.out, "live");
    EXPECT_LE(jsonField(status, "live_distance").toInt(), 25);
    EXPECT_EQ(jsonField(said(taken.out, "took"), "dropped_capture"), "0");

    const QByteArray end = said(result.out, "end");
    EXPECT_TRUE(end.contains("\"grows\":false") && !end.contains("\"grows\":true")) << end.toStdString();
    const QString clip = media.filePath("A/" + jsonField(said(result.out, "replayed"), "clip"));
    const auto strips = stripsOf(clip);
    EXPECT_EQ(brokenAt(strips), "") << "the take has all its frames";
    EXPECT_EQ(jsonField(end.split('\n').first(), "frame").toInt(), int(strips.size()) - 1);

    // In the other angle, which begins ten frames later, the same picture goes on, at the same speed.
    const auto angle = shownIn(result.out, "angle");
    ASSERT_EQ(angle.size(), 40);
    for (qsizetype i = 1; i < angle.size(); ++i) {
        EXPECT_GE(angle[i].first, angle[i - 1].first) << "a picture of elsewhere";
        EXPECT_LE(angle[i].first, angle[i - 1].first + 5) << "a picture of elsewhere";
    }
    EXPECT_EQ(angle.last().first - angle.last().second, angle[0].first - angle[0].second + 10);
    EXPECT_EQ(jsonField(said(result.out, "other"), "speed"), "0.5");
}

// SPDX-License-Identifier: GPL-3.0-or-later
// The 9-pin deck without line, clock and recorder: bytes and moments in, bytes and orders out.
#include "companions/remote/ninepin/ninepinparser.h"
#include "companions/remote/ninepin/ninepinsession.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {
constexpr qint64 ms = 1'000'000;

class Deck : public testing::Test
{
protected:
    Deck()
    {
        view.motion = DeckView::Motion::Stopped;
        view.hasMedium = view.mayRecord = true;
        view.index = 1000;
    }

    QByteArray ask(const QByteArray &hex) { return raw(QByteArray::fromHex(hex)); }
    QByteArray raw(const QByteArray &bytes)
    {
        std::vector<NinepinByte> in;
        for (const char c : bytes)
            in.push_back({std::uint8_t(c)});
        parser.feed(in, now);
        return std::exchange(replies, {}).toHex(' ').toUpper();
    }
    void moment(DeckView::Motion motion, double speed, const QString &timecode)
    {
        view.motion = motion;
        view.speed = speed;
        view.timecode = QmxTimecode(timecode);
        view.timecode.setFPS(view.fps);
    }

    DeckView view;
    qint64 now = 0;
    QList<DeckOrder> orders;
    QByteArray replies;
    NinepinOptions options{.mayRecord = true};
    NinepinSession session{options, [this](const DeckOrder &order) { orders.append(order); }};
    NinepinParser parser{NinepinParser::network,
                         [this](const NinepinBlock &block) { replies += session.answer(block, view, now); },
                         [this](NinepinFault fault) { replies += NinepinReplies::nak(fault); }};
};

TEST_F(Deck, answersTheVectors)
{
    EXPECT_EQ(ask("00 11 11"), "12 11 21 25 69");
    EXPECT_EQ(ask("21 11 40 72"), "10 01 11");
    EXPECT_EQ(orders.last().arguments["speed"].toDouble(), 1.0);
    EXPECT_EQ(ask("22 13 40 80 F5"), "10 01 11");
    EXPECT_NEAR(orders.last().arguments["speed"].toDouble(), 1.037, 0.0005);
    moment(DeckView::Motion::Playing, 1.0, "01:02:03:12");
    EXPECT_EQ(ask("20 01 21"), "10 01 11");
    EXPECT_EQ(ask("61 20 0A 8B"), "7A 20 00 81 80 00 00 00 00 00 00 00 9B");
    EXPECT_EQ(ask("61 0C 01 6E"), "74 04 12 03 02 01 90");
    EXPECT_EQ(ask("61 0C 03 70"), "74 04 12 03 02 01 90");
    EXPECT_EQ(ask("44 14 12 03 02 01 70"), "10 01 11");
    EXPECT_EQ(ask("60 10 70"), "74 10 12 03 02 01 9C");
    EXPECT_EQ(ask("44 31 00 05 00 00 7A"), "10 01 11");
    EXPECT_EQ(ask("40 20 60"), "10 01 11");
    EXPECT_EQ(ask("24 31 12 03 02 01 6D"), "10 01 11");
    EXPECT_EQ(orders.last().arguments["where"], "01:02:03:12");
    moment(DeckView::Motion::Still, 0.0, "01:02:03:12");
    EXPECT_EQ(ask("61 20 0A 8B"), "7A 20 00 80 03 00 00 00 00 00 00 00 1D");
    EXPECT_EQ(ask("60 7F DF"), "11 12 01 24") << "unknown";
    const auto before = orders.size();
    EXPECT_EQ(ask("20 01 22"), "11 12 04 27") << "wrong sum";
    EXPECT_EQ(orders.size(), before);
}

TEST_F(Deck, readsSpeedsAsTheFormulaHasThem)
{
    for (int n = 0; n < 256; ++n) {
        for (const auto &[command, fastest] :
             {std::pair{0x12, 3.0}, {0x22, 3.0}, {0x13, 50.0}, {0x23, 50.0}}) {
            raw(NinepinReplies::block(0x20, std::uint8_t(command), {std::uint8_t(n)}));
            const double wanted = n == 0 ? 0.0 : std::min(fastest, std::pow(10.0, n / 32.0 - 2.0));
            const double asked = orders.last().arguments["speed"].toDouble();
            ASSERT_NEAR(asked, command & 0x20 ? -wanted : wanted, wanted * 0.001) << n;
        }
        ASSERT_EQ(NinepinSpeed::encode(NinepinSpeed::decode(std::uint8_t(n))), n);
    }
    moment(DeckView::Motion::Playing, -10.0, "01:00:00:00");
    EXPECT_EQ(ask("60 2E 8E"), "71 2E 60 FF");
    EXPECT_EQ(ask("61 20 21 A2"), "71 20 24 B5") << "shuttle, reverse";
}

TEST_F(Deck, countsFramesBelowThirty)
{
    const auto shown = [this](int fps, bool drop, const char *text) {
        view.fps = fps;
        moment(DeckView::Motion::Playing, 1.0, text);
        view.timecode.setDropFrame(drop);
        return ask("61 0C 01 6E").mid(6, 11);
    };
    EXPECT_EQ(shown(24, false, "23:59:59:23"), "23 59 59 23");
    EXPECT_EQ(shown(30, true, "00:01:00:02"), "42 00 01 00");
    EXPECT_EQ(shown(50, false, "01:02:03:49"), "24 03 02 01");
    EXPECT_EQ(shown(60, true, "01:02:03:58"), "69 03 02 01");
    // Digits above nine count as they stand; what is no time of day is no command.
    for (const auto &[hex, frames] :
         {std::pair{"24 31 0B 00 00 00 60", "00:00:00:22"}, {"24 31 29 00 00 00 7E", "00:00:00:58"}}) {
        EXPECT_EQ(ask(hex), "10 01 11");
        EXPECT_EQ(orders.last().arguments["where"].replace(';', ':'), frames);
    }
    view.fps = 25;
    for (const char *hex : {"24 31 25 00 00 00 7A", "24 31 00 60 00 00 B5", "24 31 00 00 00 24 79"})
        EXPECT_EQ(ask(hex), "11 12 01 24") << hex;
}

TEST_F(Deck, answersEveryPartOfItsStatusAndPadsBeyondIt)
{
    moment(DeckView::Motion::Playing, 1.0, "01:00:00:00");
    ask("20 01 21");
    const auto all = session.status(view);
    for (int question = 0; question < 256; ++question) {
        const QByteArray reply =
            QByteArray::fromHex(raw(NinepinReplies::block(0x60, 0x20, {std::uint8_t(question)})));
        ASSERT_EQ(reply.size(), (question & 15) + 3);
        for (int i = 0; i < (question & 15); ++i) {
            const int at = (question >> 4) + i;
            ASSERT_EQ(std::uint8_t(reply[2 + i]), at < 10 ? all[std::size_t(at)] : 0) << question;
        }
    }
}

TEST_F(Deck, knowsEveryRowAndWhoMayUseIt)
{
    for (const NinepinSession::Row &row : NinepinSession::rows()) {
        moment(DeckView::Motion::Still, 0.0, "01:00:00:00");
        ask("40 10 50"), ask("40 11 51"), ask("40 1A 5A");
        const QByteArray data(row.least, '\x01');
        const QByteArray block = NinepinReplies::block(row.group, row.command, data);
        EXPECT_FALSE(raw(block).startsWith("11 12")) << row.meaning;
        const QByteArray longer =
            NinepinReplies::block(row.group, row.command, QByteArray(row.most + 1, '\x01'));
        EXPECT_EQ(raw(longer), "11 12 01 24") << row.meaning;
        const bool moves =
            row.kind == NinepinSession::Kind::Motion || row.kind == NinepinSession::Kind::Preset;
        view.isLocal = true;
        EXPECT_EQ(raw(block).startsWith("11 12"), moves) << row.meaning;
        EXPECT_EQ(ask("61 20 01 82"), "71 20 01 92") << "local";
        view.isLocal = false;
    }
    EXPECT_EQ(ask("60 2B 8B"), "11 12 01 24") << "remaining time: nobody knows its six bytes";
    NinepinOptions careful;
    NinepinSession refuses(careful, [this](const DeckOrder &order) { orders.append(order); });
    for (const std::uint8_t command : {0x02, 0x65, 0x42}) {
        const NinepinBlock block{0x20, command, 0, {}};
        EXPECT_EQ(refuses.answer(block, view, now), NinepinReplies::nak(NinepinFault::Undefined));
        EXPECT_EQ(orders.last().verb, "refuse");
    }
}

TEST_F(Deck, dropsWhatTheLineHasDamagedAndNothingElse)
{
    NinepinParser serial(
        NinepinParser::serial,
        [this](const NinepinBlock &block) { replies += session.answer(block, view, now); },
        [this](NinepinFault fault) { replies += NinepinReplies::nak(fault); });
    NinepinMarks marks;
    const auto line = [&](const char *hex) {
        const QByteArray read = QByteArray::fromHex(hex);
        std::vector<NinepinByte> bytes;
        for (const char c : read) // cut anywhere
            marks.feed({reinterpret_cast<const std::uint8_t *>(&c), 1}, bytes);
        serial.feed(bytes, now);
        return std::exchange(replies, {}).toHex(' ').toUpper();
    };
    const auto wait = [&](int milliseconds) {
        now += milliseconds * ms;
        serial.expire(now);
        return std::exchange(replies, {}).toHex(' ').toUpper();
    };
    EXPECT_EQ(line("20 00 20 20 01 21 00 11 11"), "10 01 11 10 01 11 12 11 21 25 69") << "three in one";
    EXPECT_EQ(line("20"), "");
    EXPECT_EQ(wait(9), "");
    EXPECT_EQ(wait(1), "11 12 80 A3") << "a gap";
    EXPECT_EQ(line("00 11 11"), "12 11 21 25 69");
    EXPECT_EQ(line("20 FF 00 01 21"), "11 12 10 33") << "parity";
    EXPECT_EQ(line("20 01 21"), "") << "not yet: what is in the middle of a fault may look like a command";
    wait(10);
    EXPECT_EQ(line("FF 00 00 01 21"), "11 12 40 63") << "a break where the count should be";
    wait(10);
    EXPECT_EQ(line("61 20 FF FF 81"), "11 12 04 27") << "a doubled FF is one FF, which makes another sum";
    wait(10);
    const auto before = orders.size();
    EXPECT_EQ(line("24 31 20 01 21 00 99"), "11 12 04 27") << "nor what looks like play in its data";
    EXPECT_EQ(orders.size(), before);
    wait(10);
    EXPECT_EQ(line("00 11 11"), "12 11 21 25 69");
}

TEST_F(Deck, aReviewRollsWhenItsCueIsOverAndSaysWhenItCannot)
{
    // The preroll ends at the picture that is held already: nothing to be seen happens.
    moment(DeckView::Motion::Still, 0.0, "01:00:05:00");
    view.frame = 0;
    ask("44 14 00 10 00 01 69"), ask("44 15 00 11 00 01 6B"), ask("44 31 00 05 00 00 7A");
    for (const bool begins : {true, false}) {
        EXPECT_EQ(ask("20 41 61"), "10 01 11");
        const DeckOrder cue = orders.last();
        EXPECT_EQ(cue.verb, "cue");
        session.look(view, now);
        EXPECT_EQ(orders.last().id, cue.id) << "the cue may still be on its way, and would end the roll";
        session.answered({cue.id, true, "done", {}});
        session.look(view, now);
        EXPECT_EQ(orders.last().verb, "play");
        EXPECT_TRUE(orders.last().wait) << "a deck that changes its mode drops it: it has to be said again";
        EXPECT_EQ(ask("61 20 41 C2"), "71 20 08 99") << "review";
        session.answered({orders.last().id, begins, begins ? "done" : "no_effect", {}});
        EXPECT_EQ(ask("61 20 41 C2"), begins ? "71 20 08 99" : "71 20 00 91");
    }
    EXPECT_EQ(ask("61 20 91 12"), "71 20 80 11") << "function abort";
}

TEST_F(Deck, anEditIsOrderedAheadAndEndsByItself)
{
    EXPECT_EQ(ask("20 65 85"), "10 01 11");
    ASSERT_EQ(orders.size(), 2);
    EXPECT_EQ(orders[0].verb, "window");
    EXPECT_EQ(orders[0].arguments["in"], "1005");
    EXPECT_EQ(orders[1].verb, "record");
    view.motion = DeckView::Motion::Recording;
    view.index = 1030;
    view.takeFirst = 1005;
    view.takeFrames = 20;
    EXPECT_EQ(ask("61 20 41 C2"), "71 20 10 A1") << "edit";
    EXPECT_EQ(ask("20 64 84"), "10 01 11");
    EXPECT_EQ(orders.last().arguments["out"], "1035");
    view.index = 1034;
    session.look(view, now);
    EXPECT_EQ(orders.last().verb, "window");
    view.index = 1036;
    view.takeFrames = 28;
    session.look(view, now);
    EXPECT_EQ(orders.last().verb, "window") << "the last two are still being coded";
    view.takeFrames = 30;
    session.look(view, now);
    EXPECT_EQ(orders.last().verb, "stop");
    // A take that does not come, or not in time, is told: function abort.
    view.motion = DeckView::Motion::Stopped;
    ask("20 65 85");
    view.index += 100;
    session.look(view, now);
    EXPECT_EQ(ask("61 20 91 12"), "71 20 80 11");
    EXPECT_EQ(orders.last().verb, "stop") << "it may begin yet";
    // Nor is one whole that somebody ends before its last frame, or of which nothing comes.
    for (const bool begins : {true, false}) {
        ask("20 65 85");
        if (begins) view.takeFirst = view.index + 5;
        ask("20 64 84");
        view.motion = begins ? DeckView::Motion::Recording : DeckView::Motion::Stopped;
        view.takeFrames = 0;
        session.look(view, now);
        EXPECT_EQ(ask("61 20 91 12"), "71 20 00 91");
        view.motion = DeckView::Motion::Stopped;
        view.index += begins ? 5 : 100;
        session.look(view, now);
        EXPECT_EQ(ask("61 20 91 12"), "71 20 80 11") << begins;
    }
    ask("20 65 85");
    EXPECT_EQ(ask("61 20 91 12"), "71 20 00 91");
    view.motion = DeckView::Motion::Recording;
    view.index += 20;
    view.takeFirst = view.index - 12;
    session.look(view, now);
    EXPECT_EQ(ask("61 20 91 12"), "71 20 80 11");
}
} // namespace

// SPDX-License-Identifier: GPL-3.0-or-later
// Lines, OSC, the file of ports, the queue of orders: without sockets, clock and recorder.
#include "companions/remote/deck/orderqueue.h"
#include "companions/remote/remoteconfig.h"
#include "companions/remote/text/linelanguage.h"
#include "companions/remote/text/linereader.h"
#include "companions/remote/text/osclanguage.h"

#include <QJsonObject>

#include <gtest/gtest.h>

namespace {
std::span<const std::uint8_t> bytesOf(const QByteArray &bytes)
{
    return {reinterpret_cast<const std::uint8_t *>(bytes.data()), std::size_t(bytes.size())};
}

QByteArray padded(QByteArray text)
{
    text.append('\0');
    while (text.size() % 4 != 0)
        text.append('\0');
    return text;
}

QByteArray bundleOf(const QByteArray &part, quint32 size)
{
    QByteArray bundle("#bundle\0\0\0\0\0\0\0\0\1", 16);
    for (int shift = 24; shift >= 0; shift -= 8)
        bundle.append(char(size >> shift & 0xFF));
    return bundle + part;
}
} // namespace

TEST(LineReader, keepsLinesApartWhateverComes)
{
    QStringList lines;
    int tooLong = 0, notText = 0;
    LineReader reader([&](const QString &line) { lines.append(line); },
                      [&](LineReader::Bad bad) { ++(bad == LineReader::Bad::TooLong ? tooLong : notText); });
    reader.feed("pi");
    reader.feed("ng\r\nhelp\n");
    for (int i = 0; i < 1024; ++i)
        reader.feed(QByteArray(1024, 'x'));
    reader.feed("\nplay\n");
    reader.feed(QByteArray("a\0b\n", 4));
    reader.feed("half \xE2\x82\nstate\n");
    EXPECT_EQ(lines, QStringList({"ping", "help", "play", "state"}));
    EXPECT_EQ(tooLong, 1);
    EXPECT_EQ(notText, 2);
}

TEST(LineLanguage, mapsOntoTheTableOfVerbs)
{
    using LineLanguage::parse;
    EXPECT_EQ(parse("play: speed: 0.5").arguments["speed"], "0.5");
    EXPECT_EQ(parse("cue where: 10:00:04:00").arguments["where"], "10:00:04:00");
    EXPECT_EQ(parse("goto: timecode: 10:00:04:00").verb, "cue");
    EXPECT_EQ(parse("goto: clip: my take.mov").arguments["name"], "my take.mov");
    EXPECT_EQ(parse("clip: name: \"for: x\" force: true").arguments["name"], "for: x");
    EXPECT_TRUE(parse("stop: force: true").force);
    for (const char *line :
         {"jump", "play 0.5", "goto: a: 1", "goto", "clip: name: \"open", "notify: nothing: true"})
        EXPECT_TRUE(parse(line).wrong) << line;
    // Every verb can be said, and every refusal is one line.
    for (const VerbRow &row : verbs())
        EXPECT_EQ(parse(QLatin1String(row.name)).verb, QLatin1String(row.name));
    for (const AnswerCodeRow &row : answerCodes()) {
        const QByteArray reply = LineLanguage::reply(Answer::refused(row.cause, row.code, "two\nlines"));
        EXPECT_TRUE(reply.startsWith(row.cause == Cause::None ? "199 " : "1")) << row.code;
        EXPECT_EQ(reply.count('\n'), 1);
    }
    EXPECT_EQ(LineLanguage::reply("play", Answer::done("playing")), "200 ok\r\n");
    EXPECT_EQ(LineLanguage::reply("marks", Answer::done("in  5\nout  9")),
              "204 marks:\r\nin  5\r\nout  9\r\n\r\n");
}

TEST(OscLanguage, readsWhatItMayAndNothingOfTheRest)
{
    const QByteArray half = padded("/xp/play") + padded(",f") + QByteArray::fromHex("3F000000");
    const auto play = OscLanguage::parse(bytesOf(half));
    ASSERT_TRUE(play && play->size() == 1);
    EXPECT_EQ(play->front().arguments["speed"], "0.5");
    const auto step =
        OscLanguage::parse(bytesOf(padded("/xp/step") + padded(",i") + QByteArray::fromHex("FFFFFFFF")));
    ASSERT_TRUE(step && step->size() == 1);
    EXPECT_EQ(step->front().arguments["frames"], "-1");
    const auto subscribed =
        OscLanguage::parse(bytesOf(padded("/xp/subscribe") + padded(",i") + QByteArray::fromHex("000003E8")));
    ASSERT_TRUE(subscribed && subscribed->size() == 1);
    EXPECT_EQ(subscribed->front().rate, 25);
    const auto bundled = OscLanguage::parse(bytesOf(bundleOf(half, quint32(half.size()))));
    EXPECT_TRUE(bundled && bundled->size() == 1);

    QByteArray nested = half;
    for (int depth = 0; depth < 1000; ++depth)
        nested = bundleOf(nested, quint32(nested.size()));
    const QByteArray nan = padded("/xp/play") + padded(",f") + QByteArray::fromHex("7FC00000");
    const QByteArray bad[] = {
        nested,
        nan,
        half.chopped(4),
        half.chopped(1),
        bundleOf(half, 0xFFFFFFF0),
        bundleOf(half, 8),
        // A good message before a bad one: nothing is done at all.
        bundleOf(half, quint32(half.size())) + QByteArray::fromHex("00000004") + "/xp/",
        padded("/xp/play") + padded(",b") + QByteArray::fromHex("FFFFFFFF"),
        padded("/xp/play") + padded(",ff") + QByteArray::fromHex("3F000000"),
        padded("/xp/step"),
        padded("/other"),
        padded("/xp/jump") + padded(","),
        QByteArray(),
        QByteArray(4, '\xFF'),
    };
    for (const QByteArray &packet : bad)
        EXPECT_FALSE(OscLanguage::parse(bytesOf(packet))) << packet.left(60).toHex(' ').constData();
    const QByteArray state = OscLanguage::state({{"speed", 0.5}, {"status", "playing"}, {"frame", 12}});
    EXPECT_TRUE(state.contains("/xp/state/speed") && state.contains("playing"));
    EXPECT_EQ(state.size() % 4, 0);
}

TEST(RemoteConfig, tellsEachLineThatMakesNoSense)
{
    const RemoteConfig good =
        RemoteConfig::parse("; ports\n[ports]\nninepin = /dev/ttyUSB0 record=on edit_delay=7\n"
                            "ninepin=tcp:0.0.0.0:9901 type_625=F1E0\nline = tcp:9993\r\n"
                            "osc = udp:[::1]:9000 verbs=view\n");
    EXPECT_EQ(good.problems, QStringList());
    ASSERT_EQ(good.ports.size(), 4);
    EXPECT_EQ(good.ports[0].device, "/dev/ttyUSB0");
    EXPECT_TRUE(good.ports[0].ninepin.mayRecord);
    EXPECT_EQ(good.ports[0].ninepin.editDelay, 7);
    EXPECT_FALSE(good.ports[1].ninepin.mayRecord);
    EXPECT_EQ(good.ports[1].ninepin.deviceType625, 0xF1E0);
    EXPECT_EQ(good.ports[2].host, "127.0.0.1");
    EXPECT_EQ(good.ports[3].host, "::1");
    EXPECT_EQ(good.ports[2].verbs, Role::Operate);
    EXPECT_EQ(good.ports[3].verbs, Role::View);
    for (const char *line :
         {"ninepin = tcp:0", "ninepin = /etc/passwd", "line = /dev/ttyS0", "osc = tcp:9000",
          "line = tcp:localhost:9", "ninepin = tcp:9 record=yes", "line = tcp:9 record=on",
          "line = tcp:9 verbs=all", "serial = tcp:9", "ninepin", "ninepin = /dev/../etc/x", "[other]"}) {
        const RemoteConfig config = RemoteConfig::parse(QByteArray("[ports]\n") + line);
        EXPECT_EQ(config.problems.size(), 1) << line;
        EXPECT_TRUE(config.ports.isEmpty()) << line;
    }
    EXPECT_EQ(RemoteConfig::parse("line = tcp:9").problems.size(), 1) << "above the section";
}

TEST(OrderQueue, keepsTheOrderAndTheNewestSpeed)
{
    QStringList handed;
    OrderQueue queue(
        [&](const DeckOrder &order) { handed.append(order.verb + order.arguments.value("speed")); });
    quint64 id = 0;
    const auto push = [&](const char *verb, const char *speed = "", bool wait = false) {
        return queue.push({verb, {{"speed", speed}}, false, wait, ++id}, 0);
    };
    push("stop"), push("play", "1"), push("play", "2"), push("step"), push("cue", "", true), push("still");
    EXPECT_EQ(handed, QStringList({"stop"})) << "one after the other";
    EXPECT_TRUE(queue.answered({1, true, "done", {}}, 0));
    EXPECT_EQ(handed.last(), "play2") << "a speed that has not been given gives way to the next";
    EXPECT_FALSE(queue.answered({3, false, "busy", {}}, 0)) << "it is tried again";
    queue.retry(*queue.deadline());
    EXPECT_EQ(handed.last(), "play2");
    queue.answered({3, true, "done", {}}, 0);
    queue.answered({4, true, "done", {}}, 0);
    EXPECT_EQ(handed.last(), "cue") << "nothing overtakes a cue that has not been given";
    queue.given(5, 0);
    EXPECT_EQ(handed.last(), "still") << "its effect is waited for beside";
    EXPECT_TRUE(queue.answered({5, false, "superseded", {}}, 0));
    while (push("step")) {}
    EXPECT_LE(id, 6 + OrderQueue::bound + 1);
}

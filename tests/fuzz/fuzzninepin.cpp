// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/remote/ninepin/ninepinparser.h"
#include "companions/remote/ninepin/ninepinsession.h"
#include "tests/fuzz/fuzz.h"

/// What comes in over a 9-pin line, marks of damaged bytes and pauses included: the first byte of three says
/// what the deck does meanwhile, the second how long nothing comes, the third is one of the line.

void Fuzz::writeSeeds(const QString &folder)
{
    int count = 0;
    for (const NinepinSession::Row &row : NinepinSession::rows()) {
        QByteArray line;
        for (const char byte : NinepinReplies::block(row.group, row.command, QByteArray(row.most, '\x01')))
            line.append("\x03", 2).append(byte);
        writeSeed(folder, std::to_string(++count).c_str(), line);
    }
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    qint64 now = 0;
    quint64 orders = 0;
    NinepinOptions options;
    options.mayRecord = true;
    NinepinSession session(options, [&orders](const DeckOrder &) { ++orders; });
    DeckView view;
    view.hasMedium = view.mayRecord = true;
    const auto check = [](const QByteArray &reply) {
        unsigned sum = 0;
        for (const char byte : reply.chopped(1))
            sum += std::uint8_t(byte);
        const bool isWhole =
            reply.size() == (reply[0] & 15) + 3 && std::uint8_t(reply.back()) == (sum & 0xFF);
        Fuzz::mustHold(isWhole, "every reply is one whole block");
    };
    NinepinParser parser(
        NinepinParser::serial,
        [&](const NinepinBlock &block) {
            const QByteArray reply = session.answer(block, view, now);
            check(reply);
        },
        [&](NinepinFault) {});
    NinepinMarks marks;
    for (std::size_t i = 0; i + 2 < size; i += 3) {
        view.motion = DeckView::Motion(data[i] % 5);
        view.index += 1 + data[i] / 5;
        view.frame = view.motion >= DeckView::Motion::Playing ? view.index % 1000 : -1;
        view.timecode = QmxTimecode(int(view.index), 25, false);
        now += data[i + 1] * qint64(200'000);
        parser.expire(now);
        session.look(view, now);
        std::vector<NinepinByte> bytes;
        marks.feed({data + i + 2, 1}, bytes);
        parser.feed(bytes, now);
        Fuzz::mustHold(!parser.deadline() || *parser.deadline() > now, "no block is waited for that is late");
    }
    Fuzz::mustHold(orders <= size * 3, "a byte gives no more orders than a command has");
    return 0;
}

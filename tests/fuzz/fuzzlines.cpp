// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/remote/remoteconfig.h"
#include "companions/remote/text/linelanguage.h"
#include "companions/remote/text/linereader.h"
#include "tests/fuzz/fuzz.h"

/// What comes in over the line protocol, and the file of ports.

void Fuzz::writeSeeds(const QString &folder)
{
    writeSeed(folder, "lines",
              "play: speed: 0.5\r\ngoto: timecode: 10:00:04:00\nclip: name: \"a b.mov\" force: true\n");
    writeSeed(folder, "more",
              "notify: transport: true timecode: false\nstep: frames: -1\nrecord: for: 10\nhelp\n");
    writeSeed(folder, "ports",
              "[ports]\nninepin = /dev/ttyUSB0 record=on edit_delay=5 preroll=5 type_625=F1E0\n"
              "ninepin = tcp:[::1]:9901\nline = tcp:9993\nosc = udp:0.0.0.0:9000\n");
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    LineReader reader(
        [](const QString &line) {
            const LineLanguage::Asked asked = LineLanguage::parse(line);
            if (asked.wrong) {
                const QByteArray reply = LineLanguage::reply(*asked.wrong);
                Fuzz::mustHold(reply.startsWith("100 ") && reply.count('\n') == 1, "a refusal is one line");
            } else if (!asked.verb.isEmpty() && !asked.isOwn) {
                Fuzz::mustHold(findVerb(asked.verb) != nullptr, "what is asked for is a verb");
            }
        },
        [](LineReader::Bad) {});
    for (qsizetype at = 0; at < bytes.size(); at += 7)
        reader.feed(bytes.mid(at, 7));
    const RemoteConfig config = RemoteConfig::parse(bytes);
    for (const RemotePortConfig &port : config.ports)
        Fuzz::mustHold(port.device.startsWith("/dev/") || port.port > 0, "a port has a place");
    return 0;
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/remote/text/osclanguage.h"
#include "tests/fuzz/fuzz.h"

#include <QJsonObject>

/// Packets of Open Sound Control.

void Fuzz::writeSeeds(const QString &folder)
{
    writeSeed(folder, "play", QByteArray("/xp/play\0\0\0\0,f\0\0\x3F\0\0\0", 20));
    writeSeed(folder, "subscribe", QByteArray("/xp/subscribe\0\0\0,i\0\0\0\0\0\x0A", 24));
    writeSeed(folder, "refused", OscLanguage::refused("play", "take_runs", "a take is being recorded"));
    writeSeed(folder, "bundle", OscLanguage::state({{"speed", 0.5}, {"status", "playing"}, {"frame", 12}}));
    writeSeed(folder, "inside",
              QByteArray("#bundle\0\0\0\0\0\0\0\0\1\0\0\0\x14/xp/play\0\0\0\0,f\0\0\x3F\0\0\0", 40));
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    const auto asked = OscLanguage::parse({data, size});
    if (!asked) return 0;
    for (const OscLanguage::Asked &one : *asked) {
        Request request;
        request.verb = one.verb;
        request.arguments = one.arguments;
        if (one.kind == OscLanguage::Asked::Verb) {
            const VerbRow *row = findVerb(one.verb);
            Fuzz::mustHold(row && !wrongArguments(*row, request), "what is asked for makes sense");
        } else if (one.kind == OscLanguage::Asked::Subscribe) {
            Fuzz::mustHold(one.rate >= 1 && one.rate <= 25, "a rate is one that can be kept");
        }
    }
    return 0;
}

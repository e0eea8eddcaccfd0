// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/clipnames.h"
#include "platform/product/clipscan.h"
#include "platform/qmx/core/qmxprintable.h"
#include "platform/qmx/core/qmxtimecode.h"
#include "tests/fuzz/fuzz.h"

/// Names from outside: patterns, clips, timecodes, texts for a terminal.

void Fuzz::writeSeeds(const QString &folder)
{
    writeSeed(folder, "pattern", "{name}_{take}_{reel}_{date}_{time}");
    writeSeed(folder, "rollover", "take_001_R2.mov");
    writeSeed(folder, "timecode", "10:00:00;00");
    writeSeed(folder, "escape", "a\x1b]0;x\a\rb");
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    const std::string text = Fuzz::text(data, size);
    const std::string name = clipNameFromPattern(text, {text, 7, text, 1'700'000'000'000'000'000});
    Fuzz::mustHold(name.find('/') == std::string::npos, "a name leads nowhere else");
    patternCountsTakes(text);
    if (isClipName(text)) Fuzz::mustHold(text.front() != '.', "hidden files are no clips");
    clipNameWithNextRolloverIndex(text);
    const QmxTimecode timecode{QString::fromStdString(text)};
    timecode.toString();
    for (const QChar character : qmxPrintable(QString::fromStdString(text)))
        Fuzz::mustHold(character.category() != QChar::Other_Control, "nothing that a terminal obeys");
    return 0;
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/figures.h"

std::span<const BenchRow> benchRows()
{
    static const BenchRow rows[] = {
        {"record", "a take in real time: frames lost, CPU a frame, longest turn of the event loop",
         benchRecord},
        {"record_start", "from the record command to the first frame of the clip", benchRecordStart},
        {"cue", "from the cue command to the picture on the output", benchCue},
    };
    return rows;
}

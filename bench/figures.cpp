// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/figures.h"

std::span<const BenchRow> benchRows()
{
    static const BenchRow rows[] = {
        {"record", "a take in real time: frames lost, CPU a frame, longest turn of the event loop",
         benchRecord},
        {"record50", "the same with 50 pictures a second", benchRecord50},
        {"record_uhd", "the same with 3840 by 2160 pictures, 25 a second", benchRecordUhd},
        {"mirror", "CPU of a take on two media against the same take on one, frames lost", benchMirror},
        {"record_start", "from the record command to the first frame of the clip", benchRecordStart},
        {"prerecord",
         "takes that begin before their command: CPU of what is kept beside a take's, frames lost",
         benchPreRecord},
        {"store", "a change in the store until another process hears it", benchStoreDelivery},
        {"burst", "10,000 changes and five listeners: what is lost", benchStoreBurst},
        {"redis", "the same change over a server", benchStoreRedis},
        {"fleet", "the same change with one recorder on the server and with a hundred, memory for each",
         benchFleet},
        {"action", "from a parameter to what the transport does, told back", benchParameterToAction},
        {"clips", "listing 10,000 clips from the shared list", benchClipList},
        {"long_clip", "300,000 frames: opened while they are recorded, closed, opened again", benchLongClip},
        {"verify", "the proof of a clip: CPU a frame in a take, a check beside `cat`", benchVerify},
        {"export", "an export of a clip beside `cp`", benchExport},
        {"seek", "a frame out of order, and all of them in order, beside a bare read and decode", benchSeek},
        {"stall", "a take on a disk that stands still for two seconds: frames lost", benchStall},
        {"cue", "from the cue command to the picture on the output", benchCue},
        {"live",
         "a clip that another recorder writes: cues in it beside a closed one, distance to its newest frame",
         benchLive},
        {"monitoring", "CPU of the daemon in a take, asked for its figures ten times a second and not",
         benchMonitoring},
        {"remote", "from a 9-pin block to its reply, in a take with every core busy", benchRemote},
        {"panel_server", "a verb by HTTP, an event by WebSocket, beside what they stand on", benchPanel},
        {"panel_jpeg", "a picture of the panel, beside the JPEG library alone", benchPanelJpeg},
        {"panel_clients", "fifty clients of events and five of pictures during a take: frames lost, CPU",
         benchPanelClients},
        {"prores", "our ProRes coder against libavcodec's: size, quality, CPU a frame", benchProRes},
        {"prores_decode", "our ProRes decoder against libavcodec's: CPU a frame, whole and smaller",
         benchProResDecode},
        {"prores_latency", "time of a ProRes frame with the help of idle workers, and alone",
         benchProResLatency},
        {"medium_change", "a take that goes on on the next medium: frames lost, time between the two",
         benchMediumChange},
        {"medium_check", "the transport's look at its medium, also at one that hangs", benchMediumCheck},
    };
    return rows;
}

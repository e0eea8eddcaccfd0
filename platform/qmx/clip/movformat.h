// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/atomwriter.h"
#include "platform/qmx/clip/qmxclipinfo.h"
#include "platform/qmx/core/qmxerror.h"

/// A clip's description in the terms of the file, and the atoms that carry it.
///
/// The movie and the video track share one time scale, so that every duration is exact.
struct MovFormat
{
    enum TrackId : quint32 { VideoTrack = 1, AudioTrack = 2, TimecodeTrack = 3, ChapterTrack = 4 };
    static constexpr int bytesPerSample = 3; ///< 24-bit little-endian PCM

    QmxClipInfo info;
    QByteArray fourcc;
    QByteArray codecName;
    quint32 timeScale = 0;     ///< units a second
    quint32 frameDuration = 0; ///< units a frame
    int timecodeFps = 0;       ///< whole rate
    /// The cadences of samples (1602, 1601, 1602 ...) repeat after five frames.
    static constexpr int soundPhases = 5;
    int soundPhase = 0; ///< with which of them the clip begins
    bool hasTimecode = false;
    quint32 startFrame = 0;    ///< first timecode as a frame number
    qint64 timecodeOffset = 0; ///< in the file, of its four bytes; 0: where the header has it
    int channels = 0;
    int sampleRate = 48000;
    quint64 created = 0; ///< seconds since 1904-01-01 UTC

    /// EINVAL with a sentence when a clip cannot have this description.
    static QmxError fromInfo(const QmxClipInfo &info, MovFormat &format);
    void setStartTimecode(const QmxTimecode &timecode);

    bool hasAudio() const { return channels > 0; }
    int audioFrameBytes() const { return channels * bytesPerSample; }

    void writeVideoEntry(AtomWriter &atoms) const;
    void writeAudioEntry(AtomWriter &atoms) const;
    void writeTimecodeEntry(AtomWriter &atoms) const;
    static void writeChapterEntry(AtomWriter &atoms);
};

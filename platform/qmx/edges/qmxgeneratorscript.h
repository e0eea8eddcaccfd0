// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmximagedesc.h"
#include "platform/qmx/core/qmxtimecode.h"

#include <QList>
#include <QString>

#include <optional>

/// What a generator plays, as written after "generator:?". Everything happens by the generator's own frame
/// count, so that every input event can be played again exactly. Keys (all optional):
///
/// - rate=25 | 29.97 | 30000/1001 ..., size=1920x1080, scan=p | i | psf
/// - pattern=800 bars | 801 ramp | 802 moving | black, tone=900 | 901 | off, channels=8
/// - tc=10:00:00:00: timecode of frame 0 (";" before the frames: drop frame); without it there is none
/// - tcrun=off@50,on@100: the timecode stands still from frame 50 to 99
/// - loss=300-350,400-: no signal in frames 300 to 350 (inclusive) and from 400 on
/// - unstable=20-30: a signal that does not lock
/// - mute=100-200: the sound is missing
/// - camera=on@100,off@200: the camera's record flag (absent without this key)
/// - clip=NAME: clip name that the camera asks for
/// - vfr=24: a variable-rate signal that carries 23.98, 24, 25, 29.97 or 30 frames
/// - format=1280x720p50@500,...: another format from that frame on
/// - count=machine: the strip counts frames of the machine's clock, the same in all recorders of it (else the
///   generator's own)
/// - reference=lost@50,ok@90: state of the reference (absent without this key)
struct QmxGeneratorScript
{
    struct Span
    {
        qint64 first;
        qint64 last;
    };
    struct Switch
    {
        qint64 frame;
        bool on;
    };
    struct Format
    {
        qint64 frame;
        QmxImageDesc desc;
    };

    QList<Format> formats;         ///< by frame; the first one from frame 0 on
    QmxId pattern = QmxIds::bars;  ///< not valid: black
    QmxId tone = QmxIds::tone1000; ///< not valid: silence
    int channels = 8;              ///< that carry the tone
    QmxTimecode start;             ///< not valid: no timecode
    QList<Switch> timecodeRuns;
    QList<Span> losses;
    QList<Span> unstable;
    QList<Span> mutes;
    QList<Switch> camera;
    int effectiveRate = 0; ///< frames a second that a variable-rate signal carries; 0: none
    int variableRate = 0;  ///< class of QmxVideoState::vfrfps(); 0: the rate does not vary
    QString clipName;
    bool countsMachine = false; ///< the number in the strip is that of the machine's frame
    QList<Switch> reference;

    /// `problem` gets a sentence when the text makes no sense; the script is then the default one.
    static QmxGeneratorScript fromText(const QString &query, QString *problem);

    static bool covers(const QList<Span> &spans, qint64 frame);
    /// The switch's position at a frame; nothing when there is no such switch or none yet.
    static std::optional<bool> position(const QList<Switch> &switches, qint64 frame);
    int formatIndex(qint64 frame) const;
    /// Timecode of a frame under a format of this rate.
    QmxTimecode timecode(qint64 frame, const QmxVideoRate &rate) const;
};

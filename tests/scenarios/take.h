// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxclipinfo.h"
#include "platform/qmx/core/qmxtimecode.h"

#include <QList>
#include <QString>

/// A clip, read back frame by frame.
struct Take
{
    /// Fails the test when it cannot be read whole.
    static Take read(const QString &path);

    int frames() const { return int(strips.size()); }
    /// Fails the test unless the clip is closed, each generated picture is there
    /// once and in order, the sound marks stand with their pictures and the
    /// timecode counts up by one.
    void expectWhole() const;
    /// The same without a word on pictures, for a take with stills in it.
    void expectOneSequenceOfTimecodes() const;

    QString path;
    QmxClipInfo info;
    QList<qint64> strips; ///< -1: a picture without a strip
    QList<QmxTimecode> timecodes;
    QList<int> marks;   ///< sample of the frame at which the first sound mark
                        ///< begins; -1: none
    QList<int> samples; ///< of sound, a frame
};

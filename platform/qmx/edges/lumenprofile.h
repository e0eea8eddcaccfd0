// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxvideorefstate.h"

#include <QList>
#include <QMap>
#include <QString>

/// What the software video card is connected to. An INI file:
///
///     [device]
///     clock=real              ; or fast:10 (read by the event loop's library as well)
///     reference=locked        ; or present (not locked), missing
///     workers=4               ; threads that code and decode, 1 to 64
///     prores_coder=own        ; or libav, for comparison
///     audio_channels=16       ; what audio_channels "eight" stands for: 8 or 16
///     backlog_megabytes=512   ; pictures waiting for a coder, at most (a third of the picture memory)
///     [inputs]
///     601=generator:?rate=25&size=1920x1080
///     [outputs]
///     monitor=udp://192.0.2.7:5000
///
/// A line that makes no sense is logged with file, number and remedy, and passed over.
struct LumenProfile
{
    QMap<int, QString> inputs;                  ///< source id to locator
    QList<std::pair<QString, QString>> outputs; ///< name and locator, in the file's order
    QmxVideoRefState reference{true, true};
    int workers = 0;          ///< 0: as many as processors, at least 2
    int wideChannels = 8;     ///< channels recorded when eight are asked for
    int backlogMegabytes = 0; ///< 0: a third of the pool
    bool libavProRes = false; ///< libavcodec's ProRes coder instead of ours

    /// One generator as input 601, the reference locked, no output besides the preview.
    static LumenProfile builtIn();
    /// `name` is the file as the log names it.
    static LumenProfile parse(const QString &text, const QString &name);
    /// The file's, or the built-in one when there is none; one that cannot be read is logged.
    static LumenProfile load(const QString &path, const QmxEnvironment &environment);

    /// Locator of a source; "none:" for one that is not connected.
    QString input(int source) const { return inputs.value(source, QStringLiteral("none:")); }
};

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/support/testfiles.h"

#include <QList>
#include <QStringList>
#include <QTemporaryDir>

#include <optional>

/// A recorder in a sandbox, for one script.
///
/// The script runs under `bash -eu` beside the daemon; `$OUT` names a directory that outlives the sandbox,
/// for clips and pictures that the test wants to look at. It has these functions:
///
///     await CONDITION            until it holds, at most 60 s; then the logs, and status 9
///     say NAME                   begins a block of output;      refused ...   xpctl's JSON and its status
///     fill PERCENT MEDIUM        leaves that much of it free (in whole percent, as the transport rounds)
///     plug NAME [SIZE]           a further medium at /media/NAME;   shut MEDIUM   its file system breaks
///     down slow NAME; hold NAME "CALL MS"   one whose calls take as long as one says (see tests/slowfs)
///     recorded, is NAME VALUE, kill_mediad, restart_mediad
class Sandbox
{
public:
    /// Further options of `./xp sandbox`, such as {"--clock", "fast:4"}.
    explicit Sandbox(const QStringList &options = {});
    /// The profile of the video device, in place of a small generator at 25 frames; empty: none.
    void setProfile(const QByteArray &ini);

    /// The test fails when the script does, or the daemon.
    ProgramResult run(const QString &script);
    QString out(const QString &name = QString()) const;

private:
    QTemporaryDir _dir; ///< on the disk: a sandbox has a /dev/shm of its own
    QStringList _options;
    QByteArray _profile = "[inputs]\n601=generator:?rate=25&size=720x576&scan=i\n";
};

/// What the script printed behind "say NAME".
QByteArray said(const QByteArray &out, const QByteArray &name);

/// Counts read from the strips of a clip, decoded by ffmpeg; nothing where a frame has no readable strip.
QList<std::optional<quint32>> stripsOf(const QString &clip);
/// Each strip one more than the one before; if not, a sentence that says where it breaks.
QString brokenAt(const QList<std::optional<quint32>> &strips);
/// Value of `field` of a JSON object text, as text.
QString jsonField(const QByteArray &json, const QString &field);

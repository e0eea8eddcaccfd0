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
/// for clips and pictures that the test wants to look at.
class Sandbox
{
public:
    /// Further options of `./xp sandbox`, such as {"--clock", "fast:4"}.
    explicit Sandbox(const QStringList &options = {});
    /// The profile of the video device.
    void setProfile(const QByteArray &ini);

    ProgramResult run(const QString &script, int realMs = 400000);
    QString out(const QString &name = QString()) const;

private:
    QTemporaryDir _dir; ///< on the disk: a sandbox has a /dev/shm of its own
    QStringList _options;
};

/// Counts read from the strips of a clip, decoded by ffmpeg; nothing where a frame has no readable strip.
QList<std::optional<quint32>> stripsOf(const QString &clip);
/// Each strip one more than the one before; if not, a sentence that says where it breaks.
QString brokenAt(const QList<std::optional<quint32>> &strips);
/// Value of `field` of a JSON object text, as text.
QString jsonField(const QByteArray &json, const QString &field);

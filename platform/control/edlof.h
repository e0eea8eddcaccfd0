// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/marksof.h"

#include <QStringList>

#include <optional>

/// Marks and play lists as edit decision lists (Edl), and back. All of it asks the disk.
namespace EdlOf {
/// One event: the marked part, or the whole clip, with the points as locators. Nothing, and why, when the
/// clip has no timecode.
std::optional<QString> marks(const Material &material, const ClipMarks &marks, QString &why);
/// One event an entry, on a record side that begins at 01:00:00:00.
std::optional<QString> list(const Recorder &recorder, const QStringList &entries, QString &why);
/// The marks that an edit decision list gives a clip: in and out of its first event with this clip, and the
/// locators of all of them.
std::optional<ClipMarks> marksFrom(const QString &text, const Material &material, QString &why);
/// The entries of a play list: each event a part of the clip of the active medium that it names, or else of
/// the one whose name makes its reel.
std::optional<QStringList> listFrom(const QString &text, Recorder &recorder, QString &why);
} // namespace EdlOf

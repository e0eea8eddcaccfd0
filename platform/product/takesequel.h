// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

/// The files in which a take may go on behind the clip at `path`: of the names that a rollover gives, on any
/// medium, the likeliest first. Reads the folder below which media are mounted, none of the media. Any
/// thread.
QStringList takeMayGoOnIn(const QString &path);

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/ctl/commands.h"

#include <QJsonArray>

#include <map>

/// Values of settings: what an operator sets and finds again after a restart, not what the recorder tells,
/// nor where it stands. Files and profiles hold them as [{"name": ..., "value": ...}].
using SettingValues = std::map<const ParamDescriptor *, StoreValue>;

bool isSetting(const ParamDescriptor &descriptor);
/// All of them as they are now, in the order of the table; `changed`: only those that are not the default.
QJsonArray settingsNow(Recorder &recorder, bool changed = false);
/// The defaults of all, or of one.
SettingValues defaultSettings(const QString &name = {});
/// All of it makes sense, or nothing is taken: the text says what does not. `name` is what the list is
/// called.
QString parseSettings(const QJsonArray &list, const QString &name, SettingValues &values);
/// What differs from now, as it is and as it would be.
ExitCode tellDifference(Recorder &recorder, const Report &report, const SettingValues &values);
/// Writes what differs, and tells what that was; nothing when there is a value among it that nothing can be
/// done with, unless with `force`.
ExitCode changeSettings(Recorder &recorder, const Report &report, const SettingValues &values, bool force);

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class Config;
class QObject;

/// Makes the take options of the current environment's deck follow the settings that concern nobody above
/// them (torn_pictures, ...), from now on and as long as the store lives. One row a setting.
///
/// A start that has been used, or passed, is taken out of the store again, on the event loop, as long as
/// `context` lives.
void followTakeSettings(Config *config, QObject *context);

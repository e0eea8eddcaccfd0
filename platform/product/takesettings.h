// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class Config;

/// Makes the take options of the current environment's deck follow the settings that concern nobody above
/// them (torn_pictures, ...), from now on and as long as the store lives. One row a setting.
void followTakeSettings(Config *config);

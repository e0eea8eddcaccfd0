// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class Config;

/// Makes the inputs follow the settings that concern nobody above them (torn_pictures), from now on and as
/// long as the store lives.
void followInputSettings(Config *config);

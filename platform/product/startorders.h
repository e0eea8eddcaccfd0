// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class Config;

/// Hands on where the next opening of a clip shall begin (start_at), before the command that opens it
/// arrives, from now on and as long as the store lives.
void followStartOrders(Config *config);

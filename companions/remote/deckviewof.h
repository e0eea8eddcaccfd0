// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/remote/deck/deckview.h"
#include "platform/control/deckstate.h"

/// The moment that `state` tells, but for the video clock's index.
DeckView deckViewOf(const DeckState &state);

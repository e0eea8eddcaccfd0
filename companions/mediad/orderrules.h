// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/mediad/mediamachine.h"
#include "platform/product/mediaorder.h"

#include <string>
#include <vector>

/// Empty, or the sentence that the clip to be deleted is played, or the list that it is in.
std::string whyInUse(const MediaOrder &order, const MediaParameters &parameters);
/// Empty, or the sentence why an order cannot be carried out now: its media are not there or may not be
/// written, the clip is not there, or it is in use.
std::string whyRefused(const MediaOrder &order, const std::vector<Medium> &media,
                       const MediaParameters &parameters);

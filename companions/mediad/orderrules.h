// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/mediad/mediamachine.h"
#include "platform/product/mediaorder.h"

#include <string>
#include <vector>

/// Empty, or the sentence why an order cannot be carried out now: its media are not there or may not be
/// written, the clip is not there, or it is in use.
std::string whyRefused(const MediaOrder &order, const std::vector<Medium> &media,
                       const MediaParameters &parameters);

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

/// Empty, or why a text cannot be the value of a parameter with these attributes, to be read behind its name:
/// "takes a text without control characters". Any thread.
std::string whyNotText(const std::vector<std::string> &attributes, const std::string &text);

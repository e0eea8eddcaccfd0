// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <string>
#include <vector>

/// The one of `names` that was meant by a word that is none of them; empty: none is near enough.
QString nearestName(const std::string &word, const std::vector<std::string> &names);

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/storebackend.h"

#include <string>

/// A value as it is kept on a server, in the table of parameters and in the log alike:
/// "KIND VERSION TIME ORIGIN SOURCE\nVALUE". The scripts in redisscripts.h write and read the same form.
namespace RedisRow {

/// Which start of which machine this is: "HOST/BOOT". Process numbers mean something there only.
std::string thisOrigin();
/// Whether the two are starts of one machine.
bool isSameMachine(const std::string &origin, const std::string &other);

/// VALUE: numbers are written in decimal.
std::string valueText(const StoreValue &value);
/// SOURCE, fit to stand in a row.
std::string sourceText(std::string source);
std::string make(const StoredValue &stored, const std::string &origin);
/// False when it has another form.
bool parse(const std::string &row, StoredValue &stored, std::string &origin);

} // namespace RedisRow

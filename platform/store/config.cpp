// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/config.h"

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"

#include <fstream>

namespace {
constexpr std::size_t longestAddress = 4096;
constexpr const char *defaultAddress = "sqlite:/var/lib/xp/store.db";
} // namespace

Config::~Config() = default;

ConfigEventListener::~ConfigEventListener() = default;

bool ConfigEventListener::DataChanged(eParam_t, std::string &, timeval)
{
    return false;
}

void ConfigEventListener::ParamChanged(ConfigEvent) {}

std::string GetConfigURI(const std::string &)
{
    std::ifstream file(QmxEnvironment::current().places->storeAddress.toStdString());
    std::string line;
    if (!std::getline(file, line)) return defaultAddress;
    if (line.size() > longestAddress) line.resize(longestAddress); // a file of another kind
    line.erase(line.find_last_not_of(" \t\r") + 1);
    return line.empty() ? defaultAddress : line;
}

std::string GetEventsURI(const std::string &transport)
{
    return GetConfigURI(transport);
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/config.h"

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"

#include <cstring>
#include <fstream>

namespace {
constexpr std::size_t longestAddress = 4096;
constexpr const char *onDisk = "sqlite:";
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
    const std::shared_ptr<const QmxPlaces> places = QmxEnvironment::current().places;
    const std::string standard = onDisk + places->state.toStdString() + "/store.db";
    std::ifstream file(places->storeAddress.toStdString());
    std::string line;
    if (!std::getline(file, line)) return standard;
    if (line.size() > longestAddress) line.resize(longestAddress); // a file of another kind
    line.erase(line.find_last_not_of(" \t\r") + 1);
    if (line.empty()) return standard;
    if (!line.starts_with(onDisk)) {
        // Whichever server it is, the recorder's name stands last.
        if (!places->recorder.isEmpty())
            line.replace(line.rfind('/') + 1, std::string::npos, places->recorder.toStdString());
        return line;
    }
    // The file is the recorder's own, and so are the paths in it.
    const std::string path = line.substr(std::strlen(onDisk));
    return onDisk + places->here(QString::fromStdString(path)).toStdString();
}

std::string GetEventsURI(const std::string &transport)
{
    return GetConfigURI(transport);
}

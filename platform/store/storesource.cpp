// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/storesource.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include <unistd.h>

namespace {

struct ProcessState
{
    bool exists = false;
    bool dead = false; ///< ended, its parent has not looked yet
    std::string start;
};

ProcessState processState(const std::string &pid)
{
    // /proc/PID/stat: pid (comm) state ... ; the start time is field 22, and comm may hold any character.
    constexpr int startField = 22;
    constexpr int stateField = 3;
    std::ifstream file("/proc/" + pid + "/stat");
    std::string line;
    if (!std::getline(file, line)) return {};
    const auto afterName = line.rfind(')');
    if (afterName == std::string::npos) return {};
    std::istringstream fields(line.substr(afterName + 1));
    ProcessState state;
    std::string field;
    for (int index = stateField; fields >> field; ++index) {
        if (index == stateField) state.dead = field == "Z" || field == "X";
        if (index != startField) continue;
        state.start = field;
        state.exists = true;
        break;
    }
    return state;
}

} // namespace

std::string storeSource(const std::string &client)
{
    const std::string pid = std::to_string(::getpid());
    return (client.empty() ? std::string(program_invocation_short_name) : client) + "@" + pid + "." +
           processState(pid).start;
}

bool storeSourceIsAlive(const std::string &source)
{
    const auto at = source.rfind('@');
    const auto dot = source.rfind('.');
    if (at == std::string::npos || dot == std::string::npos || dot < at) return true;
    if (!processState("self").exists) return true; // no /proc: nobody can tell
    const ProcessState state = processState(source.substr(at + 1, dot - at - 1));
    return state.exists && !state.dead && state.start == source.substr(dot + 1);
}

bool isStoreUpkeep(const std::string &source)
{
    return source.starts_with("store@");
}

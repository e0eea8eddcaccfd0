// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/storesource.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include <csignal>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char numbersMark = '-';

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

/// Something tells it apart from the process numbers of a container; empty when it cannot be seen.
std::string processNumbers()
{
    struct stat info
    {};
    return ::stat("/proc/self/ns/pid", &info) == 0 ? std::to_string(info.st_ino) : std::string();
}

} // namespace

std::string storeSource(const std::string &client)
{
    const std::string pid = std::to_string(::getpid());
    return (client.empty() ? std::string(program_invocation_short_name) : client) + "@" + pid + "." +
           processState(pid).start + numbersMark + processNumbers();
}

bool storeSourceIsAlive(const std::string &source)
{
    const auto at = source.rfind('@');
    const auto dot = source.rfind('.');
    if (at == std::string::npos || dot == std::string::npos || dot < at) return true;
    if (!processState("self").exists) return true; // no /proc: nobody can tell
    const auto mark = source.find(numbersMark, dot);
    const std::string start = source.substr(dot + 1, mark == std::string::npos ? mark : mark - dot - 1);
    // A process with a number of another name space may well live, whatever has the number here.
    if (mark != std::string::npos && source.substr(mark + 1) != processNumbers()) return true;
    const std::string pid = source.substr(at + 1, dot - at - 1);
    const ProcessState state = processState(pid);
    if (state.exists) return !state.dead && state.start == start;
    // It may be hidden from this account (/proc mounted with hidepid): then nothing more is known of it.
    const auto number = static_cast<pid_t>(std::strtol(pid.c_str(), nullptr, 10));
    return number > 0 && (::kill(number, 0) == 0 || errno == EPERM);
}

bool storeSourceIsReplaced(const std::string &source, const std::string &by)
{
    const auto at = by.rfind('@');
    return at != std::string::npos && source.rfind('@') == at && source.compare(0, at, by, 0, at) == 0 &&
           source != by;
}

bool storeSourceHasLeft(const std::string &source, const std::string &by, bool byRecorder, bool isStart)
{
    const bool isReplaced = storeSourceIsReplaced(source, by);
    return (isStart && isReplaced) || ((byRecorder || isReplaced) && !storeSourceIsAlive(source));
}

bool isStoreUpkeep(const std::string &source)
{
    return source.starts_with("store@");
}

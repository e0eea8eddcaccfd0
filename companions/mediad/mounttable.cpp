// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/mounttable.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <sstream>

namespace fs = std::filesystem;

namespace {

/// `escape` followed by `digits` digits of `base` stands for a byte.
std::string unescape(const std::string &text, const std::string &escape, std::size_t digits, int base)
{
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::size_t first = i + escape.size();
        if (text.compare(i, escape.size(), escape) == 0 && first + digits <= text.size()) {
            const std::string number = text.substr(first, digits);
            char *end = nullptr;
            const long byte = std::strtol(number.c_str(), &end, base);
            if (*end == '\0' && byte > 0) {
                plain += static_cast<char>(byte);
                i = first + digits - 1;
                continue;
            }
        }
        plain += text[i];
    }
    return plain;
}

/// No parameter takes such text, and who waited for it to be taken would decide nothing any more.
bool isControl(unsigned char c)
{
    return std::iscntrl(c) != 0;
}

bool has(const std::string &options, const std::string &option)
{
    return ("," + options + ",").find("," + option + ",") != std::string::npos;
}

} // namespace

std::vector<Mount> parseMountTable(const std::string &text, const std::string &root)
{
    std::map<std::string, Mount> found;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string id, parent, device, origin, place, options, word, type, source, superOptions;
        words >> id >> parent >> device >> origin >> place >> options;
        while (words >> word && word != "-") {}
        if (!(words >> type >> source >> superOptions)) {
            continue;
        }
        const std::string path = unescape(place, "\\", 3, 8);
        if (!path.starts_with(root + "/") || std::any_of(path.begin(), path.end(), isControl)) {
            continue;
        }
        found[path] = {path, unescape(source, "\\", 3, 8),
                       std::hash<std::string>()(id + ' ' + device + ' ' + source),
                       has(options, "rw") && has(superOptions, "rw")};
    }
    std::vector<Mount> mounts;
    mounts.reserve(found.size());
    for (auto &[path, mount] : found) {
        mounts.push_back(std::move(mount));
    }
    return mounts;
}

std::string mediumLabel(const Mount &mount, const std::string &labelFolder)
{
    std::error_code failed;
    const fs::path device = fs::canonical(mount.source, failed);
    if (!failed) {
        fs::directory_iterator entry(labelFolder, failed);
        for (const fs::directory_iterator end; !failed && entry != end; entry.increment(failed)) {
            std::error_code dangling;
            if (fs::canonical(entry->path(), dangling) == device && !dangling) {
                std::string label = unescape(entry->path().filename().string(), "\\x", 2, 16);
                std::replace_if(label.begin(), label.end(), isControl, '_');
                return label;
            }
        }
    }
    return fs::path(mount.path).filename().string();
}

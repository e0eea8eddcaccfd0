// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxsamefilesystem.h"

#include <cstring>

bool qmxSameFileSystem(QmxFiles &files, const QString &one, const struct statfs64 &ofOne,
                       const QString &other, const struct statfs64 &ofOther)
{
    const decltype(ofOne.f_fsid) none = {};
    if (std::memcmp(&ofOne.f_fsid, &ofOther.f_fsid, sizeof none) != 0) return false;
    if (std::memcmp(&ofOne.f_fsid, &none, sizeof none) != 0) return true;
    struct stat64 first = {};
    struct stat64 second = {};
    // What cannot be asked counts as the system's own: nothing is recorded there.
    return files.stat(one, &first) != 0 || files.stat(other, &second) != 0 || first.st_dev == second.st_dev;
}

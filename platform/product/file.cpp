// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/file.h"

#include "platform/product/mediumhelper.h"

bool kel::utils::file::File::file_exists(const std::string &path)
{
    if (path.empty()) return false;
    const auto files = QmxEnvironment::current().files;
    return MediumHelper::instance()
        .answer<bool>(folderOf(path),
                      [files, path] {
                          struct stat64 info
                          {};
                          return files->stat(QString::fromLocal8Bit(path), &info) == 0 &&
                                 !S_ISDIR(info.st_mode);
                      })
        .value_or(false);
}

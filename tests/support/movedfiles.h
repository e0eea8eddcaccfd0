// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"

#include <map>

/// The file system as it is, but for what lies below some of its paths: that is found below others.
class MovedFiles : public QmxFiles
{
public:
    explicit MovedFiles(const std::map<QString, QString> &places) : _places(places) {}
    int open(const QString &path, int flags, mode_t mode) override
    {
        return QmxFiles::open(here(path), flags, mode);
    }
    int stat(const QString &path, struct stat64 *data) override { return QmxFiles::stat(here(path), data); }

private:
    QString here(const QString &path) const
    {
        for (const auto &[from, to] : _places)
            if (path.startsWith(from)) return to + path.mid(from.size());
        return path;
    }

    std::map<QString, QString> _places;
};

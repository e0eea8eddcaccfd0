// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <string>

/// A clip on a medium, as the clip lists hold it. A plain value.
class Clip
{
public:
    Clip() = default;
    Clip(std::string name, std::string path, int frameCount, qint64 recordedAt = 0, bool closed = true)
        : _name(std::move(name)),
          _path(std::move(path)),
          _frameCount(frameCount),
          _recordedAt(recordedAt),
          _closed(closed)
    {}

    std::string getName() const { return _name; }        ///< file name
    int getFrameCount() const { return _frameCount; }    ///< frames that can be read now
    std::string getPath() const { return _path; }        ///< full path
    qint64 getRecordedAt() const { return _recordedAt; } ///< order of recording: nanoseconds since 1970

    bool isClosed() const { return _closed; } ///< false: it grows, or a crash left it behind

    friend bool operator==(const Clip &, const Clip &) = default;

private:
    std::string _name;
    std::string _path;
    int _frameCount = 0;
    qint64 _recordedAt = 0;
    bool _closed = true;
};

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxroomtogrow.h"

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
    int frames() const { return _frameCount; }           ///< that can be read now
    std::string getPath() const { return _path; }        ///< full path
    qint64 getRecordedAt() const { return _recordedAt; } ///< order of recording: nanoseconds since 1970

    /// The length it has in a list that is played: while it grows there is room for more than can be read
    /// now.
    int getFrameCount() const { return _closed || _frameCount <= 0 ? _frameCount : qmxRoomToGrow; }

    bool isClosed() const { return _closed; } ///< false: it grows, or a crash left it behind

    friend bool operator==(const Clip &, const Clip &) = default;

private:
    std::string _name;
    std::string _path;
    int _frameCount = 0;
    qint64 _recordedAt = 0;
    bool _closed = true;
};

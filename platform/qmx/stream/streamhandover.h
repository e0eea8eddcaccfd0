// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxframe.h"

#include <QString>

#include <deque>

class StreamPair;

/// The writing half of a cache: frames on their way to the writer, which stay here only while its queue has
/// no room. Event loop only.
class StreamHandOver
{
public:
    explicit StreamHandOver(const QmxEnvironment &environment) : _environment(environment) {}

    /// A stream is being opened for writing: what was before is forgotten.
    void begin();

    void write(const QmxFrame &frame, const QString &path);
    /// A frame came although there is no room.
    void drop(const QString &path);
    /// Gives the writer what it has room for, or everything.
    void give(StreamPair *writer, bool all);
    /// The medium has failed: nothing is taken any more.
    void fail();

    int waiting() const { return int(_waiting.size()); }
    bool isFull(int size) const { return _failed || waiting() >= size; }
    /// Frames written since the open.
    int accepted() const { return _accepted; }

private:
    const QmxEnvironment _environment;
    std::deque<QmxFrame> _waiting;
    int _accepted = 0;
    qint64 _dropped = 0;
    bool _failed = false;
};

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/streamreader.h"

#include "platform/qmx/core/qmxtaskthread.h"
#include "platform/qmx/stream/streamreaderstate.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace {
constexpr int maximumRequests = 64;
} // namespace

StreamReader::StreamReader(const StreamReaderSource &source, const Events &events,
                           const QmxEnvironment &environment)
    : _state(std::make_shared<State>(source, events, environment)),
      _thread(std::make_unique<QmxTaskThread>(QStringLiteral("qmx-read"), QmxTaskThread::defaultBound,
                                              environment))
{
    if (!source.isList) return;
    _opener =
        std::make_shared<QmxTaskThread>(QStringLiteral("qmx-open"), QmxTaskThread::defaultBound, environment);
    _state->opener = _opener;
}

StreamReader::~StreamReader()
{
    bool done = false;
    {
        const std::lock_guard lock(_state->mutex);
        done = _state->done;
        _state->closeAsked = true; // a thread that is left behind ends at its next step
    }
    // The event loop does not wait for a file: threads in the middle of something end by themselves.
    if (!done) _thread->abandon();
    if (_opener && _opener->pending() > 0) _opener->abandon();
}

/// With the state's mutex held.
void StreamReader::schedule()
{
    if (_state->scheduled || _state->done) return;
    _state->scheduled = _thread->post([state = _state] { state->run(); });
}

void StreamReader::open()
{
    {
        const std::lock_guard lock(_state->mutex);
        _state->openAsked = true;
        schedule();
        if (_state->scheduled) return;
        _state->done = true;
    }
    _state->events.opened(
        {EAGAIN, QStringLiteral("It cannot be played: the system has no thread to read it")}, {});
}

void StreamReader::close()
{
    const std::lock_guard lock(_state->mutex);
    _state->closeAsked = true;
    schedule();
}

bool StreamReader::read(int frame, int request, void *user)
{
    const std::lock_guard lock(_state->mutex);
    if (int(_state->requests.size()) >= maximumRequests) return false;
    _state->requests.push_back({frame, request, user});
    schedule();
    return true;
}

void StreamReader::want(const QList<int> &frames)
{
    const std::lock_guard lock(_state->mutex);
    _state->wishes.clear();
    for (const int frame : frames) {
        if (frame == _state->reading) continue;
        const bool waits =
            std::any_of(_state->results.cbegin(), _state->results.cend(), [frame](const Result &result) {
                return result.frame == frame && result.request == 0;
            });
        if (!waits) _state->wishes.append(frame);
    }
    if (!_state->wishes.isEmpty()) schedule();
}

QList<StreamReader::Result> StreamReader::takeResults()
{
    const std::lock_guard lock(_state->mutex);
    return std::exchange(_state->results, {});
}

int StreamReader::pending() const
{
    const std::lock_guard lock(_state->mutex);
    return int(_state->requests.size()) + int(_state->wishes.size()) + (_state->reading >= 0 ? 1 : 0);
}

qint64 StreamReader::busySince() const
{
    const std::lock_guard lock(_state->mutex);
    return _state->done ? 0 : _state->busySince;
}

int StreamReader::length() const
{
    return _state->length;
}

bool StreamReader::isGrowing() const
{
    return _state->growing;
}

void StreamReader::refresh()
{
    const std::lock_guard lock(_state->mutex);
    _state->refreshAsked = true;
    schedule();
}

QmxMetadataHash StreamReader::meta(int frame) const
{
    return _state->meta(frame);
}

int StreamReader::frameAt(const QmxTimecode &timecode) const
{
    const std::optional<QmxClipInfo> info = _state->entries.info(0);
    if (!info || info->frames == 0) return 0;
    if (const auto frame = QmxClipPart::frameAt(*info, timecode.toString())) return int(*frame);
    const QmxTimecode last = info->timecodeAt(info->frames - 1);
    return last.isValid() && timecode.toFrameNumber() > last.toFrameNumber() ? int(info->frames) - 1 : 0;
}

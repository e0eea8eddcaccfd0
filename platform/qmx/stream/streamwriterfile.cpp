// SPDX-License-Identifier: GPL-3.0-or-later
// What the writer's thread does with the clip.
#include "platform/qmx/stream/streamwriter.h"

#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxloglevel.h"

#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <utility>

using namespace std::chrono_literals;

namespace {
constexpr const char *logSource = "streamwriter";
} // namespace

/// Ends as unfinished copies do: whoever looks after the media takes away what a crash has left.
QString StreamWriter::hiddenPath() const
{
    const QFileInfo file(_path);
    return QStringLiteral("%1/.next-%2.part").arg(file.path(), file.fileName());
}

void StreamWriter::openFile()
{
    QmxError error = _tally->claim(_copy, _path);
    auto file = std::make_unique<QmxClipWriter>(_environment);
    if (!error.isError() && _ahead) {
        _environment.files->unlink(hiddenPath()); // of a take that a crash has ended
        struct stat64 status = {};
        if (_environment.files->stat(_path, &status) == 0)
            error = {EEXIST, QStringLiteral("%1 is there already").arg(_path)};
    }
    if (!error.isError()) error = file->create(_ahead ? hiddenPath() : _path, _info);
    if (error.isError()) _tally->leave(_copy);
    {
        const std::lock_guard lock(_mutex);
        if (error.isError()) {
            const auto waited = qint64(_queue.size());
            dropQueue();
            if (_dropped > 0 && waited > 0)
                error = {error.value(), QStringLiteral("%1; %2 frames that waited for it are lost")
                                            .arg(error.toString(), QString::number(waited))};
            _done = true;
            _scheduled = false;
        } else {
            _writer = std::move(file);
        }
    }
    if (error.isError()) {
        _doneChanged.notify_all();
    } else {
        _emergency = _environment.deck->operations.addEmergencyFlush([this, weak = weak_from_this()] {
            if (const std::shared_ptr<StreamActor> self = weak.lock()) flushAtOnce();
        });
    }
    tell([this, error] { _events.opened(error); });
}

void StreamWriter::beginClip()
{
    QmxClipInfo wanted;
    {
        const std::lock_guard lock(_mutex);
        wanted = _info;
        _ahead = false;
    }
    const QmxError error = _writer->take(_path, wanted);
    if (error.isError()) fail(error);
}

void StreamWriter::writeFrame(const QmxFrame &frame, qint64 since)
{
    const qint64 begin = _environment.clock->now();
    // What did not come is not in the clip either, whatever stands in its place.
    if (const int damage = frame.meta().value(QmxIds::inputDamage).toInt(); damage > 0)
        _writer->noteLost(damage);
    const QmxError error = _writer->writeFrame(frame);
    const qint64 end = _environment.clock->now();
    {
        const std::lock_guard lock(_mutex);
        _queuedBytes -= frame.bytes();
        _writing = 0;
    }
    if (error.isError()) {
        if (_writer->failed()) {
            _tally->leave(_copy);
            // What no flush has reached is lost with it.
            _tally->lose(_copy, 1 + _writer->framesWritten() - _writer->framesDurable());
            fail(error);
        } else {
            _writer->noteLost(1);
            _tally->refuse(_copy);
            if (_tally->speaks(_copy)) tell([this, error] { _events.failed(error, false); });
        }
    } else {
        if (_unflushed++ == 0) _firstUnflushed = since;
        _latency.add(QmxClock::Duration(end - begin));
        if (*_measured && _tally->speaks(_copy))
            tell([this, took = QmxClock::Duration(end - begin)] { _events.wrote(took); });
    }
    frameLeft();
}

void StreamWriter::flushFile()
{
    const qint64 begin = _environment.clock->now();
    const QmxError error = _writer->flush();
    _lastFlush = _environment.clock->now();
    const QmxClock::Duration took(_lastFlush - begin);
    _latency.add(took);
    constexpr double forgets = 0.8; // a slow one is expected again for a while
    _flushTakes = std::max(took, std::chrono::duration_cast<QmxClock::Duration>(_flushTakes * forgets));
    const qint64 lost = std::exchange(_unflushed, 0);
    if (error.isError()) {
        // They were written and are not on the medium for all anybody knows.
        _tally->leave(_copy);
        _tally->lose(_copy, lost);
        if (error.value() == ENOENT) _tally->setDurable(_copy, 0); // the whole clip is gone
        fail(error);
        return;
    }
    _tally->setDurable(_copy, _writer->framesDurable());
    _tally->set(_copy, QmxCounters::WriteLatencyP50, _latency.percentile(0.50) / 1us);
    _tally->set(_copy, QmxCounters::WriteLatencyP99, _latency.percentile(0.99) / 1us);
    _tally->set(_copy, QmxCounters::WriteLatencyMax, _latency.maximum() / 1us);
    if (_events.level) tellLevel();
}

void StreamWriter::tellLevel()
{
    struct statfs64 medium = {};
    if (_environment.files->statfs(QFileInfo(_path).path(), &medium) != 0 || medium.f_blocks == 0) return;
    const int percent = int(std::round(double(medium.f_bfree) / double(medium.f_blocks) * 100.0));
    tell([this, percent] { _events.level(percent); });
}

void StreamWriter::closeFile()
{
    QmxError error;
    qint64 lost = 0;
    _emergency.reset();
    if (_writer) {
        _mutex.lock();
        const bool wasFailed = _failed;
        _mutex.unlock();
        const qint64 frames = _writer->framesWritten();
        error = _writer->close();
        if (!error.isError() && !wasFailed) _tally->setDurable(_copy, frames);
        if (wasFailed) error = {}; // it has been told
    }
    {
        const std::lock_guard lock(_mutex);
        setSlow(false);
        lost = _dropped;
        _done = true;
        _scheduled = false;
    }
    _doneChanged.notify_all();
    if (lost > 0)
        qmxLogOutput(QmxLogLevel::Error, logSource, __LINE__,
                     "%lld frames came after the medium of %s had failed\n", static_cast<long long>(lost),
                     qPrintable(_path));
    tell([this, error] { _events.closed(error); });
}

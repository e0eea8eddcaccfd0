// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/pictureworkers.h"

#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxthreadname.h"

#include <QString>

#include <algorithm>

template <class Coder>
Coder *CodecContexts::find(std::deque<Entry<Coder>> &entries, const QmxImageDesc &desc)
{
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [&](const Entry<Coder> &entry) { return entry.desc == desc; });
    if (found == entries.end()) return nullptr;
    std::rotate(entries.begin(), found, found + 1);
    return entries.front().coder.get();
}

QmxVideoEncoder *CodecContexts::encoder(const QmxImageDesc &desc)
{
    if (QmxVideoEncoder *known = find(_encoders, desc)) return known;
    const QmxCodecRow *row = _lookup(desc.dataType());
    if (!row || !row->createEncoder) return nullptr;
    _encoders.push_front({desc, row->createEncoder(desc)});
    if (_helpers && _encoders.front().coder) _encoders.front().coder->setHelpers(_helpers);
    if (_encoders.size() > kept) _encoders.pop_back();
    return _encoders.front().coder.get();
}

QmxVideoDecoder *CodecContexts::decoder(const QmxImageDesc &desc)
{
    if (QmxVideoDecoder *known = find(_decoders, desc)) return known;
    const QmxCodecRow *row = _lookup(desc.dataType());
    if (!row || !row->createDecoder) return nullptr;
    _decoders.push_front({desc, row->createDecoder(desc)});
    if (_helpers && _decoders.front().coder) _decoders.front().coder->setHelpers(_helpers);
    if (_decoders.size() > kept) _decoders.pop_back();
    return _decoders.front().coder.get();
}

PictureWorkers::PictureWorkers(int threads, const CodecLookup &lookup, const QmxEnvironment &environment)
    : _clock(environment.clock), _lookup(lookup), _shared(threads, _mutex, _wake)
{
    for (int i = 0; i < threads; ++i) {
        std::thread thread;
        const QmxError error = environment.threads->start(
            QStringLiteral("lumen-work-%1").arg(i), [this] { run(); }, thread);
        if (error.isError()) { // fewer of them do it slower
            qmxLogText(QmxLogLevel::Error, "pictureworkers", __LINE__, error.toString());
            break;
        }
        _threads.push_back(std::move(thread));
        std::lock_guard lock(_mutex);
        ++_free;
    }
}

PictureWorkers::~PictureWorkers()
{
    std::deque<Job> dropped;
    {
        std::lock_guard lock(_mutex);
        _stop = true;
        dropped.swap(_jobs);
        holdTime();
    }
    _wake.notify_all();
    for (std::thread &thread : _threads)
        _clock->join(thread, [this] {
            std::lock_guard lock(_mutex);
            return _ended == threads();
        });
}

/// With the mutex held, whenever what it looks at has changed.
void PictureWorkers::holdTime()
{
    if (_free == 0 || (_jobs.empty() && !_stop))
        _handover.reset();
    else if (!_handover)
        _handover = _clock->busy();
}

bool PictureWorkers::post(Job job)
{
    {
        std::lock_guard lock(_mutex);
        if (_stop || _jobs.size() >= bound) return false;
        _jobs.push_back(std::move(job));
        holdTime();
    }
    _wake.notify_one();
    return true;
}

void PictureWorkers::prepareEncoder(const QmxImageDesc &desc)
{
    {
        std::lock_guard lock(_mutex);
        _prepare = desc;
        ++_prepareNumber;
    }
    _wake.notify_all();
}

void PictureWorkers::run()
{
    qmxYieldToEventLoop();
    CodecContexts contexts(_lookup, &_shared);
    int prepared = 0;
    std::shared_ptr<void> sleeper; // while it has a job
    std::unique_lock lock(_mutex);
    while (true) {
        sleeper.reset();
        _shared.setIdle(true);
        _wake.wait(lock, [&] {
            return _stop || !_jobs.empty() || _shared.isWanted() || prepared != _prepareNumber;
        });
        _shared.setIdle(false);
        if (_stop) break;
        if (!_jobs.empty()) {
            sleeper = _clock->addSleeper();
            Job job = std::move(_jobs.front());
            _jobs.pop_front();
            --_free;
            holdTime();
            lock.unlock();
            job(contexts);
            job = nullptr; // what it holds goes before it counts as done
            lock.lock();
            ++_free;
            holdTime();
        } else if (_shared.isWanted()) {
            _shared.help(lock);
        } else {
            const QmxImageDesc desc = _prepare;
            prepared = _prepareNumber;
            lock.unlock();
            contexts.encoder(desc);
            lock.lock();
        }
    }
    --_free;
    holdTime();
    ++_ended;
}

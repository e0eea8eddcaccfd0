// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxpictureconverter.h"
#include "platform/qmx/codec/qmxvideocodec.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxprioritymutex.h"
#include "platform/qmx/device/sharedwork.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

using CodecLookup = std::function<const QmxCodecRow *(const QmxId &dataType)>;

/// The codec contexts of one worker: the few used last, so that a cut between two formats costs no new one.
class CodecContexts
{
public:
    /// Coders may be helped with a picture that is waited for; null: by nobody.
    explicit CodecContexts(const CodecLookup &lookup, QmxHelpers *helpers = nullptr)
        : _lookup(lookup), _helpers(helpers)
    {}

    /// Null when the data type cannot be coded, or not in this format.
    QmxVideoEncoder *encoder(const QmxImageDesc &desc);
    QmxVideoDecoder *decoder(const QmxImageDesc &desc);
    const QmxCodecRow *row(const QmxId &dataType) const { return _lookup(dataType); }
    QmxPictureConverter &converter() { return _converter; }
    QmxHelpers *helpers() const { return _helpers; }

private:
    static constexpr size_t kept = 4;
    template <class Coder>
    struct Entry
    {
        QmxImageDesc desc;
        std::unique_ptr<Coder> coder;
    };
    template <class Coder>
    static Coder *find(std::deque<Entry<Coder>> &entries, const QmxImageDesc &desc);

    CodecLookup _lookup;
    QmxHelpers *_helpers;
    QmxPictureConverter _converter;
    std::deque<Entry<QmxVideoEncoder>> _encoders; ///< used last first
    std::deque<Entry<QmxVideoDecoder>> _decoders;
};

/// The threads that code, decode and process pictures ("lumen-work-N"). Jobs start in the order in which they
/// were posted and end in any; workers without a job help others with large pictures. Who posts keeps the
/// queue bounded by posting only what it has room for; a hard bound refuses. post() and prepareEncoder() any
/// thread; the destructor drops the jobs that have not begun and joins.
class PictureWorkers
{
public:
    using Job = std::function<void(CodecContexts &contexts)>;
    static constexpr size_t bound = 2048;

    PictureWorkers(int threads, const CodecLookup &lookup, const QmxEnvironment &environment);
    ~PictureWorkers();
    PictureWorkers(const PictureWorkers &) = delete;
    PictureWorkers &operator=(const PictureWorkers &) = delete;

    /// False when the queue is full or ends. On a stepped clock the time stands still until the job is done,
    /// but for what it sleeps; what waits behind jobs that sleep waits as long.
    bool post(Job job);
    /// Every worker makes an encoder of this format when it is idle, before the first frame needs it.
    void prepareEncoder(const QmxImageDesc &desc);
    int threads() const { return int(_threads.size()); }

private:
    void run();
    void holdTime();

    std::shared_ptr<QmxClock> _clock;
    CodecLookup _lookup;
    QmxPriorityMutex _mutex;
    std::condition_variable_any _wake;
    std::deque<Job> _jobs;
    int _free = 0;                   ///< workers without one
    std::shared_ptr<void> _handover; ///< busy token while a job, or the end, waits for one of them
    int _ended = 0;
    SharedWork _shared;
    QmxImageDesc _prepare;
    int _prepareNumber = 0;
    bool _stop = false;
    std::vector<std::thread> _threads;
};

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxtaskthread.h"
#include "platform/qmx/edges/qmxoutputoptions.h"
#include "platform/qmx/edges/qmxsink.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

/// One output in one format: coders and container, from open to close. All calls block, one thread; the
/// destructor finishes the file or stream.
class QmxMuxer
{
public:
    virtual ~QmxMuxer();
    virtual QmxError write(const QmxOutputFrame &frame) = 0;
    static constexpr QLatin1String windowScheme{"window:"};
    /// `interrupted` is asked inside blocking calls; true ends them with an error. `format` is asked once,
    /// and of an address that listens only when the caller is there.
    static std::unique_ptr<QmxMuxer> open(const QmxOutputOptions &options,
                                          const std::function<QmxImageDesc()> &format,
                                          const std::atomic<bool> &interrupted, QmxError *error);
};

/// Sends the output to a file (container by its ending) or as an MPEG transport stream to a network
/// address: H.264 and AAC, or what the keys of the address ask for, with the first two channels of sound, or
/// more in tracks of two; or shows it in a window of this machine's desktop ("window:TITLE"), without sound.
///
/// Another format of the output begins the stream anew, and a new file ("NAME_2.ts"). After an error the
/// output is opened again two seconds later.
///
/// An address that listens ("srt://:9000?mode=listener") waits for a caller, and when that one has gone for
/// the next: nobody watching is no problem, and what nobody could see is not dropped. The caller gets the
/// output from the moment of its call on.
///
/// Threads: show() only posts a handle; "qmx-output" codes and writes. Its queue holds eight frames; when
/// it is full the newest one is dropped and counted.
class QmxMuxSink : public QmxSink
{
public:
    QmxMuxSink(const QString &url, const QmxEnvironment &environment);
    ~QmxMuxSink() override;

    void show(const QmxOutputFrame &frame) override;
    qint64 dropped() const override { return _dropped; }
    QString statusText() const override;
    QString problem() const override;

private:
    void write(const QmxOutputFrame &frame);
    void open(const QmxOutputFrame &frame);
    void setStatus(const QString &status, bool good);
    QmxImageDesc newestFormat() const;

    const QmxOutputOptions _options;
    const QString _name; ///< without what may be secret
    const bool _isFile;
    // The thread's.
    std::unique_ptr<QmxMuxer> _muxer;
    QmxImageDesc _desc;
    int _opened = 0;
    qint64 _retryAt = 0;   ///< deadline of the tick from which on it is tried again
    qint64 _notBefore = 0; ///< index of the first tick that a caller gets

    std::atomic<bool> _stopping = false;
    std::atomic<bool> _waiting = false; ///< for a caller
    std::atomic<qint64> _newest = 0;    ///< index of the last tick shown
    std::atomic<qint64> _dropped = 0;
    std::atomic<qint64> _written = 0;
    mutable std::mutex _mutex;
    QmxImageDesc _newestDesc; ///< under _mutex: of the last frame shown that had one
    QString _status;          ///< under _mutex
    bool _good = true;        ///< under _mutex
    QmxTaskThread _thread;    ///< last: ends before what it uses
};

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/qmxstreamsession.h"

#include "platform/qmx/core/qmxnextclip.h"

#include <QFileInfo>

namespace {
/// So that a picture is on the medium half a second after it was written, also when no other follows.
constexpr int flushIntervalMs = 400;
/// A look costs two small reads of what lies in memory; each tick of it is one more behind the recorder.
constexpr int growthIntervalMs = 40;
constexpr int watchIntervalMs = 500;
/// A disk that wakes up takes some seconds; nothing that answers takes longer.
constexpr qint64 stallTime = 3 * QmxClock::nsPerSecond;
} // namespace

QString QmxStreamAsk::what() const
{
    return source.isList ? QStringLiteral("a play list of %1 clips").arg(source.entries.size()) : path();
}

QStringList QmxStreamAsk::paths() const
{
    QStringList paths{path()};
    if (!mirrorFolder.isEmpty()) paths.append(mirrorFolder + "/" + QFileInfo(path()).fileName());
    return paths;
}

QmxStreamSession::QmxStreamSession(const QmxStreamAsk &ask, QObject *home, Receiver *receiver,
                                   std::shared_ptr<std::atomic<bool>> benchmark,
                                   const QmxEnvironment &environment)
    : _ask(ask), _post(home), _receiver(receiver), _clock(environment.clock)
{
    if (ask.writes)
        makeWriter(environment, benchmark);
    else
        makeReader(environment);
}

QmxStreamSession::~QmxStreamSession()
{
    _post.detach();
}

void QmxStreamSession::makeWriter(const QmxEnvironment &environment,
                                  const std::shared_ptr<std::atomic<bool>> &benchmark)
{
    StreamPair::Events events;
    events.opened = [this](const QmxError &error) {
        _fileOpen = !error.isError();
        if (_fileOpen) _timer.start(flushIntervalMs);
        _receiver->sessionOpened(this, error, {});
    };
    events.closed = [this](const QmxError &error) {
        if (error.isError()) _receiver->sessionFailed(this, error, false);
        _receiver->sessionClosed(this);
    };
    events.done = [this] { _receiver->sessionClosed(this); };
    events.failed = [this](const QmxError &error, bool fatal) {
        _receiver->sessionFailed(this, error, fatal);
    };
    events.lost = [this](const QmxError &why, const QString &left) { _receiver->sessionLostCopy(why, left); };
    events.room = [this] { _receiver->sessionRoom(this); };
    // On the writer's thread, which may outlive this session: it holds the post, which goes deaf.
    events.wrote = [this, post = _post, benchmark](qint64 microseconds) {
        if (*benchmark) post.post([this, microseconds] { _receiver->sessionWrote(microseconds); });
    };
    if (QmxNextClip::instance()->isNamed())
        events.level = [this](int percent) { _receiver->sessionLevel(this, percent); };
    _writer = std::make_unique<StreamPair>(_ask.paths(), _ask.clip, events, _post, environment);
    QObject::connect(&_timer, &QTimer::timeout, &_timer, [this] { _writer->flush(); });
}

void QmxStreamSession::makeReader(const QmxEnvironment &environment)
{
    StreamReader::Events events;
    events.opened = [this, post = _post](const QmxError &error, const QmxStreamInfo &info) {
        post.post([this, error, info] {
            _fileOpen = !error.isError();
            if (_reader->isGrowing()) _timer.start(growthIntervalMs);
            if (!error.isError()) _watch.start(watchIntervalMs);
            _receiver->sessionOpened(this, error, info);
        });
    };
    events.closed = [this, post = _post] { post.post([this] { _receiver->sessionClosed(this); }); };
    events.results = [this, post = _post] { post.post([this] { _receiver->sessionResults(this); }); };
    events.grown = [this, post = _post](const QString &ended) {
        post.post([this, ended] { _receiver->sessionGrown(this, ended); });
    };
    _reader = std::make_unique<StreamReader>(_ask.source, events, environment);
    QObject::connect(&_watch, &QTimer::timeout, &_watch, [this] { watchReader(); });
    QObject::connect(&_timer, &QTimer::timeout, &_timer, [this] {
        if (_reader->isGrowing())
            _reader->refresh();
        else
            _timer.stop();
    });
}

void QmxStreamSession::watchReader()
{
    const qint64 since = _reader->busySince();
    const bool stalled = since > 0 && _clock->now() - since > stallTime;
    if (stalled == _stalled) return;
    _stalled = stalled;
    _receiver->sessionStalled(this, stalled);
}

void QmxStreamSession::open()
{
    if (_writer)
        _writer->open();
    else
        _reader->open();
}

void QmxStreamSession::begin(const QmxStreamAsk &ask)
{
    _ask = ask;
    _writer->begin(ask.clip);
}

void QmxStreamSession::close()
{
    _timer.stop();
    _watch.stop();
    if (_writer)
        _writer->close();
    else
        _reader->close();
}

void QmxStreamSession::abandon()
{
    _timer.stop();
    _watch.stop();
    _post.detach();
    if (_writer) _writer->abandon();
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/streamactor.h"

StreamActor::StreamActor(const QString &thread, QObject *listener, const QmxEnvironment &environment)
    : _environment(environment),
      _listener(listener),
      _thread(std::make_unique<QmxTaskThread>(thread, QmxTaskThread::defaultBound, environment))
{}

void StreamActor::Release::operator()(StreamActor *)
{
    actor->deafen();
    actor->end();
    actor.reset();
}

void StreamActor::schedule()
{
    if (_scheduled || _done || !_thread) return;
    _scheduled = _thread->post([self = shared_from_this()] {
        while (self->step()) {}
    });
}

bool StreamActor::askToOpen()
{
    const std::lock_guard lock(_mutex);
    _openAsked = true;
    schedule();
    _done = !_scheduled;
    return _scheduled;
}

void StreamActor::close()
{
    const std::lock_guard lock(_mutex);
    _closeAsked = true;
    schedule();
}

void StreamActor::leaveThread(bool hangs)
{
    if (_thread && hangs) _thread->abandon();
    _thread.reset();
}

void StreamActor::deafen()
{
    const std::lock_guard lock(_mutex);
    _listener = nullptr;
}

void StreamActor::tell(std::function<void()> what)
{
    const std::lock_guard lock(_mutex);
    if (!_listener) return;
    QMetaObject::invokeMethod(
        _listener,
        [self = shared_from_this(), what = std::move(what)] {
            if (self->_listener) what();
        },
        Qt::QueuedConnection);
}

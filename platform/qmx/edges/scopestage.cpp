// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/scopestage.h"

#include "platform/qmx/core/qmxthreadname.h"

namespace {
constexpr int everyTicks = 4;
}

ScopeStage::ScopeStage(const QString &preview, const QmxEnvironment &environment)
    : _writer(QmxScopes::nameBeside(preview)),
      _asked(_writer.asked()),
      _thread(QStringLiteral("qmx-scopes"), 1, environment)
{
    _thread.post(qmxYieldToEventLoop);
}

void ScopeStage::offer(const QmxOutputFrame &frame)
{
    const qint64 tick = frame.tick.index;
    if (const quint64 asked = _writer.asked(); asked != _asked) {
        _asked = asked;
        _until = tick + QmxScopesReader::askedForTicks;
    }
    if (tick > _until || tick < _next || !frame.picture.isValid() || _thread.pending() > 0) return;
    _next = tick + everyTicks;
    const bool isSmaller = frame.picture.width() < frame.desc.width();
    const int lines = isSmaller ? frame.desc.height() : frame.picture.height();
    _thread.post([this, picture = frame.picture, lines, tick] {
        _scopes->tick = tick;
        QmxScopes::measure(picture, lines, *_scopes);
        _writer.write(*_scopes);
    });
}

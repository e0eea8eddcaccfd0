// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxtaskthread.h"
#include "platform/qmx/edges/qmxfullpicture.h"
#include "platform/qmx/edges/qmxloudness.h"
#include "platform/qmx/edges/qmxpreview.h"
#include "platform/qmx/edges/qmxsink.h"
#include "platform/qmx/edges/scopestage.h"

#include <atomic>

/// The output that is always there: picture, meters and timecode in shared memory.
///
/// Threads: show() only posts a handle; "qmx-preview" reduces the picture and publishes it. Its queue holds
/// three frames; when it is full the newest one is dropped and counted.
class QmxPreviewSink : public QmxSink
{
public:
    QmxPreviewSink(const QString &name, const QmxEnvironment &environment);
    ~QmxPreviewSink() override;

    void show(const QmxOutputFrame &frame) override;
    qint64 dropped() const override { return _dropped; }
    QString statusText() const override;
    /// As small as the preview is. While somebody looks at the scopes no smaller than they can be measured
    /// on, and whole of what stands; whole while somebody looks at the full picture.
    int divisor(const QmxImageDesc &desc, bool stands) const override;
    int coarsest(const QmxImageDesc &desc) const override;

    /// A picture reduced by a whole factor until it fits, as 8-bit 4:2:0. Without picture: black.
    static void reduce(const QmxPicture &picture, QmxPreviewPicture &preview);

private:
    void publish(const QmxOutputFrame &frame);

    QString _name;
    QmxPreviewWriter _writer; ///< the thread's, as are the next six
    ScopeStage _scopes;
    QmxFullPictureWriter _full;
    QmxLoudness _loudness;
    QmxPreviewPicture _preview;
    QmxPicture _reduced; ///< what _preview shows
    QmxImageDesc _desc;
    std::atomic<qint64> _dropped = 0;
    quint64 _fullAsked = 0, _scopesAsked = 0; ///< how often; of whoever shows
    std::atomic<qint64> _tick = 0;
    std::atomic<qint64> _fullUntil = -1, _scopesUntil = -1; ///< tick that the last time counts up to
    QmxTaskThread _thread;                                  ///< last: ends before what it uses
};

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxframe.h"
#include "platform/qmx/stream/qmxstream.h"
#include "platform/qmx/stream/qmxstreaminfo.h"

#include <QObject>

/// Loads one frame of a clip and keeps it until it is cleared or replaced.
///
/// Event loop only; the disk work is the stream's and answers through signals.
class SingleFrame : public QObject
{
    Q_OBJECT

public:
    SingleFrame();

    /// Starts loading frame `index` of the clip at `path`; what was held is forgotten at once, a load in
    /// progress is abandoned. Answers with ready() or failed(). Returns whether the open has started.
    bool load(int index, const QString &path);
    /// Forgets the frame.
    void clear();
    /// The frame held; empty when there is none.
    QmxFrame frame() const { return _frame; }

signals:
    void ready();
    void failed();

public slots:
    void openIsDone(int request, const QmxError &error);
    void readIsDone(int number, const QmxFrame &frame, const QmxError &error, void *user);

private:
    bool _valid = false;
    int _index = -1;
    QmxFrame _frame;
    QmxStreamInfo _info;
    QmxStream *_stream; // child
};

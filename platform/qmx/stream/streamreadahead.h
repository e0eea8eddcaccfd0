// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxalarm.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxframe.h"
#include "platform/qmx/core/qmxstartorder.h"
#include "platform/qmx/stream/qmxstreamcadence.h"
#include "platform/qmx/stream/streamaxis.h"
#include "platform/qmx/stream/streamliveedge.h"
#include "platform/qmx/stream/streamreader.h"

#include <QHash>
#include <QTimer>

#include <functional>
#include <limits>
#include <optional>

class QmxStream;

/// The reading half of a cache: where it stands, the frames held around that place, and what is asked for
/// next. Event loop only.
class StreamReadAhead
{
public:
    /// `ready` is called when there is something new to look at, and may be called again before it is told.
    StreamReadAhead(const QmxEnvironment &environment, std::function<void()> ready);

    void setStream(QmxStream *stream) { _stream = stream; }
    void setSize(int frames);
    int size() const { return _size; }
    void setSpeed(double speed);

    /// The stages of an open, see QmxStreamPeer; closed() also at its end.
    void begin();
    void opened();
    void openFailed();
    void openDelivered();
    void closed();
    void forgetSeek() { _kept.reset(); }

    bool isReading() const;
    int position() const { return _cadence.position(axis()); }
    bool isBeforeStart() const { return isReading() && position() < first(); }
    /// A clip that grows has no end yet: behind its last frame one waits for the next.
    bool isBehindEnd() const
    {
        const StreamAxis here = axis();
        return isReading() && position() >= here.end() && !here.growsAtEnd();
    }
    /// Unless a stream is open for reading it is kept until one is.
    void seek(int frame) { seek({frame, false}); }
    void seekToFirstFrame() { seek({first(), false}); }
    void seekToLastFrame() { seek({0, true}); }

    /// Loaded frames from the position on, as far as they may be played now.
    int loaded();
    QmxFrame peek() const;
    QmxFrame read();

    /// Takes what the reader has brought; gives the first of each run of frames that could not be read.
    QList<StreamReader::Result> take(const QList<StreamReader::Result> &results);
    /// The clip has become longer, or its end has become real.
    void grown();

private:
    struct Seek
    {
        int frame = 0;
        bool toLast = false;
    };
    static constexpr int defaultSize = 25;

    void seek(const Seek &to);
    /// The bounds of what is played: those of the part, if it is one.
    int first() const { return _part ? int(_part->first) : _axis.first(); }
    StreamAxis axis() const { return _part ? _axis.upTo(int(qMin<qint64>(_part->end, _axis.end()))) : _axis; }
    int last() const { return _axis.advanced(_axis.end(), -1); }
    void apply(const QmxStartOrder &order);
    bool joinLive();
    bool isLeftBehind() const;
    bool joinAgain();
    int liveFrame(double seconds) const;
    void go(int frame);
    int inDevice() const;
    void tellLength();
    void beAtEdge();
    void growEdge(bool isDry);
    int window() const;
    void moved();
    void fill();
    void postAlarm(QmxAlarm::AlarmLevel level, const QString &text);
    void dropFar(const QList<int> &upcoming);

    const QmxEnvironment _environment;
    std::function<void()> _ready;
    QmxStream *_stream = nullptr;
    int _size = defaultSize;
    QmxStreamCadence _cadence;
    double _speed = 1.0; ///< asked for; the cadence has another one at the end of a clip that grows
    StreamLiveEdge _edge;
    /// Where playback was sent to be near the newest frame, and how many seconds behind it: it begins as near
    /// to that as it is then.
    struct Live
    {
        int frame = 0;
        double seconds = 0;
    };
    std::optional<Live> _live;
    std::optional<double> _follows; ///< plays so many seconds behind the newest frame, until somebody seeks
    std::optional<QmxStartOrder> _part; ///< playback is held in its bounds
    StreamAxis _axis{std::numeric_limits<int>::max()};
    int _edgeBehind = 0; ///< which end play runs into from here: StreamAxis::Edge::behind; 0: none that grows
    std::optional<Seek> _kept;
    QHash<int, QmxFrame> _frames;
    qint64 _largestFrame = 0;
    quint64 _origin = 0;
    QTimer _soughtFirst;       ///< what lies behind the frame sought is not read yet
    bool _inBadRun = false;    ///< the frame before could not be read
    bool _alarmRaised = false; ///< for a frame of this stream
};

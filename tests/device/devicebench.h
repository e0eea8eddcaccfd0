// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/device/lumenoptions.h"
#include "platform/qmx/device/qmxvideodevice.h"

#include <QStringList>

#include <functional>
#include <memory>
#include <mutex>
#include <thread>

/// The edges of the card under test: a source that a script drives, a sink that remembers, a codec whose
/// coded bytes are the number of the picture. Pictures are tiny; their first sample is their number.
struct BenchEdges
{
    /// What input 601 gives at a tick; any other input gives nothing.
    std::function<QmxSourceFrame(const QmxTick &tick)> script;
    int failCoding = -1; ///< number of a picture that cannot be coded
    int failDecoding = -1;
    QList<int> damagedDecoding;
    int created = 0;       ///< sources made so far
    std::thread::id ended; ///< where the source of nothing ended last

    std::mutex mutex;
    QList<QmxOutputFrame> shown;
    QList<int> decoded; ///< numbers in the order of decoding
    QList<int> coded;
};

/// A device on the stepped clock with those edges, and a record of its signals.
class DeviceBench
{
public:
    /// `text`: a profile.
    explicit DeviceBench(const QString &text = QString());
    ~DeviceBench();

    /// What the device is made of.
    LumenOptions options(const QString &text = QString()) const;
    /// Of a card with real edges: what it shows is kept.
    static LumenOptions keeping(const std::shared_ptr<BenchEdges> &edges, const QString &profile);
    static QmxImageDesc format(int rate = 25, int scanMode = 0);
    /// Captures input 601; `mode` 1 plays.
    static QmxVideoDeviceSetup setupFor(const QmxImageDesc &desc, int channels = 2, int mode = 2);
    static QmxVideoDeviceSetup captureSetup(int rate = 25);
    static QmxVideoDeviceSetup playbackSetup(int rate = 25);
    /// A good input: picture and timecode `number` of the tick.
    static QmxSourceFrame good(const QmxTick &tick, int rate = 25);
    static QmxPicture picture(int number);
    static int numberOf(const QmxPicture &picture);
    static int numberOf(const QmxFrame &frame);

    /// Sets up and lets the set-up be done, without letting time pass.
    void setup(const QmxVideoDeviceSetup &setup);
    void setRecord(bool on);
    /// A frame to play: the same number is the same frame. Timecode and key 1 are the number.
    QmxFrame frame(int number, bool hold = false, bool key = false);
    /// Writes frames first to last.
    void play(int first, int last, bool hold = false);
    QList<QmxFrame> readAll();
    QList<int> readNumbers();
    /// Numbers on the output, one a tick since the last call; 0: black.
    QList<int> takeShown();
    /// Signals since the last call, in order; vertical intervals only when asked for.
    QStringList takeSignals(bool withVbi = false);

    std::shared_ptr<BenchEdges> edges = std::make_shared<BenchEdges>();
    std::unique_ptr<QmxVideoDevice> device;
    QList<QmxVideoState> states; ///< of inputChanged
    QList<QmxVbiInfo> vbis;
    QList<QmxMetadataHash> flushed;
    QList<QmxAlarm> alarms;
    std::function<void()> onVbi; ///< called in the slot
    std::function<void()> onInput;

private:
    void connectSignals();
    QHash<int, QmxFrame> _frames;
    QStringList _signals;
};

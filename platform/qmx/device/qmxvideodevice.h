// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxalarm.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxframe.h"
#include "platform/qmx/core/qmxvbiinfo.h"
#include "platform/qmx/core/qmxvideorefstate.h"
#include "platform/qmx/core/qmxvideostate.h"
#include "platform/qmx/device/qmxvideodevicesetup.h"

#include <QObject>

#include <memory>

struct LumenOptions;

/// The video card as its user sees it: takes captured frames out, puts frames to play in, and tells by
/// signals what happens.
///
/// Threads. The object lives on the event loop and is used there only. Behind it run the clock thread
/// ("lumen-clock": sources, outputs, one tick a frame) and the workers ("lumen-work-N": coding). All signals
/// are emitted on the event loop, out of the device's own posted event, in the order in which things
/// happened, never from inside a call; from inside a slot every call is allowed. The flags isInSetup() and
/// isFlushing() change in the event that emits the matching signal, right before it; framesReadable() and
/// framesWritable() answer live.
class QmxVideoDevice : public QObject
{
    Q_OBJECT

public:
    explicit QmxVideoDevice(QObject *parent = nullptr);
    QmxVideoDevice(const LumenOptions &options, QObject *parent);
    ~QmxVideoDevice() override;

    /// Opens a card by name: "lumen". Once; false (and a sentence in the log) for another name or again.
    /// The state of the input found now is reported by inputChanged() on the next turn of the loop.
    bool open(const QString &name);
    /// Ends everything; what has not been delivered is not. Cannot be opened again.
    void close();
    bool isOpen() const;

    /// Asks for another set-up. Refused at once, with nothing changed, when it has no picture format or one
    /// is in progress; else setupIsDone() follows on the next turn of the loop. A capture set-up forgets the
    /// frames that wait to be played; a playback set-up queues behind them.
    QmxError setup(const QmxVideoDeviceSetup &setup);
    bool isInSetup() const;
    /// The one asked for last without error.
    QmxVideoDeviceSetup currentSetup() const;

    /// Forgets the waiting frames; flushed() follows, after an opening of the player's stream that is under
    /// way. Nothing happens when the device is not open or flushing.
    void flush();
    bool isFlushing() const;

    /// Captured frames that can be read now: in record those that are coded, else all.
    int framesReadable() const;
    QmxError readFrame(QmxFrame &frame);
    /// Room in the playback queue; maximum buffers minus the frames that wait.
    int framesWritable() const;
    /// An error (and writeToHardwareFailed()) when there is no room or no playback set-up.
    QmxError writeFrame(const QmxFrame &frame);

    /// Keys 19 clip name, 22 direction, 23 reel name, 24 jam of the timecode generator. Cheap.
    void setProperty(const QmxId &key, const QVariant &value);
    using QObject::setProperty;

    /// Of the first frame of the newest run while it waits, else of the frame on the output, if it came from
    /// the read stream opened last; else key 1 alone, the position of that stream's cache. Also the latter
    /// when the report of a flush has made its receiver seek, until the frame sought has been written.
    QmxMetadataHash currentFrameMetadata() const;
    /// Of the sync source that the set-up chose. Input 0.
    QmxVideoRefState refInputState(int input) const;
    /// "idle", "capture", "record", "playback".
    QString stateString() const;

signals:
    void vbi(const QmxVbiInfo &info);
    void setupIsDone(const QmxError &error);
    /// The first tick after a set-up.
    void hardwareStarted();
    /// A frame was lost in capture, or was not there in time in playback.
    void frameDropped();
    /// A frame with the key flag came onto the output.
    void playedKeyFrame(const QmxMetadataHash &metadata);
    /// The metadata is that of the current frame, see currentFrameMetadata().
    void flushed(const QmxMetadataHash &metadata);
    /// Also when the medium of a take has failed: the take is to end.
    void readFromHardwareFailed(const QmxError &error);
    void writeToHardwareFailed(const QmxError &error, const QmxFrame &frame);
    void inputChanged(int input, const QmxVideoState &state);
    void inputAncDataChanged(const QmxMetadataHash &metadata);
    /// Never by this card: it has no firmware.
    void firmwareLoading(const QString &id, bool done);
    void raiseVFRAlarm(bool active);
    void alarmTriggered(const QmxAlarm &alarm);

protected:
    bool event(QEvent *event) override;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxalarmcontroller.h"
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxrecordfailures.h"
#include "platform/qmx/stream/qmxplaylist.h"
#include "platform/qmx/stream/qmxplaylistindex.h"
#include "platform/qmx/stream/qmxstream.h"
#include "platform/qmx/stream/qmxstreamcache.h"
#include "tests/support/faultyfiles.h"
#include "tests/support/logcollector.h"
#include "tests/support/print.h"
#include "tests/support/stepper.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

/// 25 progressive frames of ProRes 422 a second.
QmxImageDesc imageDesc(int width = 1920, int height = 1080);
QmxAudioDesc audioDesc(int channels = 2);
/// A frame whose picture says `number` and whose sound is made of it; timecode 10:00:00:00 + number.
QmxFrame numberedFrame(int number, const QmxImageDesc &image = imageDesc(), int channels = 2);
/// The number in a frame's picture; -1: another picture (black), -2: none.
int numberOf(const QmxFrame &frame);
int timecodeOf(const QmxFrame &frame); ///< frames after 10:00:00:00
/// Writes a whole clip with frames first, first + 1, ...
void makeClip(const QString &path, int frames, int first = 0, const QmxImageDesc &image = imageDesc(),
              int channels = 2);
QmxPlayListEntry listEntry(const QString &path, int length);
inline QmxDeck &deck()
{
    return *QmxEnvironment::current().deck;
}

/// A stream, its cache, and what they told, in order: "open 0" (with the error), "close", "error 3 5"
/// (position, error), "read 3 0" (frame, error), "failure 5" (to the device), "alarm 1901 2" (level).
/// ready() is only counted.
class StreamRig : public QObject
{
public:
    StreamRig();

    QmxStream stream{nullptr};
    QmxStreamCache cache{nullptr};
    QStringList events;
    int readies = 0;

    /// Opens and lets it complete; the error.
    int openForRead(const QVariant &desc);
    int openForWrite(const QString &path);
    /// What is to be opened for writing.
    void describe(const QString &path);
    /// Closes and lets it complete.
    void close();
    /// Reads `count` frames, each as soon as it is there; their numbers.
    QList<int> play(int count);
    /// Writes as the transport does: only while the cache is not full. The frames that found no room wait
    /// here for the next call.
    void record(int first, int count);
    void recordPaced(int first, int count); ///< one a tick
    QList<QmxFrame> deviceQueue;

private:
    int open(QmxStream::Mode mode);
    QmxAlarmController _alarms;
    std::shared_ptr<void> _failures;
};

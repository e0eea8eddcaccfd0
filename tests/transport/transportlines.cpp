// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/transport/transportlines.h"

#include "platform/qmx/core/qmxlog.h"

#include <QRegularExpression>

#include <algorithm>
#include <vector>

namespace {

struct Line
{
    int level;
    const char *text; ///< %1, %d and the like stand for anything
};

// clang-format off
const Line lines[] = {
    {3, "VtrObject is starting..."},
    {3, "VtrObject shutdown requested..."},
    {2, "Can't enter mode %1.  Pending mode change from %2 to %3"},
    {2, "Mode change is pending"},
    {1, "Something is wrong.  Shouldn't ever come out of shutdown mode"},
    {3, "Mode changed from %1 to %2"},
    {3, "Begin Mode Standby Off"},
    {3, "Shutting down VtrObject..."},
    {3, "VtrObject shutdown complete..."},
    {1, "shutdown() should have been called before destruction!"},
    {3, "** PLAY %.3lf"},
    {3, "** STANDBY OFF"},
    {2, "Record Inhibited: %1"},
    {2, "Can't cue to %1.  Value is invalid"},
    {2, "Can't cue to %1.  Value is out of range"},
    {3, "Cue to %1 (%2)"},
    {3, "Step %d from %d"},
    {1, "Failed to open stream for read"},
    {3, "Cache Level %1, Frame %2 (%3) Requires Video Reset"},
    {3, "Begin Mode Record"},
    {2, "Record interval total is zero!"},
    {2, "Interval total is less than 1"},
    {3, "Interval Record.  Interval %d, Time %d, Every %.3f"},
    {2, "Image count (%d) doesn't match the setup (%d)"},
    {2, "Image %d is invalid"},
    {2, "Image %d buffer is invalid"},
    {1, "VIDEO DEVICE: Read Error %1"},
    {3, "Camera has started record."},
    {3, "Camera has stopped record."},
    {2, "Empty frame, stop on LoV is set.  Stopping record"},
    {2, "Loss of Video image buffer is not valid."},
    {1, "Frame has invalid timecode"},
    {1, "Open Stream Failed"},
    {3, "%d frames still in cache, scheduling them for write"},
    {1, "STREAM: Failed to get a playback stream descriptor"},
    {1, "STREAM: Open for read failed"},
    {3, "STREAM: Open for Read Started"},
    {1, "STREAM: Failed to get a record stream descriptor"},
    {1, "STREAM: Open for write failed"},
    {3, "STREAM: Open for Write Started"},
    {1, "STREAM: Open Error %1"},
    {3, "Starting at prior playback position of %d"},
    {3, "STREAM: Open is Done"},
    {3, "STREAM: Close is Done"},
    {1, "STREAM: Can't reopen record stream: Stream is not open"},
    {1, "STREAM: Can't reopen record stream: Stream isn't writable"},
    {3, "STREAM: Reopen Record Stream"},
    {1, "STREAM: Can't reopen playback stream: Stream is not open"},
    {1, "STREAM: Can't reopen playback stream: Stream is not readable"},
    {3, "STREAM: Reopen Playback Stream"},
    {2, "STREAM: Cache Error @ %1: %2"},
    {1, "Failed to open video device '%1'"},
    {3, "VIDEO DEVICE: Setup for shutdown"},
    {3, "VIDEO DEVICE: Setup is current, no need to change it"},
    {3, "VIDEO DEVICE: Setup Started"},
    {1, "VIDEO DEVICE: Initial Setup Error %1"},
    {1, "VIDEO DEVICE: Setup Error %1"},
    {3, "VIDEO DEVICE: Setup is Done"},
    {3, "VIDEO DEVICE: Setup for record"},
    {1, "Video device failed to setup."},
    {3, "VIDEO DEVICE: Setup for playback"},
    {3, "VIDEO DEVICE: Device is busy.  Defer reset in mode %1 - %2"},
    {3, "VIDEO DEVICE: Reset in mode %1"},
    {3, "End of stream reached"},
    {3, "Start of stream reached"},
    {1, "Playback stopped due to dropped frame"},
    {1, "Playback continued after dropped frame"},
    {1, "Recording stopped due to dropped frame.  STATE %1"},
    {1, "Hardware returned error %d, stopping record"},
    {1, "Read from hardware failed with %d"},
    {1, "Write to hardware failed with %d"},
    {2, "Flushed at %d, but pending cue at %d"},
    {3, "VIDEO DEVICE: Flush Complete"},
    {3, "Input %1 Changed to %2 while in %3"},
    {1, "Failed to find loss of video file for %1"},
    {3, "Loss of video clip: %1"},
    {3, "STM: %1, CACHE: %2, RDEV: %3, WDEV: %4"},
    {3, "Benchmark file opened: %1"},
    {1, "Failed to open benchmark file: %1"},
    {3, "Reel Name: %1"},
    {3, "Record on Running Timecode: %s"},
    {1, "Encode format is invalid"},
    {1, "Video input source is invalid"},
    {1, "Audio input source is invalid"},
    {1, "Audio input level is invalid"},
    {1, "Sync source is invalid"},
    {2, "Failed to set audio channels to %d.  Unsupported number of channels"},
};
// clang-format on

QRegularExpression pattern(const char *text)
{
    QString all = QRegularExpression::escape(QString::fromLatin1(text));
    static const QRegularExpression number(QStringLiteral(R"(\\%d)")),
        any(QStringLiteral(R"(\\%(\\\.\d)?(l?[sf]|\d))"));
    all.replace(number, QStringLiteral("-?\\d+")).replace(any, QStringLiteral(".+"));
    return QRegularExpression(QRegularExpression::anchoredPattern(all));
}

} // namespace

bool isTransportLine(const QmxLogRecord &record)
{
    static const std::vector<QRegularExpression> patterns = [] {
        std::vector<QRegularExpression> all;
        for (const Line &line : lines)
            all.push_back(pattern(line.text));
        return all;
    }();
    for (size_t i = 0; i < patterns.size(); ++i)
        if (lines[i].level == record.level && patterns[i].match(record.text).hasMatch()) return true;
    return record.level == 3 && record.text.startsWith(QLatin1String("Set ")); // vtrsettings_test.cpp
}

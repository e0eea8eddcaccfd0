// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxclipinfo.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxframe.h"

#include <functional>
#include <memory>

class QmxTaskThread;
class StreamTally;

/// The writing end of one record stream: a queue and the thread behind it.
///
/// Threads: the owner's (the event loop), which never waits here, and the writer thread "qmx-write", the
/// only one that touches the file. They share the queue. The queue holds at least four seconds of the clip
/// and is bounded in bytes besides; append() never refuses, whoever feeds asks hasRoom() before (policy:
/// back-pressure), and what is appended after the medium has failed is dropped and counted. What has been
/// appended is flushed within half a second of its writing, without being asked.
///
/// A writer whose thread hangs in the kernel is left behind with abandon(): when the kernel returns, the
/// thread writes what it has, closes the file and ends.
class StreamWriter
{
public:
    /// Called on the writer thread; opened() by open() itself when there is no such thread.
    struct Events
    {
        std::function<void(const QmxError &)> opened; ///< once
        std::function<void(const QmxError &)> closed; ///< once, after close()
        /// `fatal`: the medium has failed, told once; else one frame was refused.
        std::function<void(const QmxError &, bool fatal)> failed;
        std::function<void()> room;                     ///< the queue was full and is so no longer
        std::function<void(qint64 microseconds)> wrote; ///< a frame has been written, in this time
        /// After a flush: percent of the medium that is free, as the recorder measures it. May be empty.
        std::function<void(int percentFree)> level;
    };

    /// Which copy of its stream it writes, and with which it counts. No tally: there is only this one.
    struct Copy
    {
        std::shared_ptr<StreamTally> tally;
        int number;
    };

    StreamWriter(const QString &path, const QmxClipInfo &info, const Events &events,
                 const QmxEnvironment &environment, const Copy &copy = {});
    /// Closes the file when that has not been done, and waits for it, at most ten seconds; a thread that has
    /// been in one call for three is left behind.
    ~StreamWriter();
    StreamWriter(const StreamWriter &) = delete;
    StreamWriter &operator=(const StreamWriter &) = delete;

    /// Creates the file; answers with opened(). Refuses the file system of "/". Frames may be appended at
    /// once: they wait for the file, and are lost, and counted, when it cannot be made.
    void open();
    /// The same before anybody needs the clip: under a hidden name, which begin() changes. Closed before
    /// that, the file goes again.
    void openAhead();
    /// What was opened ahead is a clip from now on. That it cannot get its name is a failure of the medium.
    void begin(const QmxClipInfo &info);
    /// Another clip has followed this one: the figures that are published are no longer this one's.
    void leaveFigures();
    bool hasRoom();
    void append(const QmxFrame &frame);
    /// Makes what has been appended durable soon.
    void flush();
    /// Writes what has been appended, closes the file; answers with closed(). Nothing may be appended after.
    /// A writer that could not be opened answers nothing.
    void close();
    /// Another copy has to do: what waits is forgotten, the file is closed with what it has.
    void giveUp();
    /// Leaves the thread behind whose call hangs in the kernel.
    void abandon();
    /// Frames queued or being written.
    int pending() const;
    /// How full the queue is, 1: full.
    double fill() const;
    /// The queue still holds of what the take began with, more than it is promised to hold otherwise.
    bool hasBacklog() const;

private:
    void schedule();
    struct State;
    std::shared_ptr<State> _state;
    std::unique_ptr<QmxTaskThread> _thread;
};

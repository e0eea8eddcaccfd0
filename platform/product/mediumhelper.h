// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

class QmxTaskThread;

/// Asks media questions for the event loop, which waits for an answer at most 100 ms (`limit`).
///
/// Threads: every question runs on a helper thread ("medium"), of which each medium has one a lane. Questions
/// of several threads take turns, each within its own time. A lane that has not answered one in time is not
/// asked again until its thread is back; at most `bound` threads exist, and while all hang questions are
/// refused. Both count as no answer. ask() from any thread.
class MediumHelper
{
public:
    /// How full a medium is, and which names are free on it, must be known while somebody reads ten thousand
    /// clips of it, or a damaged one: a take begins with these.
    enum class Lane { Contents, Room, Names };

    static constexpr std::size_t bound = 24;
    static constexpr std::chrono::milliseconds limit{100};

    static MediumHelper &instance();

    /// Runs `question` on the thread of `medium` (a folder); false when there was no answer in time. The
    /// question may still run then, so it owns everything it uses.
    bool ask(const std::string &medium, std::function<void()> question,
             std::chrono::milliseconds wait = limit, Lane lane = Lane::Contents);

    /// The answer of `question`, if there was one in time.
    template <typename Answer>
    std::optional<Answer> answer(const std::string &medium, std::function<Answer()> question,
                                 std::chrono::milliseconds wait = limit, Lane lane = Lane::Contents)
    {
        const auto result = std::make_shared<Answer>();
        if (!ask(
                medium, [result, question = std::move(question)] { *result = question(); }, wait, lane))
            return std::nullopt;
        return std::move(*result);
    }

    /// Runs `task` on the thread of `medium` once that has done with what it is at, however long that takes.
    /// False when it can take no more.
    bool whenBack(const std::string &medium, std::function<void()> task);

private:
    MediumHelper() = default;

    struct Queue;
    std::shared_ptr<Queue> laneOf(const std::string &medium, Lane which, const QmxEnvironment &environment);
    std::mutex _mutex;
    std::map<std::pair<std::string, Lane>, std::shared_ptr<Queue>> _lanes;
};

/// The folder of a path, the medium for questions about it.
std::string folderOf(const std::string &path);

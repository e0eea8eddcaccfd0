// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/mediumhelper.h"

#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxtaskthread.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>

namespace {

constexpr const char *module = "mediumhelper";

} // namespace

struct MediumHelper::Queue
{
    explicit Queue(const QmxEnvironment &environment)
        : thread("medium", QmxTaskThread::defaultBound, environment)
    {}

    QmxTaskThread thread;
    std::mutex mutex;
    std::condition_variable changed;
    quint64 asked = 0;
    quint64 answered = 0;
    quint64 late = 0; ///< a question that was not answered in time
};

MediumHelper &MediumHelper::instance()
{
    // Never destroyed: a thread that hangs in the kernel would hold up the end of the program.
    static auto *const helper = new MediumHelper;
    return *helper;
}

/// Null when there are too many.
std::shared_ptr<MediumHelper::Queue> MediumHelper::laneOf(const std::string &medium, Lane which,
                                                          const QmxEnvironment &environment)
{
    const std::lock_guard lock(_mutex);
    const std::pair key(medium, which);
    if (!_lanes.contains(key) && _lanes.size() >= bound)
        std::erase_if(_lanes, [](const auto &entry) { return entry.second->thread.pending() == 0; });
    if (!_lanes.contains(key) && _lanes.size() >= bound) return {};
    std::shared_ptr<Queue> &lane = _lanes[key];
    if (!lane) lane = std::make_shared<Queue>(environment);
    return lane;
}

bool MediumHelper::whenBack(const std::string &medium, std::function<void()> task)
{
    const std::shared_ptr<Queue> lane = laneOf(medium, Lane::Contents, QmxEnvironment::current());
    return lane && lane->thread.post(std::move(task));
}

bool MediumHelper::ask(const std::string &medium, std::function<void()> question,
                       std::chrono::milliseconds wait, Lane which)
{
    const QmxEnvironment environment = QmxEnvironment::current();
    const std::shared_ptr<Queue> lane = laneOf(medium, which, environment);
    if (!lane) return false;
    std::unique_lock lock(lane->mutex);
    if (lane->answered < lane->late) return false;
    const quint64 number = ++lane->asked;
    const bool posted =
        lane->thread.post([weak = std::weak_ptr(lane), question = std::move(question), number] {
            question();
            const auto self = weak.lock();
            if (!self) return;
            const std::lock_guard answerLock(self->mutex);
            self->answered = number;
            self->changed.notify_all();
        });
    if (!posted) {
        --lane->asked;
        return false;
    }
    wait = std::max(wait, environment.shortestMediumWait);
    if (lane->changed.wait_for(lock, wait, [&] { return lane->answered >= number; })) return true;
    lane->late = number;
    qmxLogOutput(QmxLogLevel::Warning, module, __LINE__,
                 "%s does not answer%s; it is not asked again until it does\n", medium.c_str(),
                 which == Lane::Contents ? " what is on it" : "");
    return false;
}

std::string folderOf(const std::string &path)
{
    const auto slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/media/mediaprobe.h"

#include "platform/qmx/core/qmxtaskthread.h"

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>

namespace {

// Both media of a recorder, and as many that were pulled out and still hang.
constexpr size_t kMaxLanes = 4;
// A tick of the slowest format is 43 ms; two may be late, a third would be seen. Real time on purpose:
// it bounds a wait for the kernel, which no clock of ours moves.
constexpr std::chrono::milliseconds kPatience{100};

std::optional<MediaProbe::Answer> ask(QmxFiles &files, const QString &path)
{
    struct statfs64 root = {};
    struct statfs64 medium = {};
    if (files.statfs(QStringLiteral("/"), &root) != 0 || files.statfs(path, &medium) != 0)
        return std::nullopt;
    MediaProbe::Answer answer;
    answer.otherThanRoot = std::memcmp(&root.f_fsid, &medium.f_fsid, sizeof root.f_fsid) != 0;
    answer.freeBlocks = medium.f_bfree;
    answer.totalBlocks = medium.f_blocks;
    return answer;
}

} // namespace

/// Shared with the helper thread, so that either side may go first.
struct MediaProbe::Question
{
    QString path;
    std::mutex mutex;
    std::condition_variable answered;
    bool done = false;
    std::optional<Answer> answer;

    bool isDone()
    {
        const std::lock_guard lock(mutex);
        return done;
    }
};

struct MediaProbe::Lane
{
    QmxTaskThread thread{QStringLiteral("media-probe"), 1};
    std::shared_ptr<Question> question;

    bool isIdle() const { return !question || question->isDone(); }
};

MediaProbe::MediaProbe(const QmxEnvironment &environment) : _files(environment.files) {}

MediaProbe::~MediaProbe()
{
    for (const std::unique_ptr<Lane> &lane : _lanes) {
        if (!lane->isIdle()) lane->thread.abandon();
    }
}

MediaProbe::Lane *MediaProbe::laneFor(const QString &path)
{
    Lane *idle = nullptr;
    for (const std::unique_ptr<Lane> &lane : _lanes) {
        if (lane->isIdle())
            idle = lane.get();
        else if (lane->question->path == path)
            return nullptr;
    }
    if (!idle && _lanes.size() < kMaxLanes) idle = _lanes.emplace_back(std::make_unique<Lane>()).get();
    return idle;
}

std::optional<MediaProbe::Answer> MediaProbe::measure(const QString &path)
{
    Lane *lane = laneFor(path);
    auto question = std::make_shared<Question>();
    question->path = path;
    const auto task = [question, files = _files] {
        std::optional<Answer> answer = ask(*files, question->path);
        const std::lock_guard lock(question->mutex);
        question->answer = answer;
        question->done = true;
        question->answered.notify_one();
    };
    if (!lane || !lane->thread.post(task)) {
        ++_refused;
        return std::nullopt;
    }
    lane->question = question;

    std::unique_lock lock(question->mutex);
    if (!question->answered.wait_for(lock, kPatience, [&] { return question->done; })) return std::nullopt;
    return question->answer;
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/pictureworkers.h"

#include "platform/qmx/device/retiredsources.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>

#include <array>
#include <chrono>
#include <latch>
#include <set>

namespace {
constexpr int workers = 3;

/// Meets others at a point; false when they do not come.
class Meeting
{
public:
    explicit Meeting(int wanted) : _wanted(wanted) {}
    bool come()
    {
        std::unique_lock lock(_mutex);
        if (++_here == _wanted) _all.notify_all();
        return _all.wait_for(lock, std::chrono::seconds(20), [&] { return _here >= _wanted; });
    }

private:
    std::mutex _mutex;
    std::condition_variable _all;
    int _wanted;
    int _here = 0;
};

/// What the parts of a shared job tell.
struct Parts
{
    explicit Parts(int meeting) : together(meeting) {}
    static void part(void *context, int index, int thread)
    {
        auto &parts = *static_cast<Parts *>(context);
        if (index < workers && !parts.together.come()) parts.missed = true;
        std::lock_guard lock(parts.mutex);
        parts.seen.insert(index);
        parts.threads.insert(thread);
        ++parts.calls;
    }

    Meeting together;
    std::atomic<bool> missed = false;
    std::mutex mutex;
    std::set<int> seen, threads;
    int calls = 0;
};

/// Helps alone, and counts how often.
class CountingHelper : public QmxHelpers
{
public:
    int threads() const override { return 1; }
    bool anyIdle() const override { return true; }
    void run(int count, void (*job)(void *, int, int), void *context) override
    {
        ++calls;
        for (int i = 0; i < count; ++i)
            job(context, i, 0);
    }
    int calls = 0;
};
} // namespace

TEST(PictureWorkers, idleOnesHelpAndBusyOnesAreNotWaitedFor)
{
    PictureWorkers pool(workers, qmxCodec, QmxEnvironment::current());
    constexpr int count = 40;
    // All idle: each of the first parts waits for the others, so all workers must be in it, time and again.
    for (int round = 0; round < 50; ++round) {
        Parts parts(workers);
        std::latch done(1);
        ASSERT_TRUE(pool.post([&](CodecContexts &contexts) {
            contexts.helpers()->run(count, Parts::part, &parts);
            done.count_down();
        }));
        done.wait();
        ASSERT_FALSE(parts.missed);
        ASSERT_EQ(parts.calls, count);
        ASSERT_EQ(parts.seen.size(), size_t(count));
        ASSERT_EQ(*parts.threads.rbegin(), workers - 1) << "a number a thread";
    }

    // All others busy until it is done: the caller does everything.
    std::latch busy(workers - 1), done(1);
    for (int i = 1; i < workers; ++i)
        ASSERT_TRUE(pool.post([&](CodecContexts &) {
            busy.count_down();
            done.wait();
        }));
    busy.wait();
    Parts parts(1);
    bool anyIdle = true;
    ASSERT_TRUE(pool.post([&](CodecContexts &contexts) {
        anyIdle = contexts.helpers()->anyIdle();
        contexts.helpers()->run(count, Parts::part, &parts);
        done.count_down();
    }));
    done.wait();
    EXPECT_FALSE(anyIdle);
    EXPECT_EQ(parts.calls, count);
    EXPECT_EQ(parts.threads, std::set{0});
}

TEST(PictureWorkers, helpWithLargePicturesOnly)
{
    for (const bool large : {false, true}) {
        QmxImageDesc desc;
        desc.setSize(large ? 3840 : 1920, large ? 2160 : 1080);
        desc.setFrameRate(QmxVideoRate(25));
        desc.setDataType(QmxId(203));
        QmxPicture picture =
            QmxPicture::allocate(QmxPicture::Format::Yuv422P10, QSize(desc.width(), desc.height()));
        picture.fillBlack();
        CountingHelper counting;
        CodecContexts contexts(qmxCodec, &counting);
        QmxBuffer coded;
        ASSERT_EQ(contexts.encoder(desc)->encode(picture, coded), QmxError());
        EXPECT_EQ(counting.calls > 0, large);
    }
}

TEST(RetiredSources, aSourceThatHangsHoldsUpNobody)
{
    struct Hanging : QmxSource
    {
        explicit Hanging(std::shared_ptr<std::promise<void>> release) : released(release->get_future()) {}
        ~Hanging() override { released.wait(); }
        QmxSourceFrame take(const QmxTick &) override { return {}; }
        QString statusText() const override { return {}; }
        std::future<void> released;
    };
    QmxEnvironment environment = QmxEnvironment::current();
    environment.clock = std::make_shared<QmxRealClock>();
    const auto release = std::make_shared<std::promise<void>>();
    RetiredSources retired(environment);
    retired.take(std::make_unique<Hanging>(release));
    retired.take(nullptr);
    release->set_value(); // not reached by a take() that waits for the source
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/picturehub.h"

#include "companions/panel/jpeg.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxthreads.h"

#include <QtEndian>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <thread>

PictureClient::~PictureClient() = default;

namespace {
constexpr qint64 ms = QmxClock::nsPerMillisecond;
/// Looks for the next picture: nothing tells of it, and a frame takes 16 ms at least.
constexpr qint64 lookEvery = 3 * ms;
constexpr qint64 openEvery = 500 * ms;
} // namespace

QByteArray PictureHub::message(const QmxPreviewPicture &picture, qint64 time, quint64 count,
                               const QByteArray &jpeg)
{
    enum Flag : quint32 { Capture = 1, Repeat = 2, HasPicture = 4 };
    constexpr int metersAt = 32;
    constexpr int timecodeAt = 64;
    constexpr int timecodeSize = 32;
    QByteArray result(headerSize, '\0');
    char *to = result.data();
    quint32 flags = 0;
    if (picture.isCapture) flags |= Capture;
    if (picture.isRepeat) flags |= Repeat;
    if (picture.hasPicture) flags |= HasPicture;
    qToLittleEndian(quint16(version), to);
    qToLittleEndian(quint16(headerSize), to + 2);
    qToLittleEndian(flags, to + 4);
    qToLittleEndian(picture.tick, to + 8);
    qToLittleEndian(picture.frameNumber, to + 16);
    qToLittleEndian(time, to + 24);
    for (int i = 0; i < QmxPreviewPicture::channels; ++i)
        qToLittleEndian(float(picture.peaks[size_t(i)]), to + metersAt + 4 * i);
    const QByteArray timecode = picture.timecode.toUtf8().left(timecodeSize - 1);
    std::memcpy(to + timecodeAt, timecode.constData(), size_t(timecode.size()));
    qToLittleEndian(quint16(picture.width), to + 96);
    qToLittleEndian(quint16(picture.height), to + 98);
    qToLittleEndian(quint32(jpeg.size()), to + 100);
    qToLittleEndian(count, to + countAt);
    qToLittleEndian(float(picture.momentaryLoudness), to + 112);
    qToLittleEndian(float(picture.shortTermLoudness), to + 116);
    qToLittleEndian(quint16(picture.aspectWidth), to + aspectAt);
    qToLittleEndian(quint16(picture.aspectHeight), to + aspectAt + 2);
    return result + jpeg;
}

/// Reads and codes, on a thread of its own while somebody looks, or for one question.
struct PictureHub::Coder
{
    explicit Coder(std::function<void()> told) : environment(QmxEnvironment::current()), tell(std::move(told))
    {}
    ~Coder()
    {
        {
            const std::lock_guard lock(mutex);
            isEnding = true;
        }
        wake.interrupt();
        changed.notify_all();
        if (thread.joinable()) thread.join();
    }
    void look(bool on);
    void run();
    std::shared_ptr<const QByteArray> codeNext();
    bool open();

    QmxEnvironment environment;
    const std::function<void()> tell;
    std::mutex mutex; ///< of isWanted, isEnding
    std::condition_variable changed;
    bool isWanted = false;
    std::atomic<bool> isEnding = false;
    QmxInterrupt wake;
    std::mutex coding; ///< of what follows
    QmxPreviewReader reader;
    QmxPreviewPicture picture;
    JpegMaker jpeg;
    quint64 coded = 0;
    bool isOpen = false;
    qint64 openedAt = 0;
    std::atomic<std::shared_ptr<const QByteArray>> newest;
    std::thread thread;
};

bool PictureHub::Coder::open()
{
    // A recorder that was started again publishes pictures of its own: an old one stands still.
    const qint64 now = environment.clock->now();
    if (isOpen && now - openedAt < openEvery) return true;
    isOpen = reader.open();
    openedAt = now;
    return isOpen;
}

std::shared_ptr<const QByteArray> PictureHub::Coder::codeNext()
{
    const std::lock_guard lock(coding);
    if (isOpen && reader.count() != coded) openedAt = environment.clock->now(); // it lives
    if (!open()) return nullptr;
    const quint64 count = reader.count();
    if (count == 0) return nullptr;
    if (count == coded && newest.load()) return newest;
    if (!reader.read(picture) || picture.width <= 0) return nullptr;
    // When its tick was, by the clock that others share.
    const qint64 age = environment.clock->now() - picture.time;
    const qint64 time = environment.clock->wallTime() - (age > 0 && age < QmxClock::nsPerSecond ? age : 0);
    const QByteArray file = jpeg.make(picture);
    if (file.isEmpty()) return nullptr;
    coded = count;
    auto made = std::make_shared<const QByteArray>(message(picture, time, count, file));
    newest.store(made);
    return made;
}

void PictureHub::Coder::run()
{
    std::shared_ptr<const QByteArray> told;
    while (!isEnding) {
        {
            std::unique_lock lock(mutex);
            changed.wait(lock, [this] { return isWanted || isEnding; });
        }
        if (isEnding) break;
        const auto made = codeNext();
        if (made && made != told) {
            told = made;
            tell();
        }
        environment.clock->sleepUntil(environment.clock->now() + (made ? lookEvery : openEvery), &wake);
    }
}

void PictureHub::Coder::look(bool on)
{
    {
        const std::lock_guard lock(mutex);
        isWanted = on;
    }
    if (on && !thread.joinable()) {
        const QmxError error = environment.threads->start(
            QStringLiteral("panel-picture"), [this] { run(); }, thread);
        // (Whoever looks next tries it again.)
        if (error.isError())
            qmxLogOutput(QmxLogLevel::Error, "panel", __LINE__, "No pictures: %s\n",
                         qPrintable(error.toString()));
    }
    changed.notify_all();
}

PictureHub::PictureHub(std::function<void(std::function<void()>)> post)
    : _post(std::move(post)), _coder(std::make_unique<Coder>([this] { _post([this] { tell(); }); }))
{}

PictureHub::~PictureHub() = default;

void PictureHub::subscribe(const std::shared_ptr<PictureClient> &client)
{
    _clients.push_back(client);
    _coder->look(true);
    if (const auto newest = _coder->newest.load()) client->sendPicture(newest);
}

void PictureHub::unsubscribe(const PictureClient *client)
{
    std::erase_if(_clients, [client](const auto &weak) {
        const auto known = weak.lock();
        return !known || known.get() == client;
    });
    if (_clients.empty()) _coder->look(false);
}

void PictureHub::tell()
{
    const auto newest = _coder->newest.load();
    const auto clients = _clients; // one may go while it is told
    for (const auto &weak : clients)
        if (const auto client = weak.lock()) client->sendPicture(newest);
}

std::shared_ptr<const QByteArray> PictureHub::file()
{
    return _coder->codeNext();
}

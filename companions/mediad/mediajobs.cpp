// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/mediajobs.h"

#include "companions/mediad/bothmedia.h"
#include "companions/mediad/clipcare.h"
#include "companions/mediad/clipcomplete.h"
#include "companions/mediad/clipcopy.h"
#include "companions/mediad/clipexport.h"
#include "companions/mediad/clipverify.h"
#include "companions/mediad/orderrules.h"
#include "platform/product/transferpace.h"
#include "platform/qmx/clip/qmxclippart.h"
#include "platform/qmx/core/qmxtaskthread.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <utility>

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr std::chrono::milliseconds tellEvery(500);

/// The disk and the processors serve everybody else first, the disk where its scheduler knows the difference
/// (ioprio_set(2)).
void comeLast()
{
    constexpr int least = 19;
    setpriority(PRIO_PROCESS, id_t(syscall(SYS_gettid)), least);
    constexpr int thisThread = 1; // IOPRIO_WHO_PROCESS, 0
    constexpr int idleClass = 3 << 13;
    syscall(SYS_ioprio_set, thisThread, 0, idleClass);
}

bool isLong(const MediaOrder &order)
{
    return order.verb == "copy" || order.verb == "verify" || order.verb == "complete" ||
           order.verb == "export";
}

/// Whether a clip of this name has to stay as it is until the order has been carried out. A check of all
/// clips passes over those that go meanwhile.
bool needs(const MediaOrder &order, const std::string &clip)
{
    if (order.clip == clip) return true;
    const QStringList entries = QString::fromStdString(order.entries).split('\n', Qt::SkipEmptyParts);
    return std::any_of(entries.begin(), entries.end(), [&clip](const QString &entry) {
        const auto part = QmxClipPart::fromText(entry);
        return part && QFileInfo(part->clip).fileName().toStdString() == clip;
    });
}

} // namespace

/// Called between the pieces of a copy.
class MediaJobs::Pace
{
public:
    Pace(const QmxEnvironment &environment, const Shared &shared, std::function<void(int)> told)
        : _clock(*environment.clock),
          _shared(shared),
          _told(std::move(told)),
          _pace(environment, [&shared] { return shared.busy && !shared.ended && !shared.isCanceled; })
    {}

    bool operator()(qint64 done, qint64 total)
    {
        const qint64 now = _clock.now();
        if (QmxClock::Duration(now - _toldAt) >= tellEvery) {
            _toldAt = now;
            _told(total > 0 ? int(100 * done / total) : 100);
        }
        _pace.wait(done - std::exchange(_done, done));
        return !_shared.ended && !_shared.isCanceled;
    }

private:
    QmxClock &_clock;
    const Shared &_shared;
    const std::function<void(int)> _told;
    TransferPace _pace;
    qint64 _toldAt = 0;
    qint64 _done = 0;
};

MediaJobs::MediaJobs(const QmxEnvironment &environment,
                     std::function<void(const MediaOrder &, const MediaOrderState &)> told, QObject *parent)
    : QObject(parent),
      _environment(environment),
      _told(std::move(told)),
      _long{std::make_unique<QmxTaskThread>(QStringLiteral("media-jobs"), bound, environment)},
      _short{std::make_unique<QmxTaskThread>(QStringLiteral("media-orders"), bound, environment)}
{}

MediaJobs::~MediaJobs()
{
    _shared->ended = true;
    for (const Lane *lane : {&_long, &_short})
        lane->thread->abandon(); // a medium may hang
}

bool MediaJobs::isHeldUp(const MediaOrder &order) const
{
    return std::any_of(_longOrders.begin(), _longOrders.end(),
                       [&order](const MediaOrder &before) { return needs(before, order.clip); });
}

void MediaJobs::start(const MediaOrder &order)
{
    const bool takesLong = isLong(order);
    Lane &lane = takesLong || isHeldUp(order) ? _long : _short;
    const auto place = takesLong ? _longOrders.insert(_longOrders.end(), order) : _longOrders.end();
    // `self` is looked at on the event loop only, where it is destroyed too.
    const auto told = [self = QPointer<MediaJobs>(this), order, &lane, place](const MediaOrderState &state) {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, order, state, &lane, place] {
                if (!self) return;
                if (state.state != "running") --lane.unfinished;
                if (state.state != "running" && isLong(order)) self->_longOrders.erase(place);
                self->_told(order, state);
            },
            Qt::QueuedConnection);
    };
    {
        const std::lock_guard lock(_shared->mutex);
        _shared->waiting.insert(order.id);
    }
    const bool posted = lane.thread->post([order, environment = _environment, shared = _shared, told] {
        run(order, environment, *shared, told);
    });
    if (posted) {
        if (lane.unfinished++ > 0) _told(order, {order.id, "running", 0, "waits for the orders before it"});
        return;
    }
    {
        const std::lock_guard lock(_shared->mutex);
        _shared->waiting.erase(order.id);
    }
    if (takesLong) _longOrders.erase(place);
    _told(order, {order.id, "refused", 0, "too many orders are waiting; try again later"});
}

void MediaJobs::follow(const MediaParameters &transport)
{
    _shared->busy = transport.daemonRuns && transport.status != TransportStatus::Stopped;
    const std::lock_guard lock(_shared->mutex);
    _shared->transport = transport;
}

MediaOrderState MediaJobs::cancel(const MediaOrder &order)
{
    const std::lock_guard lock(_shared->mutex);
    const std::string id = order.clip.empty() ? _shared->running : order.clip;
    if (!id.empty() && id == _shared->running)
        _shared->isCanceled = true;
    else if (_shared->waiting.contains(id))
        _shared->canceled.insert(id);
    else
        return {order.id, "done", 100, "nothing is copied, checked or exported now"};
    return {order.id, "done", 100, "it is being ended"};
}

/// What reads or writes all of a clip; it gives way to a take and can be ended.
QmxError MediaJobs::runLong(const MediaOrder &order, const QmxEnvironment &environment, Shared &shared,
                            const Told &told, std::string &text, std::string &report)
{
    comeLast();
    const std::string path = order.from + "/" + order.clip;
    std::string shown = order.clip.empty() ? order.from : path;
    Pace pace(environment, shared, [&](int percent) { told({order.id, "running", percent, shown}); });
    QmxError error;
    std::string finding;
    if (order.verb == "copy") {
        const std::string target = order.to + "/" + order.clip;
        shown += " -> " + target;
        error = copyClip(path, target, environment, std::ref(pace), &finding);
        text = shown + ": copied and compared" + (finding.empty() ? finding : "; " + finding);
    } else if (order.verb == "verify") {
        VerifiedClips clips;
        error = verifyClips(order.from, order.clip, environment, std::ref(pace), clips);
        text = clips.text;
        report = QJsonDocument(clips.report).toJson(QJsonDocument::Compact).toStdString();
    } else if (order.verb == "complete") {
        text = path;
        bool isLeft = false;
        error = completeCopy(path, order.to + "/" + order.clip, environment, std::ref(pace), text, &isLeft);
        if (isLeft) report = QJsonDocument(QJsonObject{{"left", true}}).toJson().toStdString();
    } else {
        ClipExport wanted{QString::fromStdString(order.from),
                          QString::fromStdString(order.entries).split('\n', Qt::SkipEmptyParts),
                          QString::fromStdString(order.to), order.proxy, order.burn};
        shown = order.to;
        error = exportClips(wanted, environment, std::ref(pace), finding);
        text = shown + ": " + finding;
        report = QJsonDocument(QJsonObject{{"path", wanted.to}}).toJson(QJsonDocument::Compact).toStdString();
    }
    return error;
}

/// What takes a moment. The orders before it may have taken long: what was free when it came may be played by
/// now.
QmxError MediaJobs::runShort(const MediaOrder &order, const QmxEnvironment &environment, Shared &shared,
                             std::string &text)
{
    MediaParameters transport;
    {
        const std::lock_guard lock(shared.mutex);
        shared.waiting.erase(order.id);
        if (shared.canceled.erase(order.id) > 0)
            return {ECANCELED, QStringLiteral("the order was cancelled before its turn came")};
        transport = shared.transport;
    }
    const std::string use = whyInUse(order, transport);
    return use.empty() ? onEveryMedium(order, transport, environment, text)
                       : QmxError(EBUSY, QString::fromStdString(use));
}

void MediaJobs::run(const MediaOrder &order, const QmxEnvironment &environment, Shared &shared,
                    const Told &told)
{
    QmxError error;
    std::string text = order.from + "/" + order.clip;
    std::string report;
    if (isLong(order)) {
        {
            const std::lock_guard lock(shared.mutex);
            shared.waiting.erase(order.id);
            shared.running = order.id;
            shared.isCanceled = shared.canceled.erase(order.id) > 0;
        }
        error = runLong(order, environment, shared, told, text, report);
        const std::lock_guard lock(shared.mutex);
        shared.running.clear();
    } else {
        error = runShort(order, environment, shared, text);
    }
    if (error.isError())
        told({order.id, "refused", 0, error.toString().toStdString()});
    else
        told({order.id, "done", 100, text, report});
}

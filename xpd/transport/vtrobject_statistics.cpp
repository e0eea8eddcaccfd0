// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/transport/vtrobject.h"

#include "platform/qmx/core/qmxalarmcontroller.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxverify.h"
#include "platform/qmx/device/qmxvideodevice.h"
#include "platform/qmx/stream/qmxstream.h"
#include "platform/qmx/stream/qmxstreamcache.h"
#include "xpd/transport/vtrlog.h"

#include <QFile>

using namespace VtrLog;

namespace {

constexpr char benchmarkPath[] = "/xpd_bench.txt";
constexpr int benchmarkLineBytes = 256;
constexpr int referenceInput = 0;

} // namespace

void VtrObject::logStats()
{
    text(Info, QStringLiteral("STM: %1, CACHE: %2, RDEV: %3, WDEV: %4")
                   .arg(QString::number(_stm->pending()), QString::number(_cache->framesInCache()),
                        QString::number(_vdev->framesReadable()), QString::number(_vdev->framesWritable())));
}

void VtrObject::logDebugStats()
{
    qmxLogOutput(Debug, source, __LINE__, "Frames played %llu, recorded %llu\n",
                 static_cast<unsigned long long>(_framesPlayed),
                 static_cast<unsigned long long>(_framesRecorded));
}

void VtrObject::enableStreamBenchmark()
{
    QMX_VERIFY(source, __LINE__,
               connect(_stm, SIGNAL(benchmark(int, const QmxTimeStamp &)), this,
                       SLOT(streamBenchmark(int, const QmxTimeStamp &))));
    _stm->setBenchmarkEnable(true);
}

void VtrObject::streamBenchmark(int id, const QmxTimeStamp &ts)
{
    if (!_benchmarkFile) openBenchmarkFile();
    if (!_benchmarkFile->isWritable()) return;
    char line[benchmarkLineBytes];
    qsnprintf(line, sizeof line, "%d %lf\n", id, ts.toDouble());
    _benchmarkFile->write(line);
}

void VtrObject::openBenchmarkFile()
{
    _benchmarkFile = std::make_unique<QFile>(QString::fromLatin1(benchmarkPath));
    if (_benchmarkFile->open(QIODevice::WriteOnly))
        text(Info, QStringLiteral("Benchmark file opened: %1").arg(_benchmarkFile->fileName()));
    else
        text(Error, QStringLiteral("Failed to open benchmark file: %1").arg(_benchmarkFile->fileName()));
}

QmxMetadataHash VtrObject::currentFrameMetadata() const
{
    return _state.mode().isInModePlay() ? _vdev->currentFrameMetadata() : QmxMetadataHash();
}

int VtrObject::currentFrameNumber() const
{
    return currentFrameMetadata().value(QmxIds::frameNumber).toInt();
}

void VtrObject::checkForAlarms()
{
    checkRefInputAlarm();
}

void VtrObject::checkRefInputAlarm()
{
    if (!_vdev) return;
    // The controller swallows what changes nothing, so that each call sets both.
    const auto set = [this](const QmxId &id, QmxAlarm::AlarmLevel level) {
        _alarmctl->setAlarm(QmxAlarm(id, level, QString(), QString::fromLatin1(source), __LINE__));
    };
    const QmxVideoRefState reference = _vdev->refInputState(referenceInput);
    if (reference.isLocked()) {
        set(QmxIds::alarmReferenceNotLocked, QmxAlarm::Clear);
        set(QmxIds::alarmReferenceMissing, QmxAlarm::Clear);
    } else if (reference.isPresent()) {
        set(QmxIds::alarmReferenceMissing, QmxAlarm::Clear);
        set(QmxIds::alarmReferenceNotLocked, QmxAlarm::Error);
    } else {
        set(QmxIds::alarmReferenceNotLocked, QmxAlarm::Clear);
        set(QmxIds::alarmReferenceMissing, QmxAlarm::Error);
    }
}

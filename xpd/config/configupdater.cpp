// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/config/configupdater.h"

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/core/qmxverify.h"
#include "platform/store/eparam.h"
#include "platform/store/values.h"
#include "xpd/config/configinterface.h"

namespace {

constexpr const char *logSource = "configupdater";

// Line numbers in the log name the message and stay when the source moves.
enum LogLine : int {
    CreateCurrentFailed = 30,
    CreateInputFailed = 31,
    ConnectFailed = 33,
    InUse = 65,
    Released = 68
};

// Loaded at the start; the record format has no effect here.
constexpr quint32 initialParams[] = {eParam_CurrentClip, eParam_CurrentPlayListIndex, eParam_RecordFormat};

std::unique_ptr<ShmString> shared(const QString &name)
{
    return std::make_unique<ShmString>(name.toLocal8Bit().constData());
}

void publish(ShmString &string, const QmxTimecode &tc)
{
    string.set(tc.toString().toLocal8Bit().constData());
}

} // namespace

ConfigUpdater::ConfigUpdater(ConfigInterface *config, QObject *parent)
    : QObject(parent),
      _config(config),
      _shmStringCurrentTimecode(shared(QmxEnvironment::current().places->currentTimecode)),
      _shmStringInputTimecode(shared(QmxEnvironment::current().places->inputTimecode))
{
    QMX_VERIFY(logSource, CreateCurrentFailed, _shmStringCurrentTimecode->create(64));
    QMX_VERIFY(logSource, CreateInputFailed, _shmStringInputTimecode->create(64));
    // clang-format off
  QMX_VERIFY(logSource, ConnectFailed,
             connect(_config, SIGNAL(paramChanged(quint32, const QVariant &, const QmxTimeStamp &)),
                     this, SLOT(configParamChanged(quint32, const QVariant &, const QmxTimeStamp &))));
    // clang-format on

    _config->loadParams(initialParams, static_cast<int>(std::size(initialParams)));

    publish(*_shmStringCurrentTimecode, QmxTimecode());
    publish(*_shmStringInputTimecode, QmxTimecode());
}

ConfigUpdater::~ConfigUpdater() = default;

void ConfigUpdater::setStorageInUse(bool inUse)
{
    if (inUse == _lastInUse) return;
    _lastInUse = inUse;
    if (inUse) {
        _config->setUInt32(eParam_StorageState, storeNumber(StorageState::InUse));
        qmxLogOutput(QmxLogLevel::Info, logSource, InUse, "*** Storage media is now in use\n");
    } else {
        _config->setUInt32(eParam_StorageState, storeNumber(StorageState::Released));
        qmxLogOutput(QmxLogLevel::Info, logSource, Released, "*** Storage media has been released\n");
    }
}

void ConfigUpdater::setCurrentClip(const QString &clip)
{
    if (clip == _lastClip) return;
    _lastClip = clip;
    _config->setString(eParam_CurrentClip, clip);
}

void ConfigUpdater::setCurrentPlayListIndex(int index)
{
    if (index == _lastIndex) return;
    _lastIndex = index;
    _config->setUInt32(eParam_CurrentPlayListIndex, static_cast<quint32>(index));
}

void ConfigUpdater::setCurrentTimecode(const QmxTimecode &tc)
{
    if (tc == _lastCurrentTimecode) return;
    publish(*_shmStringCurrentTimecode, tc);
    _lastCurrentTimecode = tc;
}

void ConfigUpdater::setInputTimecode(const QmxTimecode &tc)
{
    if (tc == _lastInputTimecode) return;
    publish(*_shmStringInputTimecode, tc);
    _lastInputTimecode = tc;
}

void ConfigUpdater::configParamChanged(quint32 id, const QVariant &value, const QmxTimeStamp &)
{
    if (id == eParam_CurrentClip)
        _lastClip = value.toString();
    else if (id == eParam_CurrentPlayListIndex)
        _lastIndex = value.toInt();
}

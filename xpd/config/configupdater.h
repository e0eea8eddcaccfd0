// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/product/shmstring.h"
#include "platform/qmx/core/qmxtimecode.h"
#include "platform/qmx/core/qmxtimestamp.h"

#include <QObject>
#include <QString>
#include <QVariant>

#include <memory>

class ConfigInterface;

/// Publishes what the transport is doing: clip name, list position and use of the media in the
/// configuration store, the two timecodes in shared memory, where others read them at frame rate.
/// A value equal to the last one written or seen is not written again.
///
/// Event loop only.
class ConfigUpdater : public QObject
{
    Q_OBJECT

public:
    /// Creates the shared strings, then loads clip name and list position from the store, which
    /// every receiver already connected to `config` sees too. `config` must outlive this object.
    ConfigUpdater(ConfigInterface *config, QObject *parent);
    ~ConfigUpdater() override;

public slots:
    /// The first `false` writes nothing: the store keeps what it held until media are really used.
    void setStorageInUse(bool inUse);
    void setCurrentClip(const QString &clip);
    /// Position in the list, from 0.
    void setCurrentPlayListIndex(int index);
    /// Called once a frame: an unchanged timecode costs one comparison.
    void setCurrentTimecode(const QmxTimecode &tc);
    void setInputTimecode(const QmxTimecode &tc);
    /// Follows changes made by other processes.
    void configParamChanged(quint32 id, const QVariant &value, const QmxTimeStamp &ts);

private:
    ConfigInterface *_config;
    std::unique_ptr<ShmString> _shmStringCurrentTimecode;
    std::unique_ptr<ShmString> _shmStringInputTimecode;
    QString _lastClip;
    bool _lastInUse = false;
    int _lastIndex = -1;
    QmxTimecode _lastCurrentTimecode;
    QmxTimecode _lastInputTimecode;
};

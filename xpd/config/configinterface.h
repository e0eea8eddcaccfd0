// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxtimestamp.h"
#include "platform/store/config.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QVariant>

#include <memory>
#include <string>

/// The one adapter between the configuration store and the event loop.
///
/// Threads: everything is called on the event loop, except the three listener operations, which
/// the store calls on its own thread. They touch no member and only emit `paramChanged` there;
/// receivers are connected with the automatic type, so a change reaches them as a queued call with
/// copies of its values. This is the only crossing from the store's thread to the event loop.
class ConfigInterface : public QObject, public ConfigEventListener
{
    Q_OBJECT

public:
    /// Creates the parameter descriptors (once a process), the store object and the event object,
    /// and listens to the latter. What cannot be created is logged and stays null: the getters then
    /// answer the parameter's default and the setters refuse.
    explicit ConfigInterface(QObject *parent);
    ~ConfigInterface() override;

    /// The value of a string parameter; empty when the store does not give one.
    QString getString(quint32 id);
    /// The value of an unsigned, boolean or enumerated parameter; 0 when the store does not give one.
    quint32 getUInt32(quint32 id);
    /// The bytes of a data parameter, embedded zeros included.
    QByteArray getData(quint32 id);

    /// One line for the log: "[id in hexadecimal] name = value"; empty for an unknown parameter.
    QString paramToString(quint32 id, const QVariant &value);

    /// The store object, for the libraries that work on it directly. Stays owned by this object;
    /// null when it could not be created.
    Config *configObject() const;

public slots:
    /// Reads one parameter and emits `paramChanged` for it before returning. A data parameter is
    /// read as a number here, unlike in change events; its reader fetches the bytes itself.
    void loadParam(quint32 id);
    /// `loadParam` for `listSize` identifiers in list order.
    void loadParams(const quint32 *idlist, int listSize);
    /// Writes by the kind of the value: a string, bytes, or else a number. True when accepted.
    bool set(quint32 paramID, const QVariant &value);
    bool setString(quint32 id, const QString &value);
    bool setUInt32(quint32 id, quint32 value);
    bool setData(quint32 id, const QByteArray &value);

signals:
    /// A parameter has a new value, or was loaded. The value holds an unsigned number, a QString or
    /// a QByteArray. Emitted on the store's thread for changes, on the caller's for loads.
    void paramChanged(quint32 id, const QVariant &value, const QmxTimeStamp &ts);

public:
    // The overload for whole events keeps its default; without this line it would be hidden.
    using ConfigEventListener::ParamChanged;
    void ParamChanged(eParam_t id, unsigned int value, timeval tv) override;
    void ParamChanged(eParam_t id, std::string value, timeval tv) override;
    bool DataChanged(eParam_t id, std::string &value, timeval tv) override;

private:
    std::unique_ptr<Config> _store;
    std::unique_ptr<Config> _events;
};

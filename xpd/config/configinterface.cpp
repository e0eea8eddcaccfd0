// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/config/configinterface.h"

#include "platform/qmx/core/qmxloglevel.h"
#include "platform/store/configfactoryimpl.h"

namespace {

constexpr const char *logSource = "configinterface";

// Line numbers in the log name the message and stay when the source moves.
enum LogLine : int { StoreFailed = 49, EventsFailed = 51, UnknownParam = 138 };

constexpr const char *transport = "udp";

eParam_t toParam(quint32 id)
{
    return static_cast<eParam_t>(id);
}

/// What a parameter reads as without a store: 0 would switch several of them on.
StoreValue defaultOf(quint32 id)
{
    const ParamDescriptor *descriptor = GetDescriptor(toParam(id));
    return descriptor ? descriptor->defaultValue() : StoreValue{};
}

void createDescriptorsOnce()
{
    static bool created = false;
    if (created) return;
    CreateDescriptors();
    created = true;
}

} // namespace

ConfigInterface::ConfigInterface(QObject *parent) : QObject(parent)
{
    createDescriptorsOnce();
    const std::string storeURI = GetConfigURI(transport);
    const std::string eventsURI = GetEventsURI(transport);

    _store.reset(ConfigFactoryImpl::GetInstance()->create(storeURI));
    if (!_store)
        qmxLogOutput(QmxLogLevel::Error, logSource, StoreFailed, "Failed to create config: %s\n",
                     storeURI.c_str());
    _events.reset(ConfigFactoryImpl::GetInstance()->create(eventsURI));
    if (!_events)
        qmxLogOutput(QmxLogLevel::Error, logSource, EventsFailed, "Failed to create events: %s\n",
                     eventsURI.c_str());

    if (_events) _events->addListener(this);
}

ConfigInterface::~ConfigInterface()
{
    // Here, not by the members: the event thread may call the listener until its object is gone, so
    // this must still be a whole ConfigInterface.
    _store.reset();
    _events.reset();
}

QString ConfigInterface::getString(quint32 id)
{
    std::string value;
    if (_store)
        _store->getString(toParam(id), value);
    else
        value = defaultOf(id).text;
    return QString::fromStdString(value);
}

quint32 ConfigInterface::getUInt32(quint32 id)
{
    unsigned int value = 0;
    if (_store)
        _store->getUInt(toParam(id), value);
    else
        value = defaultOf(id).number;
    return value;
}

QByteArray ConfigInterface::getData(quint32 id)
{
    std::string value;
    if (_store)
        _store->getData(toParam(id), value);
    else
        value = defaultOf(id).text;
    return QByteArray(value.data(), static_cast<qsizetype>(value.length()));
}

QString ConfigInterface::paramToString(quint32 id, const QVariant &value)
{
    const ParamDescriptor *descriptor = GetDescriptor(toParam(id));
    if (!descriptor) return QString();

    QString text;
    if (descriptor->type() == ParamDescriptor::Enumerated) {
        const int number = value.toInt();
        text = QStringLiteral("[%1] ").arg(number) + QString::fromStdString(descriptor->label(number));
    } else if (dynamic_cast<const DataDescriptor *>(descriptor)) {
        text = QStringLiteral("Data Parameter - no details available");
    } else {
        text = value.toString();
    }
    // Joined rather than chained through arg(): a value may contain a percent sign.
    return QStringLiteral("[%1] ").arg(id, 0, 16) + QString::fromStdString(descriptor->name()) +
           QStringLiteral(" = ") + text;
}

Config *ConfigInterface::configObject() const
{
    return _store.get();
}

void ConfigInterface::loadParam(quint32 id)
{
    const ParamDescriptor *descriptor = GetDescriptor(toParam(id));
    if (!descriptor) {
        qmxLogOutput(QmxLogLevel::Error, logSource, UnknownParam, "Param ID %u not found\n", id);
        return;
    }
    const QVariant value =
        descriptor->type() == ParamDescriptor::String ? QVariant(getString(id)) : QVariant(getUInt32(id));
    emit paramChanged(id, value, QmxTimeStamp::getCurrent());
}

void ConfigInterface::loadParams(const quint32 *idlist, int listSize)
{
    for (int i = 0; i < listSize; ++i)
        loadParam(idlist[i]);
}

bool ConfigInterface::set(quint32 paramID, const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::QString:
        return setString(paramID, value.toString());
    case QMetaType::QByteArray:
        return setData(paramID, value.toByteArray());
    default:
        return setUInt32(paramID, value.toUInt());
    }
}

bool ConfigInterface::setString(quint32 id, const QString &value)
{
    return _store && _store->setString(toParam(id), value.toStdString());
}

bool ConfigInterface::setUInt32(quint32 id, quint32 value)
{
    return _store && _store->setUInt(toParam(id), value);
}

bool ConfigInterface::setData(quint32 id, const QByteArray &value)
{
    return _store &&
           _store->setData(toParam(id), std::string(value.constData(), static_cast<size_t>(value.size())));
}

void ConfigInterface::ParamChanged(eParam_t id, unsigned int value, timeval tv)
{
    emit paramChanged(id, QVariant(value), QmxTimeStamp(tv));
}

void ConfigInterface::ParamChanged(eParam_t id, std::string value, timeval tv)
{
    emit paramChanged(id, QVariant(QString::fromStdString(value)), QmxTimeStamp(tv));
}

bool ConfigInterface::DataChanged(eParam_t id, std::string &value, timeval tv)
{
    // Constructed with a pointer even when empty: a null byte array would read as no value.
    emit paramChanged(id, QVariant(QByteArray(value.data(), static_cast<qsizetype>(value.length()))),
                      QmxTimeStamp(tv));
    return true;
}

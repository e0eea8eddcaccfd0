// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/app/apprig.h"

#include "platform/store/configfactoryimpl.h"

AppRig::AppRig()
{
    registerMetaTypes();
    // A machine that only builds has no stills for a lost input.
    allowLog(QString(), QStringLiteral("loss_of_video"));
    allowLog(QString(), QStringLiteral("Failed to find loss of video file"));
    CreateDescriptors();
    store.reset(ConfigFactoryImpl::GetInstance()->create(GetConfigURI("udp"), "operator", false));
    EXPECT_TRUE(store->setString(eParam_ActiveMediaPath, "/media/A"));
}

AppRig::~AppRig()
{
    if (app) quit();
}

void AppRig::begin()
{
    app = std::make_unique<MainObject>(false, nullptr);
    ASSERT_TRUE(Stepper::runUntil([this] { return vtr().inputState().isValid(); }));
    Stepper::runMs(1000); // the input that was found leads to a reset half a second later
    ASSERT_TRUE(settles(VtrMode::StandbyOff));
}

void AppRig::quit()
{
    // The framework lets a change of mode end before it tells the application of the end.
    EXPECT_TRUE(Stepper::runUntil([this] { return !vtr().hasPendingModeChange(); }));
    app->shutdown();
    app.reset();
}

VtrObject &AppRig::vtr()
{
    return *app->findChild<VtrObject *>();
}

void AppRig::command(unsigned value)
{
    _mark = LogCollector::records().size();
    EXPECT_TRUE(store->setUInt(eParam_TransportCommand, value)) << store->lastError();
    EXPECT_TRUE(
        logs("mainobject", QStringLiteral("Param Changed: [7d01000a] transport_command = [%1]").arg(value)));
}

void AppRig::write(eParam_t param, const QString &value)
{
    _mark = LogCollector::records().size();
    const ParamDescriptor *descriptor = GetDescriptor(param);
    StoreValue parsed;
    std::string reason;
    ASSERT_TRUE(descriptor->parse(value.toStdString(), parsed, reason)) << reason;
    ASSERT_TRUE(store->setValue(param, parsed)) << store->lastError();
    EXPECT_TRUE(logs("mainobject", QStringLiteral("Param Changed: [%1]").arg(quint32(param), 0, 16)));
}

bool AppRig::settles(VtrMode::Value mode)
{
    return Stepper::runUntil([this, mode] {
        return vtr().state().mode().value() == mode && !vtr().hasPendingModeChange() &&
               vtr().stateToString().endsWith(QStringLiteral("] "));
    });
}

QString AppRig::record(int ms)
{
    command(3);
    EXPECT_TRUE(settles(VtrMode::Record));
    Stepper::runMs(ms);
    EXPECT_TRUE(reads(eParam_StorageState, 1));
    QString before = text(eParam_CurrentClip);
    EXPECT_TRUE(endRecord());
    return before;
}

bool AppRig::endRecord()
{
    command(4);
    return settles(VtrMode::StandbyOff);
}

unsigned AppRig::number(eParam_t param)
{
    unsigned value = 0;
    store->getUInt(param, value);
    return value;
}

QString AppRig::text(eParam_t param)
{
    std::string value;
    store->getString(param, value);
    return QString::fromStdString(value);
}

QByteArray AppRig::data(eParam_t param)
{
    std::string value;
    store->getData(param, value);
    return QByteArray::fromStdString(value);
}

bool AppRig::reads(eParam_t param, unsigned value)
{
    return Stepper::waitFor([&] { return number(param) == value; });
}

bool AppRig::reads(eParam_t param, const QString &value)
{
    return Stepper::waitFor([&] { return text(param) == value; });
}

bool AppRig::shows(eParam_t alarm, const char *wanted)
{
    return Stepper::waitFor([&] { return data(alarm).contains(wanted); });
}

bool AppRig::isClear(eParam_t alarm)
{
    return Stepper::waitFor([&] { return data(alarm).isEmpty(); });
}

bool AppRig::logs(const char *source, const QString &wanted)
{
    return Stepper::waitFor([&] { return !lines(source).filter(wanted).isEmpty(); });
}

QStringList AppRig::lines(const char *source) const
{
    QStringList texts;
    for (const QmxLogRecord &record : LogCollector::records().mid(_mark)) {
        if (record.source == QLatin1String(source)) texts << record.text;
    }
    return texts;
}

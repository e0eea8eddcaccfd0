// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/takesettings.h"

#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/store/config.h"
#include "platform/store/eparamtimecode.h"

#include <QCoreApplication>
#include <QPointer>

#include <initializer_list>
#include <list>
#include <memory>
#include <string>

namespace {

using Values = QmxTakeOptions::Values;

struct NumberRow
{
    eParam_t id;
    void (*take)(Values &values, unsigned value);
};
constexpr std::initializer_list<NumberRow> numberRows = {
    {eParam_PreRecord,
     [](Values &values, unsigned value) { values.preRecord = std::chrono::seconds(value); }},
    {eParam_TornPictures, [](Values &values, unsigned value) { values.keepsTornPictures = value != 0; }},
};

struct TextRow
{
    eParam_t id;
    void (*take)(Values &values, const QString &value);
};
constexpr std::initializer_list<TextRow> textRows = {
    {eParam_MirrorMediaPath, [](Values &values, const QString &value) { values.mirrorMediaPath = value; }},
    {eParam_TimecodeUserBits, [](Values &values, const QString &value) { values.userBits = value; }},
    {eParam_RecordStart,
     [](Values &values, const QString &value) {
         values.recordStart = value;
         ++values.startSerial;
     }},
    {eParam_RecordEnd,
     [](Values &values, const QString &value) {
         values.recordEnd = value;
         ++values.startSerial;
     }},
};

void forgetStart(Config &config)
{
    for (const eParam_t id : {eParam_RecordStart, eParam_RecordEnd}) {
        std::string value;
        if (config.getString(id, value) && !value.empty()) config.setString(id, "");
    }
}

template <class Row, class Value>
void take(QmxDeck &deck, std::initializer_list<Row> rows, eParam_t id, const Value &value)
{
    for (const Row &row : rows)
        if (row.id == id) deck.takeOptions.change([&](Values &values) { row.take(values, value); });
}

class TakeSettings : public ConfigEventListener
{
public:
    using ConfigEventListener::ParamChanged;
    void ParamChanged(eParam_t id, unsigned value, timeval) override { take(*_deck, numberRows, id, value); }
    void ParamChanged(eParam_t id, std::string value, timeval) override
    {
        take(*_deck, textRows, id, QString::fromStdString(value));
    }

private:
    const std::shared_ptr<QmxDeck> _deck = QmxEnvironment::current().deck;
};

} // namespace

void followTakeSettings(Config *config, QObject *context)
{
    // Never destroyed: a store does not let go of its listeners before its own end.
    static auto *const kept = new std::list<TakeSettings>;
    TakeSettings *settings = &kept->emplace_back();
    config->addListener(settings);
    QmxEnvironment::current().deck->takeOptions.setSpent([config, context = QPointer<QObject>(context)] {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [config, context] {
                if (context) forgetStart(*config);
            },
            Qt::QueuedConnection);
    });
    for (const NumberRow &row : numberRows) {
        unsigned value = 0;
        config->getUInt(row.id, value);
        settings->ParamChanged(row.id, value, {});
    }
    for (const TextRow &row : textRows) {
        std::string value;
        config->getString(row.id, value);
        settings->ParamChanged(row.id, value, {});
    }
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/startorders.h"

#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/store/config.h"
#include "platform/store/eparamreplay.h"

namespace {

/// On the store's thread, which delivers in the order of writing.
class StartOrders : public ConfigEventListener
{
public:
    using ConfigEventListener::ParamChanged;
    void ParamChanged(eParam_t, unsigned, timeval) override {}
    void ParamChanged(eParam_t id, std::string value, timeval) override
    {
        if (id != eParam_StartAt) return;
        const auto order = QmxStartOrder::fromText(QString::fromStdString(value));
        if (order)
            QmxEnvironment::current().deck->startOrders.give(*order);
        else
            qmxLogOutput(QmxLogLevel::Warning, "startorders", __LINE__,
                         "'%s' says of no clip where to begin\n", value.c_str());
    }
};

} // namespace

void followStartOrders(Config *config)
{
    // Never destroyed: a store does not let go of its listeners before its own end.
    static auto *const orders = new StartOrders;
    config->addListener(orders);
}

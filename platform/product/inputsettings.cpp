// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/inputsettings.h"

#include "platform/qmx/core/qmxinputoptions.h"
#include "platform/store/config.h"

namespace {

void keepTorn(unsigned value)
{
    QmxInputOptions::instance()->keepsTornPictures = value != 0;
}

class InputSettings : public ConfigEventListener
{
public:
    using ConfigEventListener::ParamChanged;
    void ParamChanged(eParam_t id, unsigned value, timeval) override
    {
        if (id == eParam_TornPictures) keepTorn(value);
    }
    void ParamChanged(eParam_t, std::string, timeval) override {}
};

} // namespace

void followInputSettings(Config *config)
{
    // Never destroyed: a store does not let go of its listeners before its own end.
    static auto *const settings = new InputSettings;
    config->addListener(settings);
    unsigned value = 0;
    config->getUInt(eParam_TornPictures, value);
    keepTorn(value);
}

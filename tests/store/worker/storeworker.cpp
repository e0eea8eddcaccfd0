// SPDX-License-Identifier: GPL-3.0-or-later
// Another process at the store, for tests: writes, listens or raises an alarm until it is killed. It tells
// what it has done line by line on standard output.
#include "platform/store/alarmproducer.h"
#include "platform/store/alarms.pb.h"
#include "platform/store/configfactoryimpl.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include <unistd.h>

namespace {

void tell(const std::string &line)
{
    const std::string text = line + "\n";
    if (::write(STDOUT_FILENO, text.data(), text.size()) < 0) ::_exit(3);
}

class Listener : public ConfigEventListener
{
public:
    using ConfigEventListener::ParamChanged;
    void ParamChanged(eParam_t id, unsigned value, timeval) override
    {
        tell(std::to_string(id) + " " + std::to_string(value));
    }
    void ParamChanged(eParam_t id, std::string value, timeval) override
    {
        tell(std::to_string(id) + " " + value);
    }
    void ParamChanged(ConfigEvent event) override
    {
        if (event.kind == ConfigEvent::Reload) tell("reload");
    }
};

/// Numbers from `first` on, one after the other; a line for each that has been acknowledged.
int writeNumbers(Config &config, const std::string &name, unsigned first, unsigned count)
{
    const ParamDescriptor *descriptor = FindDescriptor(name);
    for (unsigned value = first; value < first + count; ++value) {
        if (!config.setUInt(descriptor->id(), value)) {
            tell("refused " + config.lastError());
            return 1;
        }
        tell(std::to_string(value));
    }
    return 0;
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc < 3) return 2;
    const std::string role = argv[1];
    if (role.starts_with("nobody-") && ::setresuid(65534, 65534, 65534) != 0) return 4;
    const std::unique_ptr<Config> config(ConfigFactoryImpl::GetInstance()->create(argv[2], "worker", false));
    if (!config) return 2;
    if (role == "write" || role == "nobody-write")
        return writeNumbers(*config, argv[3], static_cast<unsigned>(std::atoi(argv[4])),
                            static_cast<unsigned>(std::atoi(argv[5])));
    if (role == "alarm")
        tell(AlarmProducer::raise(config.get(), eParam_AlarmMediaFull, kel::alarms::Alarm::ERROR, "full")
                 ? "raised"
                 : "refused");
    Listener listener;
    if (role == "listen") {
        config->addListener(&listener);
        tell("ready");
    }
    ::pause();
    return 0;
}

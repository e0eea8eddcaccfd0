// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/eparam.h"

#include <QtGlobal>

#include <string>

#include <sys/time.h>

/// One change of a parameter, whole.
struct ConfigEvent
{
    /// Not a change: the store cannot tell all that has happened (it was lost and made anew, or its log was
    /// cut before it was read). The values that differ follow as changes; commands may have been lost.
    static constexpr int Reload = 0;

    eParam_t id{};
    int kind = 0;        ///< type() of the parameter's descriptor, or Reload (then `id` is 0)
    unsigned number = 0; ///< of unsigned, bool and enumerated parameters
    std::string text;    ///< of string and data parameters
    timeval time{};      ///< when it was written, time of day
    quint64 version = 0; ///< position in the store's order of writes; 0 when a value is told, not changed
    std::string source;  ///< who wrote it
};

/// Hears the changes that other clients write. Called on the store's own thread, one call at a time, in the
/// order of the writes; a listener that takes long delays only the listeners of its own process.
class ConfigEventListener
{
public:
    virtual ~ConfigEventListener();
    virtual void ParamChanged(eParam_t id, unsigned int value, timeval time) = 0;
    virtual void ParamChanged(eParam_t id, std::string value, timeval time) = 0;
    /// A parameter of bytes. True: taken; false (the default): ParamChanged(ConfigEvent) is called too.
    virtual bool DataChanged(eParam_t id, std::string &value, timeval time);
    /// Bytes that DataChanged() has not taken, and Reload. The default does nothing.
    virtual void ParamChanged(ConfigEvent event);
};

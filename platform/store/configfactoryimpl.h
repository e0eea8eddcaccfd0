// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/config.h"

#include <string>

/// Makes Config objects. Any thread.
class ConfigFactoryImpl
{
public:
    static ConfigFactoryImpl *GetInstance();

    /// A new access to the store at `uri` ("sqlite:PATH"); the caller owns it. Null only when the address is
    /// wrong: a store that cannot be reached still gives an object.
    ///
    /// `client` names who writes; nobody hears the writes of the same client of the same process. Empty: the
    /// process itself. `queued`: writes never wait (see Config).
    Config *create(const std::string &uri, const std::string &client = {}, bool queued = true);

private:
    ConfigFactoryImpl() = default;
};

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/storestate.h"

#include "platform/qmx/core/qmxloglevel.h"

namespace {
constexpr const char *module = "storestate";
}

StoreState::StoreState(std::string uri) : _uri(std::move(uri)) {}

void StoreState::report(Use use, const StoreResult &result)
{
    const std::lock_guard lock(_mutex);
    std::string &text = _texts[use];
    if (text == result.text) return;
    const std::string &other = _texts[use == Reading ? Writing : Reading];
    // Only the first of a row of errors: they have one cause.
    if (text.empty() && other.empty())
        qmxLogOutput(QmxLogLevel::Error, module, __LINE__, "%s\n", result.text.c_str());
    else if (result.isDone() && other.empty())
        qmxLogOutput(QmxLogLevel::Info, module, __LINE__, "The configuration store %s can be used again\n",
                     _uri.c_str());
    text = result.text;
}

std::string StoreState::text() const
{
    const std::lock_guard lock(_mutex);
    return _texts[Writing].empty() ? _texts[Reading] : _texts[Writing];
}

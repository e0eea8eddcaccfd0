// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/storestate.h"

#include "platform/qmx/core/qmxlog.h"

namespace {
constexpr const char *module = "storestate";
}

StoreState::StoreState(std::string uri) : _uri(std::move(uri)) {}

void StoreState::report(const StoreResult &result)
{
    const std::lock_guard lock(_mutex);
    if (_text == result.text) return;
    // Only the first of a row of different errors: they have one cause.
    if (_text.empty())
        qmxLogOutput(1, module, __LINE__, "%s\n", result.text.c_str());
    else if (result.isDone())
        qmxLogOutput(3, module, __LINE__, "The configuration store %s can be used again\n", _uri.c_str());
    _text = result.text;
}

std::string StoreState::text() const
{
    const std::lock_guard lock(_mutex);
    return _text;
}

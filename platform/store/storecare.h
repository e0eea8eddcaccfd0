// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/storethread.h"

/// Upkeep of a store (checkpoints, backups) on the thread "store-care", about once a second, so that no
/// write ever waits for it.
class StoreCare : public StoreThread
{
public:
    explicit StoreCare(std::unique_ptr<StoreBackend> backend) : StoreThread("store-care", std::move(backend))
    {}

private:
    void run() override;
};

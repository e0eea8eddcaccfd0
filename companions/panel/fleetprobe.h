// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/panel/fleetkey.h"
#include "companions/panel/fleetmachine.h"

#include <QList>

#include <chrono>
#include <memory>

/// Asks machines who they are, all at once, each to prove it with the fleet's key and over TLS also that its
/// certificate is its own. Waits for nobody longer than two seconds; only the end of it waits for a name that
/// nobody resolves. One thread.
class FleetProbe
{
public:
    /// `wall`: time of day, since 1970-01-01 00:00 UTC.
    FleetProbe(const FleetKey &key, std::chrono::seconds wall);
    ~FleetProbe();
    FleetProbe(const FleetProbe &) = delete;
    FleetProbe &operator=(const FleetProbe &) = delete;

    /// Once: the machines with what is known of them now.
    QList<FleetMachine> ask(QList<FleetMachine> machines);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/panel/access.h"
#include "companions/panel/fleetkey.h"
#include "companions/panel/fleetmachine.h"
#include "companions/panel/passedon.h"
#include "platform/qmx/core/qmxclock.h"

#include <QJsonObject>
#include <QList>

#include <atomic>
#include <mutex>
#include <thread>

/// The other panels that this one passes requests on to: those of the further channels of this machine, and
/// those of other machines, which are named in a file or have announced themselves in the store of the fleet.
/// The thread "panel-fleet" announces this one, asks all machines how they are, and waits for nobody longer
/// than two seconds. know() and resolve() any thread, verify() the server's.
class Fleet
{
public:
    /// `options`: of this panel. One that others reach announces itself.
    explicit Fleet(const PanelOptions &options);
    ~Fleet();
    Fleet(const Fleet &) = delete;
    Fleet &operator=(const Fleet &) = delete;

    QList<FleetMachine> machines() const;
    /// What this one tells of itself.
    static QJsonObject self();
    /// Where "channels" or "machines", and the name behind it, lead; an error answer when nowhere.
    std::optional<HttpReply> resolve(const QString &kind, const QString &name, const HttpCall &call,
                                     const QByteArray &target, PassedOn &to) const;
    bool verify(const HttpCall &call, QByteArray &proof);
    bool hasKey() const { return _key.isSet(); }

private:
    void run();
    QList<FleetMachine> find() const;
    void announce();
    void keepProved(QList<FleetMachine> &found) const;
    std::optional<HttpReply> passTo(const FleetMachine &machine, const HttpCall &call, PassedOn &to) const;

    const PanelOptions &_options;
    FleetKey _key;
    mutable std::mutex _mutex;
    QList<FleetMachine> _machines;
    std::atomic<bool> _stop = false;
    QmxInterrupt _interrupt;
    std::thread _thread;
};

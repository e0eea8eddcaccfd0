// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/eparamcontrol.h"
#include "platform/store/paramrow.h"

std::vector<ParamRow> controlRows()
{
    using enum ParamDescriptor::Keep;
    return {
        string(eParam_ControlOwner, "control_owner", Volatile,
               "Who is in control, as JSON: name, front, address, id, since, until; empty: nobody. "
               "`xpctl take-control` writes it.")
            .with({Attribute::told}),
        string(
            eParam_ControlLock, "control_lock", Volatile,
            "Who has locked the transport, as JSON: name, front, address, id, since, until; empty: nobody. "
            "`xpctl lock` writes it.")
            .with({Attribute::told}),
        enumeration(eParam_ControlMode, "control_mode", Persistent, {{0, "remote"}, {1, "local"}},
                    "Who may move the transport: remote is everybody, local only who sits at this machine."),
        string(eParam_ControlVerb, "control_verb", Volatile,
               "Who moved the transport last and how, as JSON: id, verb, name, front, address, time.")
            .with({Attribute::told}),
        string(eParam_TakeStarter, "take_starter", Volatile,
               "Who began the take that runs or ran last, as JSON: name, front, address, id, since.")
            .with({Attribute::told}),
        enumeration(eParam_TakeProtection, "take_protection", Persistent,
                    {{0, "off"}, {1, "network"}, {2, "all"}},
                    "Whose commands end a take only when they say force: nobody's, those that come over a "
                    "network or a control line, or everybody's. Who began the take may always stop it.")
            .defaults(1),
        string(eParam_AlarmsAcknowledged, "alarms_acknowledged", Volatile,
               "Who has seen which alarm, as JSON: by its name, name, front, address, id, time. "
               "`xpctl acknowledge` writes it.")
            .with({Attribute::told}),
        string(eParam_SettingsProfiles, "settings_profiles", Persistent,
               "Named sets of settings, as JSON: by its name a list of name and value. `xpctl profile` "
               "writes it.")
            .with({Attribute::told}),
    };
}

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// The mode of the tape machine. A value without identity; Invalid until the transport has been started.
class VtrMode
{
public:
    enum Value { Invalid = 0, StandbyOff = 1, Play = 2, Record = 3, Shutdown = 4 };

    VtrMode(Value value = Invalid) : _value(value) {}

    Value value() const { return _value; }
    bool isValid() const { return _value != Invalid; }
    bool isInModeStandbyOff() const { return _value == StandbyOff; }
    bool isInModePlay() const { return _value == Play; }
    bool isInModeRecord() const { return _value == Record; }
    bool isInModeShutdown() const { return _value == Shutdown; }

    /// The word for the mode as logs and operators see it.
    const char *name() const { return name(_value); }
    /// As above; null for a number that is no mode.
    static const char *name(Value value);

    bool operator==(const VtrMode &other) const { return _value == other._value; }
    bool operator!=(const VtrMode &other) const { return _value != other._value; }

private:
    Value _value;
};

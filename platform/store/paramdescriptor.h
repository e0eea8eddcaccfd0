// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/eparam.h"
#include "platform/store/storevalue.h"

#include <string>
#include <utility>
#include <vector>

struct ParamRow;

/// What is known about one parameter of the store: name, type, values, default, persistence, unit, help.
/// The same descriptor feeds validation, command line, panel and documentation. Immutable after
/// CreateDescriptors(); any thread.
class ParamDescriptor
{
public:
    /// Values of type().
    enum Type : int { Unsigned = 1, Bool = 2, Enumerated = 3, String = 12, Data = 14 };
    /// What becomes of a value: kept over a power cut, kept until the machine restarts, or never kept.
    enum class Keep { Persistent, Volatile, Command };

    explicit ParamDescriptor(const ParamRow &row);
    virtual ~ParamDescriptor();
    ParamDescriptor(const ParamDescriptor &) = delete;
    ParamDescriptor &operator=(const ParamDescriptor &) = delete;

    eParam_t id() const;
    /// Unique, lower_snake_case.
    std::string name() const;
    int type() const;
    StoreValue::Kind valueKind() const;
    /// Label of a value of an enumerated or bool parameter; the number itself when it has none.
    std::string label(int value) const;
    /// Values and labels of an enumerated or bool parameter, ascending; empty for all others.
    std::vector<std::pair<unsigned, std::string>> values() const;
    bool hasAttribute(const std::string &attribute) const;
    std::vector<std::string> attributes() const;

    unsigned minimum() const; ///< of Unsigned
    unsigned maximum() const; ///< of Unsigned
    StoreValue defaultValue() const;
    Keep keep() const;
    /// Every write is an event, also one of the value that is there already.
    bool everyWriteIsEvent() const;
    /// Told once to a newly registered listener, whatever its value.
    bool isToldToNewListeners() const;
    bool isAlarm() const;
    /// The recorder's own programs write it, for people and other programs to read.
    bool isTold() const;
    std::string unit() const; ///< "frames", "h"; empty when it has none
    std::string help() const; ///< a sentence for the operator

    /// Whether the parameter accepts `value`; if not, `reason` is a sentence that says why.
    bool check(const StoreValue &value, std::string &reason) const;
    /// Reads what a person types: a label, a number, "on" and "off", a text, a path. False with a reason.
    bool parse(const std::string &text, StoreValue &value, std::string &reason) const;
    /// The value as a person reads it; parse() reads it back, alarms apart.
    std::string print(const StoreValue &value) const;

private:
    std::string describeValues() const;
    const ParamRow &_row;
};

class StringDescriptor : public ParamDescriptor
{
public:
    using ParamDescriptor::ParamDescriptor;
};

class DataDescriptor : public ParamDescriptor
{
public:
    using ParamDescriptor::ParamDescriptor;
};

/// Builds the descriptors. Once a process, before GetDescriptor(); again: nothing happens. Any thread.
void CreateDescriptors();
/// Null for an unknown id, and before CreateDescriptors().
const ParamDescriptor *GetDescriptor(eParam_t id);
/// By name; null when there is none.
const ParamDescriptor *FindDescriptor(const std::string &name);
/// All descriptors, in the order of the tables (related ones together).
const std::vector<const ParamDescriptor *> &AllDescriptors();

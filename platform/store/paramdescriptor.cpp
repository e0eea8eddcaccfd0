// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/paramdescriptor.h"

#include "platform/qmx/core/qmxpackedtimecode.h"
#include "platform/qmx/core/qmxtimecode.h"
#include "platform/store/alarms.pb.h"
#include "platform/store/datafile.pb.h"
#include "platform/store/paramrow.h"
#include "platform/store/textrules.h"
#include "platform/store/values.h"

#include <QString>

#include <algorithm>
#include <charconv>

namespace {

constexpr std::size_t maximumData = 65536; // bytes
constexpr std::size_t namesInReason = 12;  // more are told by their number only

bool parseNumber(const std::string &text, unsigned &value)
{
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    const char *begin = text.data() + (hex ? 2 : 0);
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(begin, end, value, hex ? 16 : 10);
    return error == std::errc() && stop == end && begin != end;
}

/// The timecode that a preset's number stands for.
QmxTimecode wholeTimecode(unsigned number)
{
    return QmxTimecode(int(number & INT_MAX), 0, 0, 0, 0, 0);
}

std::string whyNotNumber(const ParamDescriptor &descriptor, const ParamRow &row, const std::string &given)
{
    return row.name + " takes a number from " + std::to_string(row.minimum) + " to " +
           std::to_string(row.maximum) +
           (descriptor.hasAttribute(Attribute::timecodePreset) ? " or a timecode such as 10:00:00:00" : "") +
           ", not " + given;
}

} // namespace

ParamDescriptor::ParamDescriptor(const ParamRow &row) : _row(row) {}

ParamDescriptor::~ParamDescriptor() = default;

eParam_t ParamDescriptor::id() const
{
    return _row.id;
}

std::string ParamDescriptor::name() const
{
    return _row.name;
}

int ParamDescriptor::type() const
{
    return _row.type;
}

StoreValue::Kind ParamDescriptor::valueKind() const
{
    if (_row.type == String) return StoreValue::Kind::String;
    return _row.type == Data ? StoreValue::Kind::Data : StoreValue::Kind::Unsigned;
}

std::string ParamDescriptor::label(int value) const
{
    for (const auto &[number, text] : _row.labels)
        if (static_cast<int>(number) == value) return text;
    return std::to_string(value);
}

std::vector<std::pair<unsigned, std::string>> ParamDescriptor::values() const
{
    std::vector<std::pair<unsigned, std::string>> all;
    for (const auto &[number, text] : _row.labels)
        all.emplace_back(number, text);
    return all;
}

bool ParamDescriptor::hasAttribute(const std::string &attribute) const
{
    return std::find(_row.attributes.begin(), _row.attributes.end(), attribute) != _row.attributes.end();
}

std::vector<std::string> ParamDescriptor::attributes() const
{
    return _row.attributes;
}

unsigned ParamDescriptor::minimum() const
{
    return _row.minimum;
}

unsigned ParamDescriptor::maximum() const
{
    return _row.maximum;
}

StoreValue ParamDescriptor::defaultValue() const
{
    switch (valueKind()) {
    case StoreValue::Kind::String:
        return StoreValue::fromString(_row.text);
    case StoreValue::Kind::Data:
        return StoreValue::fromData(_row.text);
    case StoreValue::Kind::Unsigned:
        break;
    }
    return StoreValue::fromUnsigned(_row.number);
}

ParamDescriptor::Keep ParamDescriptor::keep() const
{
    return _row.keep;
}

bool ParamDescriptor::everyWriteIsEvent() const
{
    return _row.keep == Keep::Command || hasAttribute(Attribute::everyWrite);
}

bool ParamDescriptor::isToldToNewListeners() const
{
    return hasAttribute(Attribute::toldOnce);
}

bool ParamDescriptor::isAlarm() const
{
    return hasAttribute(Attribute::alarm);
}

bool ParamDescriptor::isTold() const
{
    return isAlarm() || hasAttribute(Attribute::told);
}

std::string ParamDescriptor::unit() const
{
    return _row.unit;
}

std::string ParamDescriptor::help() const
{
    return _row.help;
}

std::string ParamDescriptor::describeValues() const
{
    if (_row.labels.size() > namesInReason)
        return "one of its " + std::to_string(_row.labels.size()) + " values";
    std::string text = "one of";
    for (const auto &[number, name] : _row.labels)
        text += (text.size() > 6 ? ", " : " ") + name + " (" + std::to_string(number) + ")";
    return text;
}

bool ParamDescriptor::check(const StoreValue &value, std::string &reason) const
{
    if (value.kind != valueKind()) {
        static const char *const kinds[] = {"", "a number", "a text", "bytes"};
        reason = _row.name + " takes " + kinds[static_cast<int>(valueKind())] + ", not " +
                 kinds[static_cast<int>(value.kind)];
        return false;
    }
    switch (_row.type) {
    case Unsigned:
        if (value.number >= _row.minimum && value.number <= _row.maximum) return true;
        if (hasAttribute(Attribute::timecodePreset) && wholeTimecode(value.number).isValid()) return true;
        reason = whyNotNumber(*this, _row, std::to_string(value.number));
        return false;
    case Bool:
    case Enumerated:
        if (std::any_of(_row.labels.begin(), _row.labels.end(),
                        [&value](const auto &label) { return label.number == value.number; }))
            return true;
        reason = _row.name + " takes " + describeValues() + ", not " + std::to_string(value.number);
        return false;
    case String:
        reason = whyNotText(_row.attributes, value.text);
        if (reason.empty()) return true;
        reason = _row.name + " " + reason;
        return false;
    case Data:
        if (value.text.size() <= maximumData) return true;
        reason = _row.name + " takes at most " + std::to_string(maximumData) + " bytes";
        return false;
    }
    return false;
}

bool ParamDescriptor::parse(const std::string &text, StoreValue &value, std::string &reason) const
{
    StoreValue parsed;
    parsed.kind = valueKind();
    switch (_row.type) {
    case Unsigned:
        if (parseNumber(text, parsed.number)) break;
        if (const QmxTimecode timecode(QString::fromStdString(text));
            hasAttribute(Attribute::timecodePreset) && timecode.isValid()) {
            parsed.number = unsigned(QmxPackedTimecode::pack(timecode));
            break;
        }
        reason = whyNotNumber(*this, _row, '"' + text + '"');
        return false;
    case Bool:
    case Enumerated: {
        const auto found = std::find_if(_row.labels.begin(), _row.labels.end(),
                                        [&text](const auto &label) { return label.text == text; });
        if (found != _row.labels.end()) {
            parsed.number = found->number;
        } else if (_row.type == Bool && (text == "true" || text == "yes")) {
            parsed.number = 1;
        } else if (_row.type == Bool && (text == "false" || text == "no")) {
            parsed.number = 0;
        } else if (!parseNumber(text, parsed.number)) {
            reason = _row.name + " takes " + describeValues() + ", not \"" + text + "\"";
            return false;
        }
        break;
    }
    case String:
        parsed.text = text;
        break;
    case Data:
        if (isAlarm()) {
            reason = _row.name + " is an alarm; alarms are raised by the recorder, not set";
            return false;
        }
        if (hasAttribute(Attribute::dataFile) && !text.empty() && text.front() != '/') {
            // Programs with other folders of their own open it.
            reason = _row.name + " takes the full path of a file, such as /media/A/look.cube, not \"" + text +
                     "\"";
            return false;
        }
        if (!text.empty()) {
            kel::config::DataFile file;
            file.set_path(text);
            parsed.text = file.SerializeAsString();
        }
        break;
    }
    if (!check(parsed, reason)) return false;
    value = std::move(parsed);
    return true;
}

std::string ParamDescriptor::print(const StoreValue &value) const
{
    if (value.kind == StoreValue::Kind::String) return value.text;
    if (value.kind == StoreValue::Kind::Unsigned && hasAttribute(Attribute::timecodePreset) &&
        value.number > _row.maximum)
        return wholeTimecode(value.number).toString().toStdString();
    if (value.kind == StoreValue::Kind::Unsigned)
        return _row.labels.empty() ? std::to_string(value.number) : label(static_cast<int>(value.number));
    if (isAlarm()) {
        kel::alarms::Alarm alarm;
        if (value.text.empty()) return "clear";
        if (!alarm.ParseFromString(value.text)) return "unreadable";
        static const char *const severities[] = {"information", "warning", "error"};
        const int severity = std::clamp(static_cast<int>(alarm.severity()), 0, 2);
        return std::string(severities[severity]) + (alarm.message().empty() ? "" : ": " + alarm.message());
    }
    kel::config::DataFile file;
    return file.ParseFromString(value.text) ? file.path() : "unreadable";
}

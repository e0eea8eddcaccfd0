// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/paramdescriptor.h"

#include "platform/qmx/core/qmxpackedtimecode.h"
#include "platform/qmx/core/qmxtakemoment.h"
#include "platform/qmx/core/qmxtimecode.h"
#include "platform/store/alarms.pb.h"
#include "platform/store/datafile.pb.h"
#include "platform/store/paramrow.h"
#include "platform/store/values.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <sstream>

namespace {

constexpr std::size_t maximumText = 16384;   // bytes; a play list of some hundred clips
constexpr std::size_t maximumData = 65536;   // bytes
constexpr std::size_t maximumFileName = 255; // bytes; what the file systems take
constexpr std::size_t maximumName = 100;     // bytes; leaves room for take, rollover index and extension
constexpr std::size_t namesInReason = 12;    // more are told by their number only

bool parseNumber(const std::string &text, unsigned &value)
{
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    const char *begin = text.data() + (hex ? 2 : 0);
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(begin, end, value, hex ? 16 : 10);
    return error == std::errc() && stop == end && begin != end;
}

bool checkUserBits(const std::string &text)
{
    constexpr size_t digits = 8;
    const auto isDigit = [](unsigned char c) { return std::isxdigit(c) != 0; };
    return text.empty() || (text.size() == digits && std::all_of(text.begin(), text.end(), isDigit));
}

bool checkSpeed(const std::string &text)
{
    bool isNumber = false;
    const double speed = QString::fromStdString(text).toDouble(&isNumber);
    return isNumber && speed >= -maximumSpeed && speed <= maximumSpeed;
}

/// A part of a file name: nothing that leaves the folder, nothing that no file system takes.
bool checkFileName(const std::string &text)
{
    return !text.empty() && text.size() <= maximumName && text != "." && text != ".." &&
           std::none_of(text.begin(), text.end(),
                        [](char c) { return c == '/' || static_cast<unsigned char>(c) < 0x20; });
}

/// The file name of a clip: any name that a folder can hold, and nothing that leads out of it.
bool checkClipName(const std::string &text)
{
    return text.size() <= maximumFileName && text != "." && text != ".." &&
           (text == noClip || text.find('/') == std::string::npos);
}

bool checkClipNames(const std::string &text)
{
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        if (!checkClipName(line)) return false;
    return true;
}

constexpr const char *nameFields[] = {"name", "take", "reel", "date", "time"};

/// Empty, or the first thing in braces that is no field of a clip's name.
std::string unknownField(const std::string &text)
{
    for (std::size_t open = text.find('{'); open != std::string::npos; open = text.find('{', open + 1)) {
        const std::size_t close = text.find('}', open);
        const std::string field =
            text.substr(open + 1, close == std::string::npos ? close : close - open - 1);
        const bool isKnown =
            close != std::string::npos &&
            std::find(std::begin(nameFields), std::end(nameFields), field) != std::end(nameFields);
        if (!isKnown) return "{" + field + (close == std::string::npos ? "" : "}");
    }
    return {};
}

bool checkOrder(const std::string &text)
{
    if (text.empty()) return true;
    const QJsonObject order = QJsonDocument::fromJson(QByteArray::fromStdString(text)).object();
    return order["id"].isString() && order["verb"].isString() && order["clip"].isString();
}

/// Control characters could rewrite the screen of whoever looks at the value.
bool hasControl(const std::string &text, bool linesAllowed)
{
    return std::any_of(text.begin(), text.end(), [linesAllowed](unsigned char c) {
        return (c < 0x20 && !(c == '\n' && linesAllowed)) || c == 0x7F;
    });
}

/// The timecode that a preset's number stands for.
QmxTimecode wholeTimecode(unsigned number)
{
    return QmxTimecode(int(number & INT_MAX), 0, 0, 0, 0, 0);
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
        reason = _row.name + " takes a number from " + std::to_string(_row.minimum) + " to " +
                 std::to_string(_row.maximum) + ", not " + std::to_string(value.number);
        return false;
    case Bool:
    case Enumerated:
        if (std::any_of(_row.labels.begin(), _row.labels.end(),
                        [&value](const auto &label) { return label.number == value.number; }))
            return true;
        reason = _row.name + " takes " + describeValues() + ", not " + std::to_string(value.number);
        return false;
    case String:
        if (value.text.size() > maximumText || value.text.find('\0') != std::string::npos)
            reason = _row.name + " takes a text of at most " + std::to_string(maximumText) +
                     " bytes without zero bytes";
        else if (hasControl(value.text, hasAttribute(Attribute::multiLine)))
            reason = _row.name + " takes a text without control characters";
        else if (hasAttribute(Attribute::clipName) && !checkClipNames(value.text))
            reason = _row.name + " takes the file name of a clip on its medium (no \"/\")";
        else if (hasAttribute(Attribute::timecode) && !value.text.empty() &&
                 !QmxTimecode(QString::fromStdString(value.text)).isValid())
            reason = _row.name + " takes a timecode such as 10:00:04:00, not \"" + value.text + "\"";
        else if (hasAttribute(Attribute::userBits) && !checkUserBits(value.text))
            reason =
                _row.name + " takes eight hexadecimal digits such as 20261126, not \"" + value.text + "\"";
        else if (QString wrong; hasAttribute(Attribute::moment) &&
                                !QmxTakeMoment::parse(QString::fromStdString(value.text), 0, &wrong))
            reason = _row.name + " " + wrong.toStdString() + ", not \"" + value.text + "\"";
        else if (hasAttribute(Attribute::folder) && !value.text.empty() && value.text.front() != '/')
            reason =
                _row.name + " takes the full path of a folder, such as /media/A, not \"" + value.text + "\"";
        else if (hasAttribute(Attribute::order) && !checkOrder(value.text))
            reason = _row.name +
                     " takes an order as JSON, with id, verb and clip; `xpctl copy` and its like write it";
        else if (hasAttribute(Attribute::namePattern) && !unknownField(value.text).empty())
            reason = _row.name + " has no " + unknownField(value.text) +
                     "; its fields are {name}, {take}, {reel}, {date} and {time}";
        else if (hasAttribute(Attribute::speed) && !checkSpeed(value.text))
            reason = _row.name + " takes a decimal number from -100 to 100, not \"" + value.text + "\"";
        else if ((hasAttribute(Attribute::fileName) || hasAttribute(Attribute::namePattern)) &&
                 !checkFileName(value.text))
            reason = _row.name + " takes a text of 1 to " + std::to_string(maximumName) +
                     " bytes that can stand in a file name (no \"/\")";
        else
            return true;
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
        reason = _row.name + " takes a number from " + std::to_string(_row.minimum) + " to " +
                 std::to_string(_row.maximum) + ", not \"" + text + "\"";
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

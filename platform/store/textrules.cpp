// SPDX-License-Identifier: GPL-3.0-or-later
// What the text of a parameter may be, a rule an attribute.
#include "platform/store/textrules.h"

#include "platform/qmx/core/qmxtakemoment.h"
#include "platform/qmx/core/qmxtimecode.h"
#include "platform/store/paramrow.h"
#include "platform/store/values.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <algorithm>
#include <cctype>
#include <sstream>

namespace {

constexpr std::size_t maximumText = 16384;   // bytes; a play list of some hundred clips
constexpr std::size_t maximumFileName = 255; // bytes; what the file systems take
constexpr std::size_t maximumName = 100;     // bytes; leaves room for take, rollover index and extension

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

/// "takes WHAT, not TEXT"
std::string takes(const std::string &what, const std::string &text)
{
    return "takes " + what + ", not \"" + text + "\"";
}

/// Control characters could rewrite the screen of whoever looks at the value.
bool hasControl(const std::string &text, bool linesAllowed)
{
    return std::any_of(text.begin(), text.end(), [linesAllowed](unsigned char c) {
        return (c < 0x20 && !(c == '\n' && linesAllowed)) || c == 0x7F;
    });
}

std::string whyNoMoment(const std::string &text)
{
    QString wrong;
    if (QmxTakeMoment::parse(QString::fromStdString(text), 0, &wrong)) return {};
    return wrong.toStdString() + ", not \"" + text + "\"";
}

std::string whyNoFileName(const std::string &text)
{
    if (checkFileName(text)) return {};
    return QStringLiteral("takes a text of 1 to %1 bytes that can stand in a file name (no \"/\")")
        .arg(maximumName)
        .toStdString();
}

std::string whyNoPattern(const std::string &text)
{
    const std::string field = unknownField(text);
    // Each "{" begins a field that is closed; what is left over closes none.
    if (field.empty() && std::ranges::count(text, '}') > std::ranges::count(text, '{'))
        return "takes a \"}\" only at the end of a field such as {name}, not " + ('"' + text + '"');
    if (field.empty()) return whyNoFileName(text);
    return "has no " + field + "; its fields are {name}, {take}, {reel}, {date} and {time}";
}

struct Rule
{
    const char *attribute;
    std::string (*whyNot)(const std::string &text);
};

using Text = const std::string &;
const Rule rules[] = {
    {Attribute::clipName,
     [](Text text) -> std::string {
         return checkClipNames(text) ? "" : "takes the file name of a clip on its medium (no \"/\")";
     }},
    {Attribute::timecode,
     [](Text text) -> std::string {
         const bool isOne = text.empty() || QmxTimecode(QString::fromStdString(text)).isValid();
         return isOne ? "" : takes("a timecode such as 10:00:04:00", text);
     }},
    {Attribute::userBits,
     [](Text text) -> std::string {
         return checkUserBits(text) ? "" : takes("eight hexadecimal digits such as 20261126", text);
     }},
    {Attribute::moment, whyNoMoment},
    {Attribute::folder,
     [](Text text) -> std::string {
         const bool isOne = text.empty() || text.front() == '/';
         return isOne ? "" : takes("the full path of a folder, such as /media/A", text);
     }},
    {Attribute::order,
     [](Text text) -> std::string {
         return checkOrder(text)
                    ? ""
                    : "takes an order as JSON, with id, verb and clip; `xpctl copy` and its like write it";
     }},
    {Attribute::namePattern, whyNoPattern},
    {Attribute::speed,
     [](Text text) -> std::string {
         return checkSpeed(text) ? "" : takes("a decimal number from -100 to 100", text);
     }},
    {Attribute::fileName, whyNoFileName},
};

} // namespace

std::string whyNotText(const std::vector<std::string> &attributes, const std::string &text)
{
    const auto has = [&attributes](const char *attribute) {
        return std::find(attributes.begin(), attributes.end(), attribute) != attributes.end();
    };
    if (text.size() > maximumText || text.find('\0') != std::string::npos)
        return QStringLiteral("takes a text of at most %1 bytes without zero bytes")
            .arg(maximumText)
            .toStdString();
    if (hasControl(text, has(Attribute::multiLine))) return "takes a text without control characters";
    for (const Rule &rule : rules)
        if (has(rule.attribute))
            if (std::string why = rule.whyNot(text); !why.empty()) return why;
    return {};
}

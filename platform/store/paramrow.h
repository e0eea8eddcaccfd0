// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/paramdescriptor.h"
#include "platform/store/values.h"

#include <initializer_list>
#include <string>
#include <vector>

/// One row of the parameter table, written in the descriptors_*.cpp files. The makers below name what a row
/// needs; everything else keeps its default.
struct ParamRow
{
    /// What a value of an enumerated or bool parameter is called.
    struct Label
    {
        Label(unsigned value, std::string label) : number(value), text(std::move(label)) {}
        template <typename Value>
        requires std::is_enum_v<Value> Label(Value value, std::string label)
            : Label(storeNumber(value), std::move(label))
        {}

        friend auto operator<=>(const Label &, const Label &) = default;

        unsigned number;
        std::string text;
    };
    using Keep = ParamDescriptor::Keep;

    eParam_t id{};
    std::string name;
    ParamDescriptor::Type type = ParamDescriptor::Unsigned;
    Keep keep = Keep::Persistent;
    std::string help;
    unsigned number = 0; ///< default of a number
    std::string text;    ///< default of a text
    unsigned minimum = 0;
    unsigned maximum = 0xFFFFFFFFU;
    std::vector<Label> labels;
    std::string unit;
    std::vector<std::string> attributes;

    ParamRow &defaults(unsigned value);
    template <typename Value>
    requires std::is_enum_v<Value> ParamRow &defaults(Value value) { return defaults(storeNumber(value)); }
    ParamRow &defaults(const std::string &value);
    ParamRow &range(unsigned lowest, unsigned highest);
    ParamRow &in(const std::string &unitName);
    ParamRow &with(std::initializer_list<const char *> attributeNames);
};

/// Attributes that the store itself reads.
namespace Attribute {
inline constexpr const char *everyWrite = "every_write_is_an_event";
inline constexpr const char *toldOnce = "told_to_new_listeners";
inline constexpr const char *alarm = "alarm";
inline constexpr const char *told = "told_by_the_recorder"; ///< no operator sets it
inline constexpr const char *dataFile = "data_file";        ///< bytes are a reference to a file
inline constexpr const char *speed = "speed";               ///< text is a decimal number from -100 to 100
inline constexpr const char *multiLine = "lines";           ///< text may hold several lines
inline constexpr const char *timecodePreset =
    "timecode_preset"; ///< number is an hour, or a whole timecode (QmxPackedTimecode)
inline constexpr const char *namePattern = "name_pattern"; ///< text is a pattern of clip names
inline constexpr const char *fileName = "file_name";       ///< text becomes part of a file name
inline constexpr const char *timecode = "timecode";        ///< text is HH:MM:SS:FF
inline constexpr const char *userBits = "user_bits";       ///< text is empty or eight hexadecimal digits
inline constexpr const char *moment = "moment";            ///< text is empty or a QmxTakeMoment
inline constexpr const char *folder = "folder";            ///< text is a full path, or empty
inline constexpr const char *order = "order";              ///< text is an order to the media daemon, or empty
inline constexpr const char *clipName =
    "clip_name"; ///< text (of `multiLine`: each line) is a file name of a clip, or N/A
} // namespace Attribute

ParamRow enumeration(eParam_t id, const char *name, ParamRow::Keep keep, std::vector<ParamRow::Label> labels,
                     const char *help);
ParamRow boolean(eParam_t id, const char *name, ParamRow::Keep keep, const char *help);
ParamRow number(eParam_t id, const char *name, ParamRow::Keep keep, const char *help);
ParamRow string(eParam_t id, const char *name, ParamRow::Keep keep, const char *help);
ParamRow data(eParam_t id, const char *name, ParamRow::Keep keep, const char *help);

/// The areas of the table; descriptors.cpp puts them together.
std::vector<ParamRow> transportRows();
std::vector<ParamRow> mediaRows();
std::vector<ParamRow> pictureRows();
std::vector<ParamRow> soundAndTimecodeRows();
std::vector<ParamRow> recordAndPlaybackRows();
std::vector<ParamRow> controlRows();
std::vector<ParamRow> alarmRows();

/// Codes and labels of the formats, generated from their runs (formats.cpp).
std::vector<ParamRow::Label> inputFormats();
std::vector<ParamRow::Label> mediaFormats();
std::vector<ParamRow::Label> recordFormats();
std::vector<ParamRow::Label> generatorFormats();

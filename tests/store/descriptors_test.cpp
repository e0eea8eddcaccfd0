// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/paramdescriptor.h"

#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

#include <regex>
#include <set>

namespace {

class Descriptors : public testing::Test
{
protected:
    Descriptors() { CreateDescriptors(); }
};

TEST_F(Descriptors, everyRowIsWhole)
{
    std::set<unsigned> ids;
    std::set<std::string> names;
    const std::regex nameForm("[a-z][a-z0-9]*(_[a-z0-9]+)*");
    for (const ParamDescriptor *row : AllDescriptors()) {
        SCOPED_TRACE(row->name());
        EXPECT_TRUE(ids.insert(row->id()).second);
        EXPECT_TRUE(names.insert(row->name()).second);
        EXPECT_TRUE(std::regex_match(row->name(), nameForm));
        EXPECT_EQ(GetDescriptor(row->id()), row);
        EXPECT_EQ(FindDescriptor(row->name()), row);
        EXPECT_FALSE(row->help().empty());
        EXPECT_EQ(dynamic_cast<const DataDescriptor *>(row) != nullptr, row->type() == ParamDescriptor::Data);
        EXPECT_EQ(dynamic_cast<const StringDescriptor *>(row) != nullptr,
                  row->type() == ParamDescriptor::String);
        EXPECT_EQ(row->isAlarm(), (row->id() >> 16) == 0x7E07 ||
                                      (row->id() >= 0x50000064 && row->id() <= 0x50000065) ||
                                      (row->id() >= 0x50000010 && row->id() <= 0x50000016));

        std::string reason;
        EXPECT_TRUE(row->keep() == ParamDescriptor::Keep::Command || row->check(row->defaultValue(), reason))
            << reason;
        std::set<std::string> labels;
        unsigned before = 0;
        for (const auto &[number, label] : row->values()) {
            EXPECT_TRUE(labels.insert(label).second) << label;
            EXPECT_TRUE(labels.size() == 1 || number > before) << label;
            before = number;
            StoreValue value;
            EXPECT_TRUE(row->parse(label, value, reason)) << reason;
            EXPECT_EQ(value, StoreValue::fromUnsigned(number));
            EXPECT_EQ(row->print(value), label);
        }
        EXPECT_EQ(labels.empty(),
                  row->type() != ParamDescriptor::Enumerated && row->type() != ParamDescriptor::Bool);
    }
    EXPECT_EQ(GetDescriptor(eParam_t(1)), nullptr);
}

TEST_F(Descriptors, areWhatTheDocumentationSays)
{
    const ProgramResult made =
        runProgram(QCoreApplication::applicationDirPath() + "/xpctl", {"params", "--markdown"});
    ASSERT_EQ(made.status, 0) << made.err.toStdString();
    EXPECT_EQ(made.out, readAll(XP_ROOT "/docs/parameters.md"))
        << "make it anew: xpctl params --markdown >docs/parameters.md";
    const ProgramResult alarms =
        runProgram(QCoreApplication::applicationDirPath() + "/xpctl", {"alarms", "--markdown"});
    EXPECT_TRUE(!alarms.out.isEmpty() && readAll(XP_ROOT "/docs/alarms.md").endsWith(alarms.out))
        << "end docs/alarms.md with what this prints: xpctl alarms --markdown";
}

TEST_F(Descriptors, textIsReadAndPrinted)
{
    struct Case
    {
        const char *name, *text, *printed, *reason;
    };
    const Case cases[] = {{"record_codec", "prores_422_hq", "prores_422_hq", ""},
                          {"record_codec", "1", "prores_422_hq", ""},
                          {"record_codec", "0x7", "prores_4444", ""},
                          {"record_codec", "4", "", "not 4"},
                          {"record_codec", "prores", "", "\"prores\""},
                          {"signal_generator_format", "1", "", "one of its 71 values"},
                          {"loop_playback", "true", "on", ""},
                          {"loop_playback", "2", "", "off (0)"},
                          {"timecode_preset_hour", "7x", "", "0 to 23"},
                          {"timecode_preset_hour", "-1", "", "0 to 23"},
                          {"timecode_preset_hour", "4294967296", "", "0 to 23"},
                          {"transport_speed", "-2.5", "-2.5", ""},
                          {"transport_speed", "nan", "", "decimal"},
                          {"lut_file", "/media/A/look.cube", "/media/A/look.cube", ""},
                          {"lut_file", "", "", ""},
                          {"lut_file", "look.cube", "", "full path"},
                          {"clip_name_pattern", "{reel}_{name}", "{reel}_{name}", ""},
                          {"clip_name_pattern", "}name", "", "\"}\""},
                          {"clip_name_pattern", "{name}}_{take}", "", "\"}\""},
                          {"timecode_preset_hour", "23", "23", ""},
                          {"timecode_preset_hour", "23:59:58:24", "23:59:58:24", ""},
                          {"timecode_preset_hour", "24:00:00:00", "", "a number from 0 to 23"},
                          {"timecode_user_bits", "1a2B3c4d", "1a2B3c4d", ""},
                          {"timecode_user_bits", "1a2b3c4g", "", "eight hexadecimal digits"},
                          {"media_full", "x", "", "is an alarm"}};
    for (const Case &test : cases) {
        SCOPED_TRACE(std::string(test.name) + " " + test.text);
        const ParamDescriptor *row = FindDescriptor(test.name);
        StoreValue value = StoreValue::fromUnsigned(77);
        std::string reason;
        EXPECT_EQ(row->parse(test.text, value, reason), *test.reason == 0);
        EXPECT_NE(reason.find(test.reason), std::string::npos) << reason;
        EXPECT_EQ(*test.reason == 0 ? row->print(value) : "", test.printed);
        EXPECT_TRUE(*test.reason == 0 || value == StoreValue::fromUnsigned(77));
    }
}

} // namespace

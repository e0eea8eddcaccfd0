// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/paramdescriptor.h"

#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

#include <map>
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

TEST_F(Descriptors, tellEqualWritesOfCommandsAndNoticesOnly)
{
    std::set<unsigned> events;
    for (const ParamDescriptor *row : AllDescriptors())
        if (row->everyWriteIsEvent()) events.insert(row->id());
    EXPECT_EQ(events, (std::set<unsigned>{0x7D01000A, 0x7D01100A, 0x7D01120A, 0x7D01140A, 0x7D06000A,
                                          0x7B03070A, 0x0F03000A, 0x7B01030A, 0x0801000A, 0x7B01010A,
                                          0x7B010A0A, 0x50000001, 0x50000002, 0x50000025, 0x50000030,
                                          0x50000031, 0x50000061, 0x50000062, 0x50000080, 0x50000081}));
}

TEST_F(Descriptors, formatsHaveTheCodesThatTheTransportWrites)
{
    // Width and height, scan, whole rate; codes of input, media, record. Some of each run.
    struct Row
    {
        const char *label;
        int input, media, record;
    };
    const Row rows[] = {{"486i29.97", 13, 20, 21},
                        {"576i25", 14, 21, 22},
                        {"720p50", 12, 18, 19},
                        {"720p60", 10, 16, 17},
                        {"1080psf23.98", 9, 15, 16},
                        {"1080psf30", 5, 11, 12},
                        {"1080i25", 4, 4, 5},
                        {"1080i30", 2, 2, 3},
                        {"1080p23.98", 22, 29, 30},
                        {"1080p60", 15, 22, 23},
                        {"2048x1080psf23.98", 30, 44, 43},
                        {"2048x1080psf30", 26, 40, 39},
                        {"2048x1080i25", 25, 39, 38},
                        {"2048x1080i29.97", 24, 38, 37},
                        {"4096x2160p23.98", 70, 84, 83},
                        {"3840x2160i30", 39, 53, 52}};
    for (const Row &row : rows) {
        EXPECT_EQ(GetDescriptor(eParam_InputFormat)->label(row.input), row.label);
        EXPECT_EQ(GetDescriptor(eParam_MediaFormat)->label(row.media), row.label);
        EXPECT_EQ(GetDescriptor(eParam_RecordFormat)->label(row.record), row.label);
    }
    EXPECT_EQ(GetDescriptor(eParam_InputFormat)->values().size(), 71U); // 0 to 70
    EXPECT_EQ(GetDescriptor(eParam_MediaFormat)->values().size(), 75U); // 69 formats, unknown, five variable
    EXPECT_EQ(GetDescriptor(eParam_RecordFormat)->values().size(),
              76U); // 69, three without format, four variable
    const auto generator = GetDescriptor(eParam_SignalGeneratorFormat);
    EXPECT_EQ(generator->values().size(), 71U);
    const std::map<int, const char *> generated = {{2, "720p50"},           {5, "1080i25"},
                                                   {14, "1080p23.98_rgb"},  {21, "1080psf29.97_rgb"},
                                                   {22, "1080psf29.97"},    {26, "2048x1080p23.98_rgb"},
                                                   {47, "3840x2160p29.97"}, {72, "4096x2160psf29.97_rgb"}};
    for (const auto &[code, label] : generated)
        EXPECT_EQ(generator->label(code), label);
}

TEST_F(Descriptors, alarmPolicyNeitherHidesNorNags)
{
    for (const ParamDescriptor *row : AllDescriptors()) {
        SCOPED_TRACE(row->name());
        for (const std::string &attribute : row->attributes()) {
            EXPECT_FALSE(attribute.starts_with("clear_on_stop")); // a habit would wipe the news
            // Delayed, it would be shown at the next event only: nothing that can begin in a take.
            EXPECT_TRUE(!attribute.starts_with("raise_") || row->id() == 0x7E071900U);
        }
    }
    const auto clears = [](unsigned id) {
        const ParamDescriptor *row = GetDescriptor(eParam_t(id));
        return std::string(row->hasAttribute("clear_on_play_pressed") ? "p" : "") +
               (row->hasAttribute("clear_on_record_pressed") ? "r" : "") +
               (row->hasAttribute("clear_on_record") ? "R" : "");
    };
    for (const unsigned id : {0x7E070900U, 0x7E070B00U, 0x7E070C00U, 0x7E070E00U, 0x7E071300U})
        EXPECT_EQ(clears(id), "prR");
    EXPECT_EQ(clears(0x7E070A00), "pr");
    EXPECT_EQ(clears(0x7E072B00), "rR");
    EXPECT_EQ(clears(0x7E071800), "");
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

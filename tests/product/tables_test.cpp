// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/lututils.h"
#include "platform/product/shmstring.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <thread>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

TEST(LutFiles, areReadOrRefusedWithASentence)
{
    const TestDir dir;
    QByteArray plain, cube;
    for (int i = 0; i < 1024; ++i) {
        plain += QByteArray::number(i) + "\t" + QByteArray::number(1023 - i) + ", 5\r\n";
        cube += QByteArray::number(i / 1023.0, 'f', 6) + " 1.5 -0.1\n";
    }
    struct Case
    {
        const char *name;
        QByteArray text;
        int count; ///< 0: refused
        const char *reason;
    };
    const Case cases[] = {
        {"ramp.txt", "# a ramp\n\n" + plain, 1024, ""},
        {"ramp.CUBE", "TITLE \"x\"\nLUT_1D_SIZE 1024\nDOMAIN_MIN 0 0 0\nDOMAIN_MAX 1.0 1.0 1.0\n" + cube,
         1024, ""},
        {"short.txt", "1 2 3\n4 5 6", 2, ""},
        {"long.txt", plain + "1 2 3\n", 1025, ""},
        {"three.cube", "LUT_3D_SIZE 2\n0 0 0\n", 0, "2 nodes a side, which are 8 rows, and holds 1"},
        {"huge.cube", "TITLE \"x\"\nLUT_3D_SIZE 129\n", 0, "line 2: its LUT_3D_SIZE must be from 2 to 65"},
        {"both.cube", "LUT_1D_SIZE 2\nLUT_3D_SIZE 2\n", 0, "save it as one"},
        {"range.cube", "LUT_3D_SIZE 2\nDOMAIN_MIN 1 1 1\n" + QByteArray("0 0 0\n").repeated(8), 0,
         "range is empty"},
        {"less.cube", "LUT_1D_SIZE 3\n0 0 0\n", 0, "announces 3 entries and holds 1"},
        {"domain.cube", "DOMAIN_MAX 2 2 2\n0 0 0\n", 0, "range from 0 to 1"},
        {"large.txt", "0 0 1024\n", 0, "no whole number from 0 to 1023"},
        {"fraction.txt", "0.5 0 0\n", 0, "no whole number"},
        {"two.txt", "1 2 3\n1 2\n", 0, "line 2: a row has 2 values"},
        {"word.txt", "red 2 3\n", 0, "\"red\" is no number"},
        {"empty.txt", "", 0, "holds no values"},
    };
    for (const Case &test : cases) {
        SCOPED_TRACE(test.name);
        writeAll(dir.file(test.name), test.text);
        std::array<std::array<short, 1024>, 3> values{};
        int count = 0;
        std::string error;
        const bool read =
            kel::utils::LUT_Utils::parse(dir.file(test.name).toStdString(), values[0].data(),
                                         values[1].data(), values[2].data(), 1024, &count, error);
        EXPECT_EQ(read, test.count > 0) << error;
        EXPECT_EQ(count, test.count);
        EXPECT_NE(error.find(test.reason), std::string::npos) << error;
        if (count != 1024) continue;
        const bool isCube = QByteArray(test.name).endsWith("CUBE");
        for (int i = 0; i < 1024; ++i) {
            EXPECT_EQ(values[0][std::size_t(i)], i);
            EXPECT_EQ(values[1][std::size_t(i)], isCube ? 1023 : 1023 - i);
            EXPECT_EQ(values[2][std::size_t(i)], isCube ? 0 : 5);
        }
    }
    int count = 0;
    std::string error;
    EXPECT_FALSE(kel::utils::LUT_Utils::parse("/nowhere/x", nullptr, nullptr, nullptr, 0, &count, error));
    EXPECT_NE(error.find("/nowhere/x"), std::string::npos);
}

class SharedString : public testing::Test
{
protected:
    ~SharedString() override { ::shm_unlink(name.c_str()); }
    const std::string name = "/xp_test_string_" + std::to_string(::getpid());
};

TEST_F(SharedString, isNeverReadInParts)
{
    ShmString writer(name);
    ASSERT_FALSE(ShmStringReader(name).get(*std::make_unique<std::string>()));
    ASSERT_FALSE(writer.create(12));
    ASSERT_TRUE(writer.create(64));
    std::atomic<bool> stop{false};
    std::thread writing([&] {
        const std::string a(55, 'a'), b(30, 'b');
        while (!stop) {
            writer.set(a.c_str());
            writer.set(b.c_str());
        }
    });
    ShmStringReader reader(name);
    int changes = 0;
    std::string last;
    for (int reads = 0; reads < 2'000'000 && changes < 1000; ++reads) {
        std::string text;
        if (!reader.get(text) || text.empty()) continue;
        ASSERT_EQ(text, std::string(text[0] == 'a' ? 55 : 30, text[0]));
        changes += text != last;
        last = text;
    }
    stop = true;
    writing.join();
    EXPECT_GE(changes, 10);
}

TEST_F(SharedString, isTakenOverFromAPredecessorThatDiedWriting)
{
    const int fd = ::shm_open(name.c_str(), O_RDWR | O_CREAT, 0600);
    ASSERT_EQ(::ftruncate(fd, 64), 0);
    const quint64 odd = 7;
    ASSERT_EQ(::pwrite(fd, &odd, sizeof odd, 56), 8);
    ShmStringReader reader(name);
    std::string text = "kept";
    EXPECT_FALSE(reader.get(text)); // does not hang
    ShmString writer(name);
    ASSERT_TRUE(writer.create(64));
    writer.set("01:02:03;04");
    EXPECT_TRUE(reader.get(text));
    EXPECT_EQ(text, "01:02:03;04");
    char raw[64] = {};
    EXPECT_EQ(::pread(fd, raw, sizeof raw, 0), 64);
    EXPECT_STREQ(raw, "01:02:03;04");
    quint64 counter = 0;
    memcpy(&counter, raw + 56, sizeof counter);
    EXPECT_TRUE(counter % 2 == 0 && counter > 7);
    writer.set(std::string(100, 'x').c_str());
    EXPECT_TRUE(reader.get(text));
    EXPECT_EQ(text, std::string(55, 'x'));
    ::close(fd);
}

} // namespace

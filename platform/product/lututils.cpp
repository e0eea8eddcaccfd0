// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/lututils.h"

#include "platform/product/mediumhelper.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <optional>
#include <string_view>
#include <vector>

#include <fcntl.h>

namespace {

constexpr double highestValue = 1023;          // 10 bits
constexpr std::size_t maximumBytes = 4U << 20; // larger than any one-dimensional table
constexpr std::size_t columns = 3;

using Words = std::vector<std::string_view>;

struct FileText
{
    std::string text;
    std::string error;
};

FileText readAll(QmxFiles &files, const std::string &path)
{
    FileText result;
    const int fd = files.open(QString::fromLocal8Bit(path), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        result.error = "cannot open " + path + ": " + std::strerror(errno);
        return result;
    }
    char block[65536];
    ssize_t got = 0;
    while (result.text.size() <= maximumBytes &&
           (got = files.pread(fd, block, sizeof block, static_cast<off64_t>(result.text.size()))) > 0)
        result.text.append(block, static_cast<std::size_t>(got));
    if (got < 0)
        result.error = "cannot read " + path + ": " + std::strerror(errno);
    else if (result.text.size() > maximumBytes)
        result.error = path + " is too large for a look-up table";
    files.close(fd);
    return result;
}

Words split(std::string_view line)
{
    Words words;
    constexpr std::string_view separators = " \t\r,;";
    for (std::size_t begin = line.find_first_not_of(separators); begin != std::string_view::npos;) {
        const std::size_t end = std::min(line.find_first_of(separators, begin), line.size());
        words.push_back(line.substr(begin, end - begin));
        begin = line.find_first_not_of(separators, end);
    }
    return words;
}

std::optional<double> toNumber(std::string_view word)
{
    double value = 0;
    const auto [stop, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (error != std::errc() || stop != word.data() + word.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

/// Takes a table line by line.
class LutReader
{
public:
    LutReader(bool isCube, short *const (&channels)[columns], int entries)
        : _isCube(isCube), _channels(channels), _entries(entries)
    {}

    int count() const { return _count; }
    std::string error() const { return _error; }

    /// False when the line makes the file unusable.
    bool take(std::string_view line)
    {
        if (const auto comment = line.find('#'); comment != std::string_view::npos)
            line = line.substr(0, comment);
        const Words words = split(line);
        if (words.empty()) return true;
        const bool isKeyword = std::isalpha(static_cast<unsigned char>(words[0][0])) != 0;
        if (_isCube && isKeyword) return takeKeyword(words);
        return takeRow(words);
    }

    bool finish()
    {
        if (_count == 0) return fail("it holds no values");
        if (_isCube && _declared > 0 && _declared != _count)
            return fail("it announces " + std::to_string(_declared) + " entries and holds " +
                        std::to_string(_count));
        return true;
    }

private:
    bool fail(const std::string &error)
    {
        _error = error;
        return false;
    }

    bool takeKeyword(const Words &words)
    {
        if (words[0] == "LUT_3D_SIZE")
            return fail("it is three-dimensional; only one-dimensional tables can be used");
        if (words[0] == "LUT_1D_SIZE") {
            const auto size = words.size() == 2 ? toNumber(words[1]) : std::nullopt;
            if (!size || *size < 2 || *size > 65536) return fail("its LUT_1D_SIZE makes no sense");
            _declared = static_cast<int>(*size);
        } else if (words[0] == "DOMAIN_MIN" || words[0] == "DOMAIN_MAX") {
            const double wanted = words[0] == "DOMAIN_MIN" ? 0 : 1;
            for (std::size_t i = 1; i < words.size(); ++i)
                if (toNumber(words[i]) != wanted) return fail("only an input range from 0 to 1 can be used");
        } else if (words[0] == "LUT_1D_INPUT_RANGE") {
            if (words.size() != 3 || toNumber(words[1]) != 0.0 || toNumber(words[2]) != 1.0)
                return fail("only an input range from 0 to 1 can be used");
        }
        return true; // titles and the like say nothing about the values
    }

    bool takeRow(const Words &words)
    {
        if (words.size() != columns)
            return fail("a row has " + std::to_string(words.size()) + " values, not three");
        for (std::size_t i = 0; i < columns; ++i) {
            const auto number = toNumber(words[i]);
            if (!number) return fail("\"" + std::string(words[i]) + "\" is no number");
            // A cube file may go beyond black and white; a table of whole numbers that does is none of 10
            // bits.
            if (!_isCube && (*number < 0 || *number > highestValue || *number != std::floor(*number)))
                return fail(std::string(words[i]) + " is no whole number from 0 to 1023");
            const double scaled =
                _isCube ? std::round(std::clamp(*number, 0.0, 1.0) * highestValue) : *number;
            if (_count < _entries) _channels[i][_count] = static_cast<short>(scaled);
        }
        ++_count;
        return true;
    }

    const bool _isCube;
    short *const (&_channels)[columns];
    const int _entries;
    int _declared = 0;
    int _count = 0;
    std::string _error;
};

bool endsWithCube(const std::string &path)
{
    constexpr std::string_view extension = ".cube";
    return path.size() >= extension.size() &&
           std::equal(extension.rbegin(), extension.rend(), path.rbegin(),
                      [](char a, char b) { return a == std::tolower(static_cast<unsigned char>(b)); });
}

} // namespace

bool kel::utils::LUT_Utils::parse(std::string path, short *first, short *second, short *third, int entries,
                                  int *count, std::string &error)
{
    const auto files = QmxEnvironment::current().files;
    const auto file = MediumHelper::instance().answer<FileText>(
        folderOf(path), [files, path] { return readAll(*files, path); });
    if (!file || !file->error.empty()) {
        error = file ? file->error : folderOf(path) + " does not answer";
        return false;
    }
    short *const channels[columns] = {first, second, third};
    LutReader reader(endsWithCube(path), channels, entries);
    int number = 0;
    for (std::size_t begin = 0; begin < file->text.size();) {
        const std::size_t end = std::min(file->text.find('\n', begin), file->text.size());
        ++number;
        if (!reader.take(std::string_view(file->text).substr(begin, end - begin))) {
            error = path + ", line " + std::to_string(number) + ": " + reader.error();
            return false;
        }
        begin = end + 1;
    }
    if (!reader.finish()) {
        error = path + ": " + reader.error();
        return false;
    }
    *count = reader.count();
    return true;
}

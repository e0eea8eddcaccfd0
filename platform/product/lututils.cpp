// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/lututils.h"

#include "platform/product/mediumhelper.h"
#include "platform/qmx/codec/qmxcube.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include <fcntl.h>

namespace {

constexpr double highestValue = 1023; // 10 bits
constexpr std::size_t maximumBytes = 24U
                                     << 20; // larger than any table: 65 nodes a side, numbers of many digits
constexpr std::size_t columns = 3;

using Words = std::vector<std::string_view>;

struct FileText
{
    std::string text;
    std::string error;
};

/// Tells this content of a file from the next.
QString markOf(QmxFiles &files, const std::string &path)
{
    struct stat64 data = {};
    if (files.stat(QString::fromLocal8Bit(path), &data) != 0) return {};
    return QStringLiteral("%1 %2 %3.%4")
        .arg(data.st_ino)
        .arg(data.st_size)
        .arg(data.st_mtim.tv_sec)
        .arg(data.st_mtim.tv_nsec);
}

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
    explicit LutReader(bool isCube) : _isCube(isCube) {}

    int count() const { return _count; }
    /// One-dimensional: value of an entry (0 to 1023) in one of the three runs.
    short entry(std::size_t channel, int index) const
    {
        const float value = _values[std::size_t(index) * columns + channel];
        return static_cast<short>(_isCube ? std::round(std::clamp(value, 0.0F, 1.0F) * float(highestValue))
                                          : value);
    }
    /// The table, when it is three-dimensional.
    std::shared_ptr<const QmxCube> cube() const
    {
        if (_sides == 0) return nullptr;
        auto made = std::make_shared<QmxCube>(_cube);
        made->size = _sides;
        made->nodes.reserve(std::size_t(_count) * QmxCube::step);
        for (std::size_t i = 0; i < _values.size(); i += columns)
            made->nodes.insert(made->nodes.end(), {_values[i], _values[i + 1], _values[i + 2], 0.0F});
        return made;
    }
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
        if (_sides > 0 && _count != _sides * _sides * _sides)
            return fail("it announces " + std::to_string(_sides) + " nodes a side, which are " +
                        std::to_string(_sides * _sides * _sides) + " rows, and holds " +
                        std::to_string(_count));
        for (std::size_t i = 0; i < columns; ++i) {
            if (_sides > 0 && !(_cube.from[i] < _cube.to[i])) return fail("its input range is empty");
            if (_sides == 0 && (_cube.from[i] != 0 || _cube.to[i] != 1))
                return fail("only an input range from 0 to 1 can be used");
        }
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
        // Not a number is no size.
        const double size = words.size() == 2 ? toNumber(words[1]).value_or(0) : 0;
        if (words[0] == "LUT_3D_SIZE") {
            if (size < QmxCube::leastSize || size > QmxCube::mostSize || size != std::floor(size))
                return fail(QStringLiteral(
                                "its LUT_3D_SIZE must be from %1 to %2 nodes a side; save it with 33 or 65")
                                .arg(QmxCube::leastSize)
                                .arg(QmxCube::mostSize)
                                .toStdString());
            _sides = static_cast<int>(size);
        } else if (words[0] == "LUT_1D_SIZE") {
            if (size < 2 || size > 65536) return fail("its LUT_1D_SIZE makes no sense");
            _declared = static_cast<int>(size);
        } else if (words[0] == "DOMAIN_MIN" || words[0] == "DOMAIN_MAX") {
            auto &limit = words[0] == "DOMAIN_MIN" ? _cube.from : _cube.to;
            for (std::size_t i = 0; i < columns; ++i) {
                const auto number = words.size() == columns + 1 ? toNumber(words[i + 1]) : std::nullopt;
                if (!number) return fail(std::string(words[0]) + " needs three numbers");
                limit[i] = float(*number);
            }
        } else if (words[0] == "LUT_1D_INPUT_RANGE" || words[0] == "LUT_3D_INPUT_RANGE") {
            const auto low = words.size() == 3 ? toNumber(words[1]) : std::nullopt;
            const auto high = words.size() == 3 ? toNumber(words[2]) : std::nullopt;
            if (!low || !high) return fail(std::string(words[0]) + " needs two numbers");
            _cube.from.fill(float(*low));
            _cube.to.fill(float(*high));
        }
        if (_sides > 0 && _declared > 0)
            return fail("it holds a one-dimensional and a three-dimensional table; save it as one");
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
            _values.push_back(float(*number));
        }
        ++_count;
        return true;
    }

    const bool _isCube;
    QmxCube _cube;              ///< its range
    int _sides = 0;             ///< nodes a side; 0: one-dimensional
    std::vector<float> _values; ///< of all rows
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

/// A table as it is in its file.
struct Table
{
    std::string error;
    std::vector<std::array<short, columns>> rows; ///< one-dimensional
    std::shared_ptr<const QmxCube> cube;          ///< three-dimensional
};

/// Reads and understands the file, on the thread of its medium: the largest tables take their time.
Table readTable(QmxFiles &files, const std::string &path)
{
    Table table;
    const QString name = QString::fromStdString(path), mark = markOf(files, path);
    table.cube = QmxCubes::withMark(name, mark);
    if (table.cube) return table;
    const FileText file = readAll(files, path);
    table.error = file.error;
    if (!file.error.empty()) return table;
    LutReader reader(endsWithCube(path));
    int number = 0;
    for (std::size_t begin = 0; begin < file.text.size();) {
        const std::size_t end = std::min(file.text.find('\n', begin), file.text.size());
        ++number;
        if (!reader.take(std::string_view(file.text).substr(begin, end - begin))) {
            table.error = path + ", line " + std::to_string(number) + ": " + reader.error();
            return table;
        }
        begin = end + 1;
    }
    if (!reader.finish()) {
        table.error = path + ": " + reader.error();
        return table;
    }
    table.cube = reader.cube();
    if (table.cube) {
        QmxCubes::keep(name, mark, table.cube);
        return table;
    }
    for (int i = 0; i < reader.count(); ++i)
        table.rows.push_back({reader.entry(0, i), reader.entry(1, i), reader.entry(2, i)});
    return table;
}

} // namespace

bool kel::utils::LUT_Utils::parse(std::string path, short *first, short *second, short *third, int entries,
                                  int *count, std::string &error)
{
    const auto files = QmxEnvironment::current().files;
    const auto table = MediumHelper::instance().answer<Table>(
        folderOf(path), [files, path] { return readTable(*files, path); });
    if (!table || !table->error.empty()) {
        // What is read later is kept: the next try finds it.
        error = table ? table->error : folderOf(path) + " does not answer in time; choose " + path + " again";
        return false;
    }
    if (table->cube) {
        table->cube->diagonal(first, second, third, entries);
        *count = entries;
        return true;
    }
    short *const channels[columns] = {first, second, third};
    const std::size_t used = std::min(table->rows.size(), std::size_t(std::max(entries, 0)));
    for (std::size_t i = 0; i < used; ++i)
        for (std::size_t channel = 0; channel < columns; ++channel)
            channels[channel][i] = table->rows[i][channel];
    *count = static_cast<int>(table->rows.size());
    return true;
}

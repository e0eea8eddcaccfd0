// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/app/formattables.h"

#include "platform/qmx/core/qmxids.h"
#include "xpd/app/mainlog.h"

#include <span>

namespace {

// Scan modes: 0 progressive, 1 interlaced, 2 progressive segmented frame.

struct GeneratorRow
{
    int code;
    int width;
    int height;
    int scanMode;
    int rateNum;
    int rateDen;
    QmxId dataType;
};

constexpr QmxId ycc = QmxIds::uncompressed10;
constexpr QmxId rgb = QmxIds::uncompressedRgb;

constexpr GeneratorRow generator[] = {
    {2, 1280, 720, 0, 50000, 1000, ycc},   {3, 1280, 720, 0, 60000, 1001, ycc},
    {7, 1280, 720, 0, 60000, 1000, ycc},   {5, 1920, 1080, 1, 25000, 1000, ycc},
    {6, 1920, 1080, 1, 30000, 1001, ycc},  {10, 1920, 1080, 1, 30000, 1000, ycc},
    {8, 1920, 1080, 2, 24000, 1001, ycc},  {9, 1920, 1080, 2, 24000, 1000, ycc},
    {22, 1920, 1080, 2, 30000, 1001, ycc}, {4, 1920, 1080, 0, 24000, 1001, ycc},
    {11, 1920, 1080, 0, 24000, 1000, ycc}, {12, 1920, 1080, 0, 25000, 1000, ycc},
    {13, 1920, 1080, 0, 30000, 1001, ycc}, {14, 1920, 1080, 0, 24000, 1001, rgb},
    {15, 1920, 1080, 0, 24000, 1000, rgb}, {16, 1920, 1080, 0, 25000, 1000, rgb},
    {17, 1920, 1080, 0, 30000, 1001, rgb}, {18, 1920, 1080, 2, 24000, 1001, rgb},
    {19, 1920, 1080, 2, 24000, 1000, rgb}, {20, 1920, 1080, 2, 25000, 1000, rgb},
    {21, 1920, 1080, 2, 30000, 1001, rgb}, {23, 1920, 1080, 0, 50000, 1000, ycc},
    {24, 1920, 1080, 0, 60000, 1001, ycc}, {25, 2048, 1080, 0, 24000, 1001, ycc},
    {26, 2048, 1080, 0, 24000, 1001, rgb}, {27, 2048, 1080, 0, 24000, 1000, ycc},
    {28, 2048, 1080, 0, 24000, 1000, rgb}, {29, 2048, 1080, 0, 25000, 1000, ycc},
    {30, 2048, 1080, 0, 25000, 1000, rgb}, {31, 2048, 1080, 0, 30000, 1001, ycc},
    {32, 2048, 1080, 0, 30000, 1001, rgb}, {33, 2048, 1080, 2, 24000, 1001, ycc},
    {34, 2048, 1080, 2, 24000, 1001, rgb}, {35, 2048, 1080, 2, 24000, 1000, ycc},
    {36, 2048, 1080, 2, 24000, 1000, rgb}, {37, 2048, 1080, 2, 25000, 1000, ycc},
    {38, 2048, 1080, 2, 25000, 1000, rgb}, {39, 2048, 1080, 2, 30000, 1001, ycc},
    {40, 2048, 1080, 2, 30000, 1001, rgb}, {41, 3840, 2160, 0, 24000, 1001, ycc},
    {42, 3840, 2160, 0, 24000, 1001, rgb}, {43, 3840, 2160, 0, 24000, 1000, ycc},
    {44, 3840, 2160, 0, 24000, 1000, rgb}, {45, 3840, 2160, 0, 25000, 1000, ycc},
    {46, 3840, 2160, 0, 25000, 1000, rgb}, {47, 3840, 2160, 0, 30000, 1001, ycc},
    {48, 3840, 2160, 0, 30000, 1001, rgb}, {49, 3840, 2160, 2, 24000, 1001, ycc},
    {50, 3840, 2160, 2, 24000, 1001, rgb}, {51, 3840, 2160, 2, 24000, 1000, ycc},
    {52, 3840, 2160, 2, 24000, 1000, rgb}, {53, 3840, 2160, 2, 25000, 1000, ycc},
    {54, 3840, 2160, 2, 25000, 1000, rgb}, {55, 3840, 2160, 2, 30000, 1001, ycc},
    {56, 3840, 2160, 2, 30000, 1001, rgb}, {57, 4096, 2160, 0, 24000, 1001, ycc},
    {58, 4096, 2160, 0, 24000, 1001, rgb}, {59, 4096, 2160, 0, 24000, 1000, ycc},
    {60, 4096, 2160, 0, 24000, 1000, rgb}, {61, 4096, 2160, 0, 25000, 1000, ycc},
    {62, 4096, 2160, 0, 25000, 1000, rgb}, {63, 4096, 2160, 0, 30000, 1001, ycc},
    {64, 4096, 2160, 0, 30000, 1001, rgb}, {65, 4096, 2160, 2, 24000, 1001, ycc},
    {66, 4096, 2160, 2, 24000, 1001, rgb}, {67, 4096, 2160, 2, 24000, 1000, ycc},
    {68, 4096, 2160, 2, 24000, 1000, rgb}, {69, 4096, 2160, 2, 25000, 1000, ycc},
    {70, 4096, 2160, 2, 25000, 1000, rgb}, {71, 4096, 2160, 2, 30000, 1001, ycc},
    {72, 4096, 2160, 2, 30000, 1001, rgb},
};

struct FormatRow
{
    int width;
    int height;
    int scanMode;
    int wholeRate; // truncated, so that 29.97 and 30 are two rows
    int inputFormat;
    int mediaFormat;
    int recordFormat;
};

constexpr FormatRow formats[] = {
    {720, 486, 1, 29, 13, 20, 21},   {720, 576, 1, 25, 14, 21, 22},   {1280, 720, 0, 50, 12, 18, 19},
    {1280, 720, 0, 59, 11, 17, 18},  {1280, 720, 0, 60, 10, 16, 17},  {1920, 1080, 2, 23, 9, 15, 16},
    {1920, 1080, 2, 24, 8, 14, 15},  {1920, 1080, 2, 25, 7, 13, 14},  {1920, 1080, 2, 29, 6, 12, 13},
    {1920, 1080, 2, 30, 5, 11, 12},  {1920, 1080, 1, 25, 4, 4, 5},    {1920, 1080, 1, 29, 3, 3, 4},
    {1920, 1080, 1, 30, 2, 2, 3},    {1920, 1080, 0, 23, 22, 29, 30}, {1920, 1080, 0, 24, 21, 28, 29},
    {1920, 1080, 0, 25, 20, 27, 28}, {1920, 1080, 0, 29, 19, 26, 27}, {1920, 1080, 0, 30, 18, 25, 26},
    {1920, 1080, 0, 50, 17, 24, 25}, {1920, 1080, 0, 59, 16, 23, 24}, {1920, 1080, 0, 60, 15, 22, 23},
    {2048, 1080, 2, 23, 30, 44, 43}, {2048, 1080, 2, 24, 29, 43, 42}, {2048, 1080, 2, 25, 28, 42, 41},
    {2048, 1080, 2, 29, 27, 41, 40}, {2048, 1080, 2, 30, 26, 40, 39}, {2048, 1080, 1, 25, 25, 39, 38},
    {2048, 1080, 1, 29, 24, 38, 37}, {2048, 1080, 1, 30, 23, 37, 36}, {2048, 1080, 0, 23, 38, 52, 51},
    {2048, 1080, 0, 24, 37, 51, 50}, {2048, 1080, 0, 25, 36, 50, 49}, {2048, 1080, 0, 29, 35, 49, 48},
    {2048, 1080, 0, 30, 34, 48, 47}, {2048, 1080, 0, 50, 33, 47, 46}, {2048, 1080, 0, 59, 32, 46, 45},
    {2048, 1080, 0, 60, 31, 45, 44}, {3840, 2160, 2, 23, 46, 60, 59}, {3840, 2160, 2, 24, 45, 59, 58},
    {3840, 2160, 2, 25, 44, 58, 57}, {3840, 2160, 2, 29, 43, 57, 56}, {3840, 2160, 2, 30, 42, 56, 55},
    {3840, 2160, 1, 25, 41, 55, 54}, {3840, 2160, 1, 29, 40, 54, 53}, {3840, 2160, 1, 30, 39, 53, 52},
    {3840, 2160, 0, 23, 54, 68, 67}, {3840, 2160, 0, 24, 53, 67, 66}, {3840, 2160, 0, 25, 52, 66, 65},
    {3840, 2160, 0, 29, 51, 65, 64}, {3840, 2160, 0, 30, 50, 64, 63}, {3840, 2160, 0, 50, 49, 63, 62},
    {3840, 2160, 0, 59, 48, 62, 61}, {3840, 2160, 0, 60, 47, 61, 60}, {4096, 2160, 2, 23, 62, 76, 75},
    {4096, 2160, 2, 24, 61, 75, 74}, {4096, 2160, 2, 25, 60, 74, 73}, {4096, 2160, 2, 29, 59, 73, 72},
    {4096, 2160, 2, 30, 58, 72, 71}, {4096, 2160, 1, 25, 57, 71, 70}, {4096, 2160, 1, 29, 56, 70, 69},
    {4096, 2160, 1, 30, 55, 69, 68}, {4096, 2160, 0, 23, 70, 84, 83}, {4096, 2160, 0, 24, 69, 83, 82},
    {4096, 2160, 0, 25, 68, 82, 81}, {4096, 2160, 0, 29, 67, 81, 80}, {4096, 2160, 0, 30, 66, 80, 79},
    {4096, 2160, 0, 50, 65, 79, 78}, {4096, 2160, 0, 59, 64, 78, 77}, {4096, 2160, 0, 60, 63, 77, 76},
};

constexpr int unknownFormat = 1;

int findFormat(const QmxImageDesc &desc, int FormatRow::*column)
{
    const int wholeRate = static_cast<int>(desc.frameRate().toDouble());
    for (const FormatRow &row : formats) {
        if (row.wholeRate == wholeRate && row.width == desc.width() && row.height == desc.height() &&
            row.scanMode == desc.scanMode())
            return row.*column;
    }
    qmxLogText(QmxLogLevel::Warning, mainObjectSource, __LINE__,
               QStringLiteral("Failed to find image format for: %1").arg(desc.toString()));
    return unknownFormat;
}

// A variable-rate format by width and the input's rate code (1 23.98, 2 24, 3 25, 4 29.97, 5 30).
struct VariableRateRow
{
    int width;
    int vfrfps;
    int code;
};

constexpr VariableRateRow variableRateRecord[] = {
    {1280, 1, 31}, {1280, 2, 31}, {1280, 3, 33}, {1280, 4, 32}, {1280, 5, 32}, {1920, 1, 34}, {1920, 2, 34},
};

constexpr VariableRateRow variableRateMedia[] = {
    {1280, 1, 30}, {1280, 2, 36}, {1280, 3, 32}, {1280, 4, 31}, {1280, 5, 31}, {1920, 1, 33},
};

/// A width without rows keeps `format`; so does a rate without a row, but that is logged.
int findVariableRate(std::span<const VariableRateRow> rows, int width, int vfrfps, int format)
{
    bool knownWidth = false;
    for (const VariableRateRow &row : rows) {
        if (row.width != width) continue;
        if (row.vfrfps == vfrfps) return row.code;
        knownWidth = true;
    }
    if (knownWidth)
        qmxLogOutput(QmxLogLevel::Warning, mainObjectSource, __LINE__, "Unhandled value %d\n", vfrfps);
    return format;
}

} // namespace

QmxImageDesc sigGenFormatToImgDesc(int code)
{
    QmxImageDesc desc;
    for (const GeneratorRow &row : generator) {
        if (row.code != code) continue;
        desc.setSize(row.width, row.height);
        desc.setAspectRatio(row.width, row.height);
        desc.setFrameRate(QmxVideoRate(row.rateNum, row.rateDen));
        desc.setScanMode(row.scanMode);
        desc.setDataType(row.dataType);
        break;
    }
    return desc;
}

int imageDescToInputFormat(const QmxImageDesc &desc)
{
    return findFormat(desc, &FormatRow::inputFormat);
}

int imageDescToMediaFormat(const QmxImageDesc &desc)
{
    return findFormat(desc, &FormatRow::mediaFormat);
}

int imageDescToRecordFormat(const QmxImageDesc &desc)
{
    return findFormat(desc, &FormatRow::recordFormat);
}

int variableRateRecordFormat(int width, int vfrfps, int format)
{
    return findVariableRate(variableRateRecord, width, vfrfps, format);
}

int variableRateMediaFormat(int width, int vfrfps, int format)
{
    return findVariableRate(variableRateMedia, width, vfrfps, format);
}

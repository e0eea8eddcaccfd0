// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/paramrow.h"

#include <algorithm>
#include <string>

namespace {

using Label = ParamRow::Label;
using Rates = std::vector<const char *>;

// The codes of a run of formats go up by one, the rates in these orders.
const Rates interlacedRates = {"30", "29.97", "25"};
const Rates segmentedRates = {"30", "29.97", "25", "24", "23.98"};
const Rates progressiveRates = {"60", "59.94", "50", "30", "29.97", "25", "24", "23.98"};
const Rates progressive720Rates = {"60", "59.94", "50"};
const Rates generatorRates = {"23.98", "24", "25", "29.97"};
const std::vector<const char *> largeSizes = {"2048x1080", "3840x2160", "4096x2160"};

/// The codes of the first run of each family; the large sizes follow one another from `large` on.
struct Layout
{
    unsigned interlaced1080, segmented1080, progressive720, interlaced486, interlaced576, progressive1080,
        large;
};

unsigned addRun(std::vector<Label> &labels, unsigned code, const std::string &prefix, const Rates &rates)
{
    for (const char *rate : rates)
        labels.emplace_back(code++, prefix + rate);
    return code;
}

std::vector<Label> layOut(const Layout &layout)
{
    std::vector<Label> labels;
    addRun(labels, layout.interlaced1080, "1080i", interlacedRates);
    addRun(labels, layout.segmented1080, "1080psf", segmentedRates);
    addRun(labels, layout.progressive720, "720p", progressive720Rates);
    labels.emplace_back(layout.interlaced486, "486i29.97");
    labels.emplace_back(layout.interlaced576, "576i25");
    addRun(labels, layout.progressive1080, "1080p", progressiveRates);
    unsigned code = layout.large;
    for (const std::string size : largeSizes) {
        code = addRun(labels, code, size + "i", interlacedRates);
        code = addRun(labels, code, size + "psf", segmentedRates);
        code = addRun(labels, code, size + "p", progressiveRates);
    }
    return labels;
}

std::vector<Label> ascending(std::vector<Label> labels)
{
    std::sort(labels.begin(), labels.end());
    return labels;
}

void append(std::vector<Label> &labels, std::initializer_list<Label> more)
{
    labels.insert(labels.end(), more);
}

} // namespace

std::vector<Label> inputFormats()
{
    std::vector<Label> labels = layOut({2, 5, 10, 13, 14, 15, 23});
    append(labels, {{0, "none"}, {1, "unknown"}});
    return ascending(std::move(labels));
}

std::vector<Label> mediaFormats()
{
    std::vector<Label> labels = layOut({2, 11, 16, 20, 21, 22, 37});
    append(labels, {{1, "unknown"},
                    {30, "720p23.98_variable"},
                    {31, "720p30_variable"},
                    {32, "720p25_variable"},
                    {33, "1080p23.98_variable"},
                    {36, "720p24_variable"}});
    return ascending(std::move(labels));
}

std::vector<Label> recordFormats()
{
    std::vector<Label> labels = layOut({3, 12, 17, 21, 22, 23, 36});
    append(labels, {{storeNumber(RecordFormat::None), "none"},
                    {storeNumber(RecordFormat::Unknown), "unknown"},
                    {storeNumber(RecordFormat::NotRecordable), "not_recordable"},
                    {31, "720p24_variable"},
                    {32, "720p30_variable"},
                    {33, "720p25_variable"},
                    {34, "1080p24_variable"}});
    return ascending(std::move(labels));
}

std::vector<Label> generatorFormats()
{
    std::vector<Label> labels = {
        {2, "720p50"},   {3, "720p59.94"},    {4, "1080p23.98"},    {5, "1080i25"},  {6, "1080i29.97"},
        {7, "720p60"},   {8, "1080psf23.98"}, {9, "1080psf24"},     {10, "1080i30"}, {11, "1080p24"},
        {12, "1080p25"}, {13, "1080p29.97"},  {22, "1080psf29.97"}, {23, "1080p50"}, {24, "1080p59.94"}};
    const auto inRgb = [&labels](unsigned code, const std::string &prefix) {
        for (const char *rate : generatorRates)
            labels.emplace_back(code++, prefix + rate + "_rgb");
    };
    inRgb(14, "1080p");
    inRgb(18, "1080psf");
    unsigned code = 25;
    for (const std::string size : largeSizes)
        for (const std::string scan : {"p", "psf"})
            for (const char *rate : generatorRates) {
                labels.emplace_back(code++, size + scan + rate);
                labels.emplace_back(code++, size + scan + rate + "_rgb");
            }
    return ascending(std::move(labels));
}

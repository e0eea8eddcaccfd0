// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movslotsahead.h"

#include "platform/qmx/clip/movlayout.h"

#include <algorithm>

void MovSlotsAhead::read(MovInput &input, const MovFormat &format, const std::vector<qint64> &marks)
{
    std::vector<Runner> runners;
    for (size_t i = 0; i < marks.size(); ++i)
        runners.push_back({marks[i], i + 1 < marks.size() ? marks[i + 1] : input.size()});
    while (!runners.empty()) {
        for (const Runner &runner : runners)
            input.announce(runner.next, MovLayout::slotSize);
        runners.erase(std::remove_if(runners.begin(), runners.end(),
                                     [&](Runner &runner) { return !step(input, format, runner); }),
                      runners.end());
    }
}

/// False when its part of the file is done.
bool MovSlotsAhead::step(MovInput &input, const MovFormat &format, Runner &runner)
{
    uchar slot[MovLayout::slotSize];
    if (runner.next > input.size() - MovLayout::slotSize) return false;
    if (input.read(slot, sizeof slot, runner.next).isError()) return false;
    auto fragment = MovFragment::fromSlot(slot, runner.next, input.size(), format);
    if (!fragment) return false;
    const qint64 here = std::exchange(runner.next, fragment->end);
    _fragments.emplace(here, std::move(*fragment));
    return runner.next < runner.end;
}

std::optional<MovFragment> MovSlotsAhead::take(qint64 slot)
{
    const auto found = _fragments.find(slot);
    if (found == _fragments.end()) return {};
    std::optional<MovFragment> fragment(std::move(found->second));
    _fragments.erase(found);
    return fragment;
}

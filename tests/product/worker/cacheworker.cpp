// SPDX-License-Identifier: GPL-3.0-or-later
// Another process at the shared list of clips, for tests: publishes or reads it without pause until it is
// killed. A reader that finds a torn list ends with status 1.
#include "platform/product/clipcache.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

int main(int argc, char *argv[])
{
    if (argc < 3) return 2;
    const std::string folder = argv[2];
    ClipCache cache(ClipCache::AllClips);
    const bool publishes = std::strcmp(argv[1], "publish") == 0;
    for (int state = 1;; ++state) {
        if (publishes) {
            const std::vector<Clip> clips(2000, Clip("take.mov", folder + "/take.mov", state));
            cache.publish({{folder, 1, true, {}, clips}});
        } else if (const auto listing = cache.listing(folder)) {
            const int first = listing->clips.empty() ? 0 : listing->clips.front().getFrameCount();
            const auto isOfOneState = [first](const Clip &clip) { return clip.getFrameCount() == first; };
            if (!std::all_of(listing->clips.begin(), listing->clips.end(), isOfOneState)) return 1;
        }
        if (state == 1) std::puts("ready"), std::fflush(stdout);
    }
}

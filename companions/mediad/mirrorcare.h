// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/mediad/mediamachine.h"
#include "platform/product/mediaorder.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// Knows which clips are to be on two media and are not known to be whole on both, and has them completed
/// when no take runs and both media are there. Kept in the store, so that neither a restart nor a medium that
/// is away for a week ends it. It has no threads, no clock and no files. One thread.
class MirrorCare
{
public:
    static constexpr std::size_t most = 200; ///< clips; the oldest are forgotten

    /// What the parameter mirror_pending holds: JSON.
    void load(const std::string &text);
    std::string print() const;

    /// `now` in nanoseconds of a steady clock. The next completion to be begun, one at a time; ended() tells
    /// what became of it. `tookPlace`: a take has begun since the step before; it may have ended again.
    std::optional<MediaOrder> step(std::int64_t now, const std::vector<Medium> &media,
                                   const MediaParameters &is, bool tookPlace = false);
    void ended(std::int64_t now, const MediaOrder &order, bool done);
    bool isEmpty() const { return _pending.empty(); }

private:
    struct Pending
    {
        std::string clip;
        std::string one; ///< folders
        std::string other;
        std::int64_t notBefore = 0;
    };
    /// Folders that a take is written to, and the clip that was the current one before it.
    struct Pair
    {
        std::string one;
        std::string other;
        std::string clipBefore;
    };
    void follow(const std::vector<Medium> &media, const MediaParameters &is, bool runs);
    static void followJoin(const std::vector<Medium> &media, const MediaParameters &is, Pending &entry);
    static void followMove(const std::vector<Medium> &media, const MediaParameters &is, Pending &entry);
    void note(const std::vector<Medium> &media, const MediaParameters &is);
    void noteMounts(const std::vector<Medium> &media);

    std::vector<Pending> _pending;
    std::map<std::string, std::uint64_t> _mounts; ///< by path
    Pair _pair;
    bool _wasRecording = false;
    bool _underWay = false;
};

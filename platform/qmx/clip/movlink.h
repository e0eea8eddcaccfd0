// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxblake3.h"

#include <optional>
#include <span>
#include <vector>

/// The second record of a slot: what proves a fragment, and what happened while it was recorded. It follows
/// the first one in the free atom; a reader that does not know it does not miss it.
struct MovLink
{
    struct Loss
    {
        quint32 at = 0; ///< frames were lost before this one, counted from the first of the fragment
        quint32 count = 0;
    };

    quint32 jumpsCrc = 0;  ///< CRC-32C of the timecodes that jump
    quint32 lateTicks = 0; ///< since the take began
    std::vector<Loss> losses;
    /// The link of the chain after this fragment. With `+` for one byte string behind another and H for
    /// BLAKE3: each picture makes it H(link before + H(picture)), the end of a fragment then
    /// H(link before + H(sound + timecodes that jump)). The first one is H of the first timecode's four
    /// bytes.
    QmxBlake3::Digest link{};

    void noteLost(quint32 at, quint32 count);
    QByteArray toBytes() const;
    /// Nothing when the bytes do not begin with a whole record.
    static std::optional<MovLink> parse(std::span<const uchar> bytes);

    static QmxBlake3::Digest first(quint32 timecode);
};

/// The chain of a take, as it grows or as it is gone through once more.
class MovChain
{
public:
    using Digest = QmxBlake3::Digest;

    /// Goes on behind this link; pictures that have been added stay.
    void setLink(const Digest &link) { _link = link; }
    void clearPictures() { _pictures.clear(); }
    void addPicture(const Digest &picture) { _pictures.push_back(picture); }
    /// The fragment is complete with its sound and timecodes.
    Digest endFragment(const Digest &tail);

private:
    Digest _link{};
    std::vector<Digest> _pictures; ///< of the fragment that is not complete
};

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

/// What an operator wants the media daemon to do with one clip, or with the schedule of takes, as it stands
/// in the parameter media_order: a JSON object with the fields "id", "verb", "clip", "from", "to",
/// "everywhere", "entries", "proxy" and "burn". A plain value.
struct MediaOrder
{
    std::string id; ///< chosen by who asks, to know the answer by; may be empty
    /// "copy", "delete", "protect", "unprotect", "rename", "verify", "export", "cancel"; "schedule",
    /// "unschedule"; within the media daemon also "complete"
    std::string verb;
    /// File name (to verify all clips of the medium: empty); number of a take, to unschedule; to cancel: the
    /// id of an order, empty: of the one that is carried out now
    std::string clip;
    std::string from; ///< folder of the medium; the start, to schedule
    /// Folder of the other medium, for a copy; the new name; a path, for export; the end, to schedule
    std::string to;
    /// A clip that lies on a second medium as well is meant in both places.
    bool everywhere = false;
    std::string entries = {}; ///< for export: clips and parts of clips, a line each, as in a play list
    bool proxy = false;       ///< for export: an MP4 for everybody's player
    bool burn = false;        ///< with the timecode in its pictures

    static constexpr int longestId = 64; ///< printable characters

    std::string print() const;
    /// Nothing when the text makes no sense; `problem` then says why, and the id is in `id` if there is one.
    static std::optional<MediaOrder> parse(const std::string &text, std::string &id, std::string &problem);
};

/// How far an order is, as it stands in the parameter media_order_state: a JSON object.
struct MediaOrderState
{
    std::string id;
    std::string state; ///< "running", "done", "refused"
    int percent = 0;
    std::string text; ///< a sentence for the operator
    /// What was found, as a JSON object, for scripts; empty: nothing but the sentence. At most some 12,000
    /// bytes.
    std::string report = {};

    /// `text` is cut and made printable: the parameter takes no control characters and no more than it has
    /// room for.
    std::string print() const;
    static std::optional<MediaOrderState> parse(const std::string &text);
};

/// One medium as the media daemon sees it; the parameter media_report holds all of them as a JSON array.
struct MediumReport
{
    std::string path;
    std::string label;
    std::string state; ///< "active", "next", "mirror", "usable", "full", "read_only", "silent"
    double percentFree = 0;
    long long bytesFree = 0;
    long long bytesTotal = 0;
    int clips = 0;
    int secondsLeft = -1; ///< of recording at the rate of the last take; -1: not known

    static std::string print(const std::vector<MediumReport> &media);
    static std::vector<MediumReport> parse(const std::string &text);
};

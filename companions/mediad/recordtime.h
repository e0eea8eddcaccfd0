// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/mediad/mediamachine.h"
#include "platform/product/mediaorder.h"

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

/// Knows how many bytes a second of recording costs and from that how long takes can still become. It has no
/// threads and no clock.
class RecordTime
{
public:
    /// A running take, as it lies on its medium. Its first moments say nothing and are left out.
    void observe(std::int64_t bytes, std::int64_t frames, double framesPerSecond);
    /// The room of all media, a few times a minute: what goes beside our own take is written by others, the
    /// further channels of the machine among them. `now` in nanoseconds of a steady clock.
    void observeRoom(std::int64_t now, const std::vector<Medium> &media);
    /// Bytes a second that others have written on a medium in the last while; 0: nobody, or not known yet.
    double othersRate(const std::string &path) const;
    /// Bytes a second that a take in the present settings can come to (see nominalRate()); 0: not known.
    void setNominal(double bytesPerSecond) { _nominal = bytesPerSecond; }
    /// Bytes a second: of the take that runs or ran last, else of the newest clip, but never less than the
    /// next one can come to: an easy picture says nothing of the one to come. 0: not known.
    double rate(const std::vector<Medium> &media) const;
    /// Seconds until a medium reaches `level` percent free, as the transport rounds it; -1: not known.
    static int secondsLeft(const Medium &medium, double level, double rate);

    struct Report
    {
        std::vector<MediumReport> media;
        int secondsLeft = 0; ///< of one take over all media that it can go on to; 0: none, or not known
    };
    Report report(const std::vector<Medium> &media, const MediaParameters &parameters) const;

private:
    struct Room
    {
        std::int64_t time = 0;
        std::int64_t bytesFree = 0;
        std::int64_t recordedBytes = 0; ///< of our own take
        std::int64_t bytesTotal = 0;
    };
    std::map<std::string, std::deque<Room>> _rooms; ///< by path, oldest first
    double _rate = 0;
    double _nominal = 0;
};

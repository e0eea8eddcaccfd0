// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/mediad/mediamachine.h"
#include "platform/store/storevalue.h"

#include <chrono>
#include <deque>
#include <memory>
#include <string>
#include <unordered_map>

class Config;

/// The media daemon's way to the configuration store: what it wants written, in order, and a limit to the
/// time that one step may lose with a store that does not answer.
///
/// A write that the parameter's own rules refuse can never succeed: it is told once, in the log and as an
/// alarm, and dropped. What the
/// store did not take is tried again. The machine waits for its own writes; what operators are told (answers
/// to orders) has a queue of its own, which holds up nobody. One thread.
class MediaStore
{
public:
    static constexpr std::size_t mostAnswers = 256; ///< waiting; the oldest goes first, told in the log

    /// `config` is a direct access to the store.
    explicit MediaStore(std::unique_ptr<Config> config);
    ~MediaStore();

    Config &config() { return *_config; }

    /// From now on the store is asked again, until it has cost this step its time.
    void beginStep();
    /// The store's word, or the last one known when it does not answer or this step has no time left for it.
    unsigned number(eParam_t id);
    std::string text(eParam_t id);

    /// Carried out in this order, by writeQueued(); nothing else may be queued before they are through.
    void queue(const std::vector<MediaWrite> &writes);
    /// True when nothing of the machine's waits any more.
    bool writeQueued();
    /// An answer to an order.
    void answer(const std::string &text);
    /// What could not be told is old news: the alarm goes.
    void forgetLost();
    /// Once: what may be lost. True when it was written.
    bool write(const MediaWrite &order);

private:
    enum class Outcome { Done, Refused, Failed };
    Outcome tryToWrite(const MediaWrite &order);
    const StoreValue &value(eParam_t id);
    bool mayAsk() const;
    void tellLost(const std::string &text);
    void raiseLost();
    void answered(std::chrono::steady_clock::time_point since, bool done);

    std::unique_ptr<Config> _config;
    std::deque<MediaWrite> _queued;
    std::deque<MediaWrite> _answers;
    std::unordered_map<unsigned, StoreValue> _known; ///< as last read or written, else the default
    std::chrono::steady_clock::duration _lost{};     ///< of this step, with questions that had no answer
    std::string _told;                               ///< the reason that was logged last
    std::string _lostText;                           ///< what the alarm is still to say
    bool _lostTold = false;                          ///< the alarm is up
};

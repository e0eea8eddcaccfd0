// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/mediastore.h"

#include "platform/qmx/core/qmxloglevel.h"
#include "platform/store/alarmproducer.h"
#include "platform/store/alarmvalue.h"
#include "platform/store/config.h"

namespace {

constexpr const char *module = "mediastore";
/// Questions without an answer that one step waits for. A server that hangs takes seconds for each, a step
/// asks more than ten, and the loop has to turn in between.
constexpr std::chrono::milliseconds patience{500};

using Clock = std::chrono::steady_clock; // others hold the store up, so their time counts

StoreValue valueOf(const MediaWrite &order)
{
    switch (order.kind) {
    case MediaWrite::Number:
        return StoreValue::fromUnsigned(order.number);
    case MediaWrite::Text:
        return StoreValue::fromString(order.text);
    case MediaWrite::RaiseAlarm:
        return StoreValue::fromData(alarmValue(AlarmSeverity::Error, order.text));
    case MediaWrite::ClearAlarm:
        break;
    }
    return StoreValue::fromData({});
}

} // namespace

MediaStore::MediaStore(std::unique_ptr<Config> config) : _config(std::move(config)) {}

MediaStore::~MediaStore() = default;

void MediaStore::beginStep()
{
    _lost = {};
}

bool MediaStore::mayAsk() const
{
    return _lost < patience;
}

void MediaStore::answered(Clock::time_point since, bool done)
{
    if (!done) _lost += Clock::now() - since;
}

const StoreValue &MediaStore::value(eParam_t id)
{
    StoreValue &value = _known.try_emplace(id, GetDescriptor(id)->defaultValue()).first->second;
    if (!mayAsk()) return value;
    const auto since = Clock::now();
    answered(since, _config->getValue(id, value));
    return value;
}

unsigned MediaStore::number(eParam_t id)
{
    return value(id).number;
}

std::string MediaStore::text(eParam_t id)
{
    return value(id).text;
}

MediaStore::Outcome MediaStore::tryToWrite(const MediaWrite &order)
{
    const ParamDescriptor *descriptor = GetDescriptor(order.id);
    const StoreValue value = valueOf(order);
    std::string reason;
    if (!descriptor || !descriptor->check(value, reason)) {
        tellLost(reason + "; it is not written");
        return Outcome::Refused;
    }
    if (!mayAsk()) return Outcome::Failed;
    const auto since = Clock::now();
    const bool done = _config->setValue(order.id, value);
    answered(since, done);
    if (!done && _told != _config->lastError()) {
        _told = _config->lastError();
        qmxLogOutput(QmxLogLevel::Error, module, __LINE__, "%s; trying again\n", _told.c_str());
    }
    if (!done) return Outcome::Failed;
    _told.clear();
    // What this step asks for next is what it has just written, whether or not the store still answers.
    _known[order.id] = value;
    raiseLost();
    return Outcome::Done;
}

void MediaStore::tellLost(const std::string &text)
{
    qmxLogText(QmxLogLevel::Error, module, __LINE__, QString::fromStdString(text));
    _lostText = text;
    raiseLost();
}

/// While the store refuses this has to wait like everything else.
void MediaStore::raiseLost()
{
    if (_lostText.empty() || !mayAsk()) return;
    if (!AlarmProducer::raise(_config.get(), eParam_AlarmStoreRefused,
                              kel::alarms::Alarm_Severity(AlarmSeverity::Warning), _lostText))
        return;
    _lostText.clear();
    _lostTold = true;
}

void MediaStore::forgetLost()
{
    if (_lostTold && AlarmProducer::clear(_config.get(), eParam_AlarmStoreRefused)) _lostTold = false;
}

bool MediaStore::write(const MediaWrite &order)
{
    return tryToWrite(order) == Outcome::Done;
}

void MediaStore::queue(const std::vector<MediaWrite> &writes)
{
    _queued.insert(_queued.end(), writes.begin(), writes.end());
}

void MediaStore::answer(const std::string &text)
{
    if (_answers.size() >= mostAnswers) {
        tellLost("An answer to an order is lost, the store does not take it: " + _answers.front().text);
        _answers.pop_front();
    }
    _answers.push_back({eParam_MediaOrderState, MediaWrite::Text, 0, text});
}

bool MediaStore::writeQueued()
{
    while (!_queued.empty() && tryToWrite(_queued.front()) != Outcome::Failed)
        _queued.pop_front();
    while (!_answers.empty() && tryToWrite(_answers.front()) != Outcome::Failed)
        _answers.pop_front();
    return _queued.empty();
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/redisbackend.h"

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/store/paramdescriptor.h"
#include "platform/store/redisfleet.h"
#include "platform/store/redisrow.h"
#include "platform/store/redisscripts.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <ctime>

namespace {

constexpr int tries = 4;                // of one write: lost, made anew, fallen back, and again
constexpr int rememberSeconds = 86'400; // how long the server knows a batch that may come again
constexpr int logRows = 100'000;        // what the log keeps; an older cursor gets a snapshot
constexpr int alarmRows = 1'000;        // what the alarm history keeps
constexpr qint64 nsPerMicrosecond = 1'000;
constexpr qint64 microseconds = 1'000'000;

template <class Number>
Number numberOf(const std::string &text)
{
    Number number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

/// What the script must know of a parameter.
std::string flagsOf(const StoreWrite &write)
{
    const ParamDescriptor *descriptor = GetDescriptor(write.id);
    if (!descriptor) return {};
    std::string flags;
    if (descriptor->everyWriteIsEvent()) flags += 'e';
    if (descriptor->keep() == ParamDescriptor::Keep::Command) flags += 'c';
    if (descriptor->isAlarm()) flags += 'a';
    if (descriptor->defaultValue() == write.value) flags += 'd';
    return flags;
}

std::string utc(qint64 time)
{
    const auto seconds = static_cast<time_t>(time / microseconds);
    struct tm parts
    {};
    char text[32];
    ::gmtime_r(&seconds, &parts);
    return std::string(text, ::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &parts));
}

/// The row in an entry of the log: [id, [i, ID, r, ROW]].
const std::string &rowOf(const RedisValue &entry)
{
    return entry.at(1).at(3).text;
}

std::string nameOfWriter(const StoreContext &context, const std::string &origin, qint64 now)
{
    static std::atomic<int> count = 0;
    return origin + ":" + context.source + ":" + std::to_string(now) + ":" + std::to_string(++count);
}

} // namespace

std::string RedisBackend::standardPasswordFile()
{
    return QmxEnvironment::current().places->redisPassword.toStdString();
}

RedisBackend::RedisBackend(const StoreContext &context, const RedisAddress &address,
                           const std::string &passwordFile)
    : _context(context),
      _address(address),
      _origin(RedisRow::thisOrigin()),
      _connection(address, passwordFile, context.interrupted),
      _wakeup(address, passwordFile, context.interrupted, key("log")),
      _writer(nameOfWriter(context, _origin, wallMicroseconds()))
{}

RedisBackend::~RedisBackend() = default;

qint64 RedisBackend::wallMicroseconds() const
{
    return _context.environment.clock->wallTime() / nsPerMicrosecond;
}

/// The braces keep all keys of a recorder on one server of a cluster.
std::string RedisBackend::key(const std::string &name) const
{
    return "xp:{" + _address.recorder + "}:" + name;
}

RedisBackend::Words RedisBackend::storeKeys() const
{
    return {key("epoch"), key("version"), key("param"), key("log")};
}

StoreResult RedisBackend::missing() const
{
    return {StoreResult::Unreachable, "the configuration store " + _address.text() +
                                          " does not exist; it is made as soon as it can be written"};
}

/// Two recorders of one name would take each other's commands: the first one has it, for as long as it says
/// so.
StoreResult RedisBackend::claim()
{
    constexpr int holdsSeconds = 15;
    constexpr qint64 renewEvery = 2 * microseconds;
    const qint64 now = wallMicroseconds();
    if (_claimed > 0 && now >= _claimed && now - _claimed < renewEvery) return {};
    const std::string who = RedisFleet::thisRecorder();
    const std::string where = RedisFleet::addressOf(_connection.descriptor());
    RedisValue answer;
    StoreResult result = _connection.ask({"EVAL", RedisScripts::claim, "1", key("machine"), who,
                                          who + " " + where, std::to_string(holdsSeconds)},
                                         answer);
    if (!result.isDone()) return result;
    // (A server that has just fallen back refuses writes: that is said by whatever comes next.)
    if (answer.at(0).text != "taken") {
        if (!answer.isError()) _claimed = now;
        return {};
    }
    const RedisFleet::Member holder = RedisFleet::memberOf(_address.recorder, answer.at(1).text);
    return {
        StoreResult::Unreachable,
        "the recorder " + _address.text() + " is already there: it is " + holder.machine + " at " +
            holder.address + ", and this is " + RedisFleet::memberOf({}, who).machine + " at " + where +
            "; give one of them a name of its own in the first line of /etc/xp/store, and start it again"};
}

/// Done: there is an answer and it is no error.
StoreResult RedisBackend::ask(const Words &command, RedisValue &answer, bool *lost)
{
    StoreResult result = _connection.open();
    if (result.isDone() && _context.isRecorder) {
        result = claim();
        if (!result.isDone() && _connection.isOpen()) return result;
    }
    if (result.isDone()) {
        result = _connection.ask(command, answer);
        if (lost) *lost = !result.isDone();
        if (result.isDone()) {
            if (answer.isError()) {
                result = _connection.refusal(answer);
                // Another server has taken over; the next connection is to it.
                if (result.code == StoreResult::ReadOnly) _connection.close();
                return result;
            }
            _lastAnswer = wallMicroseconds();
            return {};
        }
    }
    if (_lastAnswer > 0) result.text += ". It answered last on " + utc(_lastAnswer);
    return result;
}

StoreResult RedisBackend::run(const char *script, const Words &keys, const Words &arguments,
                              RedisValue &answer, Answer &outcome, bool *lost)
{
    Words command{"EVAL", script, std::to_string(keys.size())};
    command.insert(command.end(), keys.begin(), keys.end());
    command.insert(command.end(), arguments.begin(), arguments.end());
    StoreResult result = ask(command, answer, lost);
    if (!result.isDone()) return result;
    static const std::unordered_map<std::string, Answer> outcomes = {
        {"done", Answer::Done}, {"gone", Answer::Gone}, {"back", Answer::Back}, {"there", Answer::There}};
    const auto found = outcomes.find(answer.at(0).text);
    if (found == outcomes.end())
        return {StoreResult::Damaged, "the configuration store " + _address.text() + " answers nonsense: '" +
                                          answer.at(0).text + "'"};
    outcome = found->second;
    return {};
}

StoreResult RedisBackend::put(const std::vector<Order> &orders, const std::string &source,
                              const std::string &writer, quint64 firstTry, RedisValue &answer,
                              Answer &outcome, bool *lost)
{
    Words keys = storeKeys();
    keys.push_back(key("alarms"));
    keys.push_back(key("done:" + writer));
    Words arguments{std::to_string(_newest),
                    std::to_string(firstTry),
                    std::to_string(++_try),
                    std::to_string(rememberSeconds),
                    std::to_string(logRows),
                    std::to_string(alarmRows),
                    std::to_string(wallMicroseconds()),
                    _origin,
                    RedisRow::sourceText(source)};
    for (const Order &order : orders) {
        arguments.push_back(std::to_string(order.write.id));
        arguments.push_back(std::to_string(static_cast<int>(order.write.value.kind)));
        arguments.push_back(flagsOf(order.write));
        arguments.push_back(order.expected > 0 ? std::to_string(order.expected) : std::string());
        arguments.push_back(RedisRow::valueText(order.write.value));
    }
    return run(RedisScripts::write, keys, arguments, answer, outcome, lost);
}

StoreResult RedisBackend::commit(const std::vector<Order> &orders, std::vector<quint64> &versions, bool &lost)
{
    StoreResult result;
    bool lostBefore = false;
    for (int attempt = 0; attempt < tries; ++attempt) {
        RedisValue answer;
        Answer outcome = Answer::Done;
        lost = false;
        result = put(orders, _context.source, _writer, _firstTry, answer, outcome, &lost);
        const bool again = lost && !lostBefore; // a server that has just been started anew is there again
        lostBefore = lostBefore || lost;
        if (again) continue;
        if (result.isDone() && outcome == Answer::Done) {
            for (std::size_t i = 0; i < versions.size(); ++i)
                versions[i] = numberOf<quint64>(answer.at(i + 1).text);
            if (!versions.empty())
                _newest = std::max(_newest, *std::max_element(versions.begin(), versions.end()));
            lost = false;
            return {};
        }
        bool first = false;
        if (result.isDone())
            result = outcome == Answer::Gone ? create() : beginEpoch(answer.at(1).text, first);
        if (!result.isDone()) break;
    }
    lost = lostBefore;
    return result.isDone() ? missing() : result;
}

StoreResult RedisBackend::write(const std::vector<StoreWrite> &writes, std::vector<quint64> &versions)
{
    versions.assign(writes.size(), 0);
    const auto isSame = [](const StoreWrite &a, const StoreWrite &b) {
        return a.id == b.id && a.value == b.value;
    };
    const bool isRepeat = !_unanswered.empty() && writes.size() >= _unanswered.size() &&
                          std::equal(_unanswered.begin(), _unanswered.end(), writes.begin(), isSame);
    if (!isRepeat) {
        _unanswered.clear();
        _firstTry = _try + 1;
    }
    std::vector<Order> orders;
    orders.reserve(writes.size());
    for (const StoreWrite &one : writes)
        orders.push_back({one, 0});
    bool lost = false;
    StoreResult result = commit(orders, versions, lost);
    if (result.isDone()) {
        _unanswered.clear();
        return result;
    }
    if (lost) _unanswered = writes;
    if (!_unanswered.empty())
        result.text = "it is unknown whether the change was made (made again it counts once): " + result.text;
    return result;
}

StoreResult RedisBackend::read(eParam_t id, std::optional<StoredValue> &stored)
{
    stored.reset();
    RedisValue answer;
    Answer outcome = Answer::Done;
    StoreResult result = run(RedisScripts::read, storeKeys(), {std::to_string(id)}, answer, outcome);
    if (!result.isDone()) return result;
    if (outcome == Answer::Gone) return missing();
    StoredValue found;
    std::string origin;
    // A row of another form was written by another program: as good as none.
    if (answer.at(1).isText() && RedisRow::parse(answer.at(1).text, found, origin)) stored = std::move(found);
    return {};
}

StoreResult RedisBackend::take(StoreImage &image, StoreCursor &cursor, Origins *origins)
{
    image.clear();
    RedisValue answer;
    Answer outcome = Answer::Done;
    StoreResult result = run(RedisScripts::snapshot, storeKeys(), {}, answer, outcome);
    if (!result.isDone()) return result;
    if (outcome == Answer::Gone) return missing();
    cursor.epoch = answer.at(1).text;
    cursor.version = numberOf<quint64>(answer.at(2).text);
    _newest = std::max(_newest, cursor.version);
    const std::vector<RedisValue> &rows = answer.at(4).items;
    for (std::size_t i = 0; i + 1 < rows.size(); i += 2) {
        StoredValue stored;
        std::string origin;
        if (!RedisRow::parse(rows[i + 1].text, stored, origin)) continue;
        const auto id = numberOf<std::uint32_t>(rows[i].text);
        image[id] = std::move(stored);
        if (origins) (*origins)[id] = std::move(origin);
    }
    const RedisValue &last = answer.at(3).at(0);
    const bool isCursors = numberOf<quint64>(last.at(0).text) == cursor.version;
    _seen = cursor.version;
    _seenRow = isCursors ? rowOf(last) : std::string();
    return {};
}

StoreResult RedisBackend::snapshot(StoreImage &image, StoreCursor &cursor)
{
    return take(image, cursor, nullptr);
}

StoreResult RedisBackend::changes(const StoreCursor &cursor, int most, std::vector<StoreChange> &changes,
                                  bool &reload)
{
    changes.clear();
    reload = false;
    RedisValue answer;
    Answer outcome = Answer::Done;
    // The entry at the cursor comes along: it tells whether this is still the history that was read.
    StoreResult result = run(RedisScripts::changes, storeKeys(),
                             {std::to_string(cursor.version), std::to_string(most + 1)}, answer, outcome);
    if (!result.isDone()) return result;
    if (outcome == Answer::Gone) return missing();
    const std::string &epoch = answer.at(1).text;
    const auto newest = numberOf<quint64>(answer.at(2).text);
    _newest = std::max(_newest, cursor.version);
    reload = epoch != cursor.epoch;
    if (reload) return {};
    bool hasFallenBack = newest < cursor.version;
    quint64 expected = cursor.version + 1;
    std::string row = _seen == cursor.version ? _seenRow : std::string();
    for (const RedisValue &entry : answer.at(3).items) {
        const auto version = numberOf<quint64>(entry.at(0).text);
        if (version == cursor.version) {
            hasFallenBack = hasFallenBack || (!row.empty() && row != rowOf(entry));
            continue;
        }
        StoreChange change{eParam_t(numberOf<std::uint32_t>(entry.at(1).at(1).text)), {}};
        std::string origin;
        row = rowOf(entry);
        // Every version has its entry: a gap means that the log was cut before the reader got there.
        reload = reload || version != expected++ || !RedisRow::parse(row, change.stored, origin);
        changes.push_back(std::move(change));
    }
    if (changes.empty() && newest > cursor.version) reload = true;
    if (static_cast<int>(changes.size()) > most) {
        // The cursor's own entry had been cut off.
        changes.pop_back();
        row.clear();
    }
    if (hasFallenBack || reload) {
        changes.clear();
        reload = true;
        bool first = false;
        return hasFallenBack ? beginEpoch(epoch, first) : StoreResult();
    }
    _seen = changes.empty() ? cursor.version : changes.back().stored.version;
    _seenRow = std::move(row);
    _newest = std::max(_newest, _seen);
    return {};
}

int RedisBackend::listen()
{
    return _connection.isOpen() ? _wakeup.listen(_seen) : -1;
}

void RedisBackend::drain()
{
    _wakeup.drain();
}

void RedisBackend::care()
{
    if (_context.isRecorder && ++_careRounds % StoreContext::roundsUntilClear == 0) clearLeftovers(false);
}

StoreResult RedisBackend::alarmHistory(int newest, std::vector<AlarmRecord> &records)
{
    records.clear();
    if (newest <= 0) return {};
    RedisValue answer;
    StoreResult result = ask({"LRANGE", key("alarms"), std::to_string(-newest), "-1"}, answer);
    if (!result.isDone()) return result;
    for (const RedisValue &item : answer.items) {
        StoredValue stored;
        std::string origin;
        const auto space = item.text.find(' ');
        if (space == std::string::npos || !RedisRow::parse(item.text.substr(space + 1), stored, origin))
            continue;
        AlarmRecord record;
        record.id = eParam_t(numberOf<std::uint32_t>(item.text));
        record.message = stored.value.text; // the message as it is stored; StoreConfig takes it apart
        record.source = stored.source;
        record.time = {static_cast<time_t>(stored.time / microseconds),
                       static_cast<suseconds_t>(stored.time % microseconds)};
        records.push_back(std::move(record));
    }
    return {};
}

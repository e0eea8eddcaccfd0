// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// What runs inside the server, each in one step that nobody sees half of. Every script answers with a list
/// whose first word says how it went: "done", "gone" (there is no store), "back" (the store is older than
/// the caller knows) or "there" (somebody else was first).
namespace RedisScripts {

/// KEYS: epoch, version, param, log, alarms, the writer's last batch.
/// ARGV: version known, number of the first try of this batch, number of this try, seconds to remember it,
/// rows of the log, rows of the alarm history, time, origin, source; then for each write: id, kind, flags,
/// version that must be replaced (or empty), value. Flags: e every write is an event, c a command (leaves no
/// value), a an alarm, d the default.
/// Answers with a version for each write ("0": it changes nothing), or "back" with the epoch.
inline constexpr const char *write = R"lua(
if redis.call('EXISTS', KEYS[1]) == 0 then return {'gone'} end
if tonumber(redis.call('GET', KEYS[2]) or '0') < tonumber(ARGV[1]) then return {'back', redis.call('GET', KEYS[1])} end

-- What an earlier try of the same batch has done stays done.
local versions = {}
local tried = redis.call('GET', KEYS[6])
if tried then
  local numbers = {}
  for number in string.gmatch(tried, '%d+') do numbers[#numbers + 1] = number end
  if tonumber(numbers[1]) >= tonumber(ARGV[2]) then
    for i = 2, #numbers do versions[i - 1] = numbers[i] end
  end
end

local function put(id, kind, flags, expected, value)
  local row = redis.call('HGET', KEYS[3], id)
  local oldKind, oldVersion, oldValue
  if row then
    oldKind, oldVersion = string.match(row, '^(%d+) (%d+) ')
    oldValue = string.sub(row, string.find(row, '\n', 1, true) + 1)
  end
  if expected ~= '' and expected ~= oldVersion then return '0' end
  if not string.find(flags, 'e', 1, true) then
    if row and oldKind == kind and oldValue == value then return '0' end
    if not row and string.find(flags, 'd', 1, true) then return '0' end
  end
  local version = string.format('%.0f', redis.call('INCR', KEYS[2]))
  local new = table.concat({kind, version, ARGV[7], ARGV[8], ARGV[9]}, ' ') .. '\n' .. value
  -- The log first: where a server breaks off here, readers see the gap.
  redis.call('XADD', KEYS[4], 'MAXLEN', '~', ARGV[5], version .. '-0', 'i', id, 'r', new)
  if not string.find(flags, 'c', 1, true) then redis.call('HSET', KEYS[3], id, new) end
  if string.find(flags, 'a', 1, true) then
    redis.call('RPUSH', KEYS[5], id .. ' ' .. new)
    redis.call('LTRIM', KEYS[5], '-' .. ARGV[6], '-1')
  end
  return version
end

local index = 0
for at = 10, #ARGV, 5 do
  index = index + 1
  if not versions[index] then
    versions[index] = put(ARGV[at], ARGV[at + 1], ARGV[at + 2], ARGV[at + 3], ARGV[at + 4])
  end
end
redis.call('SET', KEYS[6], ARGV[3] .. ' ' .. table.concat(versions, ' '), 'EX', ARGV[4])
table.insert(versions, 1, 'done')
return versions
)lua";

/// KEYS: epoch, version, param, log. Answers with epoch, version, the log's newest entry, all rows.
inline constexpr const char *snapshot = R"lua(
local epoch = redis.call('GET', KEYS[1])
if not epoch then return {'gone'} end
return {'done', epoch, redis.call('GET', KEYS[2]) or '0',
        redis.call('XREVRANGE', KEYS[4], '+', '-', 'COUNT', '1'), redis.call('HGETALL', KEYS[3])}
)lua";

/// KEYS: epoch, version, param, log. ARGV: version of the cursor, most entries. Answers with epoch, version,
/// the entries of the log from the cursor's own on.
inline constexpr const char *changes = R"lua(
local epoch = redis.call('GET', KEYS[1])
if not epoch then return {'gone'} end
return {'done', epoch, redis.call('GET', KEYS[2]) or '0',
        redis.call('XRANGE', KEYS[4], ARGV[1] .. '-0', '+', 'COUNT', ARGV[2])}
)lua";

/// KEYS: epoch, version, param, log. ARGV: id. Answers with the row, or nothing.
inline constexpr const char *read = R"lua(
if redis.call('EXISTS', KEYS[1]) == 0 then return {'gone'} end
return {'done', redis.call('HGET', KEYS[3], ARGV[1])}
)lua";

/// KEYS: epoch, version, param, log, alarms. ARGV: the new epoch, a version below which no write may come;
/// then for each parameter: id, flags, row. Flags: a an alarm that is up.
inline constexpr const char *create = R"lua(
if redis.call('EXISTS', KEYS[1]) == 1 then return {'there'} end
local top = math.max(tonumber(ARGV[2]), tonumber(redis.call('GET', KEYS[2]) or '0'))
local last = redis.call('XREVRANGE', KEYS[4], '+', '-', 'COUNT', '1')
if last[1] then top = math.max(top, tonumber(string.match(last[1][1], '^%d+'))) end
redis.call('SET', KEYS[2], string.format('%.0f', top))
for at = 3, #ARGV, 3 do
  redis.call('HSETNX', KEYS[3], ARGV[at], ARGV[at + 2])
  if ARGV[at + 1] == 'a' then redis.call('RPUSH', KEYS[5], ARGV[at] .. ' ' .. ARGV[at + 2]) end
end
redis.call('SET', KEYS[1], ARGV[1] .. '+' .. string.format('%.0f', top))
return {'done'}
)lua";

/// KEYS: epoch, version, param, log. ARGV: the epoch that has gone back, the new epoch, a version below which
/// no write may come.
inline constexpr const char *beginEpoch = R"lua(
if redis.call('GET', KEYS[1]) ~= ARGV[1] then return {'there'} end
local top = math.max(tonumber(ARGV[3]), tonumber(redis.call('GET', KEYS[2]) or '0'))
redis.call('SET', KEYS[2], string.format('%.0f', top))
redis.call('SET', KEYS[1], ARGV[2] .. '+' .. string.format('%.0f', top))
return {'done'}
)lua";

/// KEYS: machine. ARGV: who the recorder is, who it is and where, seconds that this holds. Answers with
/// "taken" and who has the name when it is another one.
inline constexpr const char *claim = R"lua(
local holder = redis.call('GET', KEYS[1])
if holder and string.sub(holder, 1, #ARGV[1] + 1) ~= ARGV[1] .. ' ' then return {'taken', holder} end
redis.call('SET', KEYS[1], ARGV[2], 'EX', ARGV[3])
return {'done'}
)lua";

/// KEYS: epoch, version, param, log, alarms and machine of the old name, then those of the new one. Answers
/// with "gone" (there is no such recorder), "there" (the new name is taken) or "taken" and who uses it now.
inline constexpr const char *rename = R"lua(
if redis.call('EXISTS', KEYS[1]) == 0 then return {'gone'} end
local holder = redis.call('GET', KEYS[6])
if holder then return {'taken', holder} end
if redis.call('EXISTS', KEYS[7], KEYS[12]) > 0 then return {'there'} end
for at = 5, 1, -1 do
  if redis.call('EXISTS', KEYS[at]) == 1 then redis.call('RENAME', KEYS[at], KEYS[at + 6]) end
end
return {'done'}
)lua";

/// KEYS: epoch, version, param, log, alarms and machine. Answers as rename does.
inline constexpr const char *remove = R"lua(
if redis.call('EXISTS', KEYS[1]) == 0 then return {'gone'} end
local holder = redis.call('GET', KEYS[6])
if holder then return {'taken', holder} end
redis.call('DEL', KEYS[1], KEYS[2], KEYS[3], KEYS[4], KEYS[5])
return {'done'}
)lua";

} // namespace RedisScripts

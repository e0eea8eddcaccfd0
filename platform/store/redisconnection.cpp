// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/redisconnection.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include <fcntl.h>
#include <hiredis/hiredis.h>
#include <poll.h>
#include <sys/socket.h>

namespace {

constexpr timeval connectTimeout{1, 0};
constexpr std::chrono::milliseconds resolvedWithin(1000);
constexpr std::chrono::milliseconds answerWithin(2000); // a server that hangs is as good as none
constexpr std::chrono::milliseconds slice(50);          // between two looks at whether to go on waiting
constexpr std::size_t readBytes = 64 * 1024;
constexpr std::size_t mostBytes = std::size_t(128) << 20; // of one answer
constexpr long long mostElements = 1 << 20;               // of it: the whole log, and its entries

RedisValue valueOf(const redisReply &reply)
{
    RedisValue value;
    switch (reply.type) {
    case REDIS_REPLY_STRING:
    case REDIS_REPLY_STATUS:
    case REDIS_REPLY_ERROR:
        value.kind = reply.type == REDIS_REPLY_ERROR ? RedisValue::Kind::Error : RedisValue::Kind::Text;
        value.text.assign(reply.str, reply.len);
        break;
    case REDIS_REPLY_INTEGER:
        value.kind = RedisValue::Kind::Number;
        value.number = reply.integer;
        break;
    case REDIS_REPLY_ARRAY:
        value.kind = RedisValue::Kind::List;
        value.items.reserve(reply.elements);
        for (std::size_t i = 0; i < reply.elements; ++i)
            value.items.push_back(valueOf(*reply.element[i]));
        break;
    default:
        break;
    }
    return value;
}

/// Makes a reader refuse what no store answers: the library takes the memory for as many elements as an
/// answer begins with, whether or not they come.
void limitAnswers(redisReader &reader, long long &elements)
{
    reader.privdata = &elements;
    static const redisReplyObjectFunctions *const standard = reader.fn;
    static redisReplyObjectFunctions limited = [] {
        redisReplyObjectFunctions functions = *standard;
        functions.createArray = [](const redisReadTask *task, auto count) -> void * {
            // (Each is a hundred bytes and more in memory, and may be four on the wire.)
            auto &sum = *static_cast<long long *>(task->privdata);
            sum += static_cast<long long>(count);
            return sum > mostElements ? nullptr : standard->createArray(task, count);
        };
        return functions;
    }();
    reader.fn = &limited;
}

struct ReplyDeleter
{
    void operator()(void *reply) const { freeReplyObject(reply); }
};

/// A command as it goes over the wire; empty when there is no memory for it.
std::string wireFormat(const RedisConnection::Words &command)
{
    std::vector<const char *> words;
    std::vector<std::size_t> lengths;
    for (const std::string &word : command) {
        words.push_back(word.data());
        lengths.push_back(word.size());
    }
    char *formatted = nullptr;
    const auto length =
        redisFormatCommandArgv(&formatted, static_cast<int>(words.size()), words.data(), lengths.data());
    const std::unique_ptr<char, decltype(&redisFreeCommand)> holder(formatted, redisFreeCommand);
    return length > 0 ? std::string(formatted, static_cast<std::size_t>(length)) : std::string();
}

} // namespace

const RedisValue &RedisValue::at(std::size_t index) const
{
    static const RedisValue none;
    return index < items.size() ? items[index] : none;
}

void RedisConnection::Closer::operator()(redisContext *context) const
{
    redisFree(context);
}

RedisConnection::RedisConnection(const RedisAddress &address, const std::string &passwordFile,
                                 std::shared_ptr<std::atomic<bool>> interrupted)
    : _address(address), _passwordFile(passwordFile), _interrupted(std::move(interrupted))
{}

RedisConnection::~RedisConnection() = default;

void RedisConnection::close()
{
    _context.reset();
}

int RedisConnection::descriptor() const
{
    return _context ? _context->fd : -1;
}

StoreResult RedisConnection::failure(const std::string &what) const
{
    return {StoreResult::Unreachable, "the configuration store " + _address.text() + " cannot be reached: " +
                                          what + "; check that the server runs and the network to it"};
}

StoreResult RedisConnection::open()
{
    if (_context) {
        // Nothing has been asked: only an end can have come, and a command need not be lost to learn that.
        pollfd descriptor{_context->fd, POLLIN, 0};
        if (::poll(&descriptor, 1, 0) == 0) return {};
        close();
    }
    if (_interrupted && *_interrupted) return failure("the program ends");
    RedisAddress::Endpoint endpoint = _address.endpoints.front();
    StoreResult result;
    if (!_address.master.empty()) result = findMaster(endpoint);
    if (result.isDone()) result = connect(endpoint);
    if (result.isDone()) result = introduce();
    if (!result.isDone()) close();
    return result;
}

StoreResult RedisConnection::connect(const RedisAddress::Endpoint &endpoint)
{
    std::string why;
    const std::string address = _hosts.address(endpoint.host, resolvedWithin, why);
    if (address.empty()) return failure(why);
    _context.reset(redisConnectWithTimeout(address.c_str(), endpoint.port, connectTimeout));
    if (!_context) return failure("there is no memory for a connection");
    if (_context->err != 0) {
        why = _context->errstr;
        close();
        return failure(why);
    }
    limitAnswers(*_context->reader, _elements);
    // From here on this class waits itself, so that it can stop waiting.
    const int flags = ::fcntl(_context->fd, F_GETFL);
    if (flags < 0 || ::fcntl(_context->fd, F_SETFL, flags | O_NONBLOCK) < 0) {
        why = std::strerror(errno);
        close();
        return failure(why);
    }
    ::fcntl(_context->fd, F_SETFD, FD_CLOEXEC);
    redisEnableKeepAlive(_context.get());
    return {};
}

/// The first sentinel that answers knows.
StoreResult RedisConnection::findMaster(RedisAddress::Endpoint &endpoint)
{
    StoreResult result;
    for (const RedisAddress::Endpoint &sentinel : _address.endpoints) {
        result = connect(sentinel);
        RedisValue answer;
        if (result.isDone()) result = ask({"SENTINEL", "get-master-addr-by-name", _address.master}, answer);
        close();
        if (!result.isDone()) continue;
        if (answer.at(0).isText() && answer.at(1).isText()) {
            endpoint = {answer.at(0).text, std::atoi(answer.at(1).text.c_str())};
            return {};
        }
        result =
            failure(answer.isError() ? answer.text : "the sentinels know no server named " + _address.master);
    }
    return result;
}

StoreResult RedisConnection::introduce()
{
    errno = 0;
    std::ifstream file(_passwordFile);
    if (!file) {
        const int error = errno;
        if (error == ENOENT || error == ENOTDIR) return {};
        return {StoreResult::Unreachable, "cannot read the password of the configuration store from " +
                                              _passwordFile + ": " + std::strerror(error) +
                                              "; let the recorder's group read it"};
    }
    std::string password;
    std::getline(file, password);
    password.erase(password.find_last_not_of(" \t\r") + 1);
    if (password.empty()) return {};
    RedisValue answer;
    StoreResult result = ask({"AUTH", password}, answer);
    // A server that wants no password is content without.
    if (result.isDone() && answer.isError() && answer.text.find("no password is set") == std::string::npos &&
        answer.text.find("without any password configured") == std::string::npos)
        result = refusal(answer);
    return result;
}

StoreResult RedisConnection::refusal(const RedisValue &answer) const
{
    struct Row
    {
        const char *prefix;
        StoreResult::Code code;
        const char *help;
    };
    static constexpr std::array rows{
        Row{"NOAUTH", StoreResult::Unreachable, "write the server's password into the file "},
        Row{"WRONGPASS", StoreResult::Unreachable, "correct the password in the file "},
        Row{"ERR invalid password", StoreResult::Unreachable, "correct the password in the file "},
        Row{"READONLY", StoreResult::ReadOnly, "the address is that of a copy; give that of the master"},
        Row{"MISCONF", StoreResult::Full, "free its disk and look into its log"},
        Row{"OOM", StoreResult::Full, "raise its maxmemory"},
        Row{"LOADING", StoreResult::Unreachable, "it has just been started; this passes"},
        Row{"BUSY", StoreResult::Busy, "another program runs a long script there"},
    };
    const std::string start =
        "the configuration store " + _address.text() + " refuses: " + answer.text + "; ";
    for (const Row &row : rows) {
        if (!answer.text.starts_with(row.prefix)) continue;
        const std::string help = row.help;
        return {row.code, start + help + (help.ends_with(' ') ? _passwordFile : std::string())};
    }
    return {StoreResult::Unreachable, start + "look into the server's log"};
}

bool RedisConnection::waitFor(short events)
{
    // A server's time is the machine's, not that of this program's clock.
    // Only the time without a byte counts, but over the whole answer: one that dribbles is none.
    for (; _waited < answerWithin; _waited += slice) {
        pollfd descriptor{_context->fd, events, 0};
        const int ready = ::poll(&descriptor, 1, int(slice.count()));
        if (ready > 0) return true;
        if (ready < 0 && errno != EINTR) break;
        if (_interrupted && *_interrupted) {
            _lost = "the program ends";
            return false;
        }
    }
    _lost = "the server does not answer";
    return false;
}

bool RedisConnection::send(const Words &command)
{
    const std::string bytes = wireFormat(command);
    for (std::size_t sent = 0; sent < bytes.size();) {
        const ssize_t count = ::send(_context->fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count >= 0) {
            sent += static_cast<std::size_t>(count);
            continue;
        }
        if (errno == EINTR) continue;
        if (errno != EAGAIN && errno != EWOULDBLOCK) {
            _lost = std::strerror(errno);
            return false;
        }
        if (!waitFor(POLLOUT)) return false;
    }
    return !bytes.empty();
}

RedisConnection::Received RedisConnection::receive(RedisValue &answer)
{
    for (;;) {
        void *reply = nullptr;
        if (redisReaderGetReply(_context->reader, &reply) != REDIS_OK) {
            _lost = _context->reader->errstr;
            return Received::Lost;
        }
        if (reply) {
            const std::unique_ptr<void, ReplyDeleter> holder(reply);
            answer = valueOf(*static_cast<redisReply *>(reply));
            _received = 0; // of the next one
            _elements = 0;
            return Received::Answer;
        }
        std::array<char, readBytes> buffer;
        const ssize_t count = ::recv(_context->fd, buffer.data(), buffer.size(), 0);
        if (count > 0) {
            redisReaderFeed(_context->reader, buffer.data(), static_cast<std::size_t>(count));
            _received += static_cast<std::size_t>(count);
            if (_received <= mostBytes) continue;
            _lost = "its answer is longer than any store's";
            return Received::Lost;
        }
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return Received::Nothing;
        _lost = count == 0 ? "the server has closed the connection" : std::strerror(errno);
        return Received::Lost;
    }
}

StoreResult RedisConnection::ask(const Words &command, RedisValue &answer, bool *sent)
{
    _received = 0;
    _elements = 0;
    _waited = {};
    if (sent) *sent = true; // half a command is none, but who knows how much has arrived
    bool isThere = send(command);
    while (isThere) {
        switch (receive(answer)) {
        case Received::Answer:
            return {};
        case Received::Lost:
            isThere = false;
            break;
        case Received::Nothing:
            isThere = waitFor(POLLIN);
            break;
        }
    }
    close();
    return failure(_lost);
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/debug/keyboardtransport.h"

#include "tests/support/logcollector.h"
#include "tests/support/print.h"
#include "tests/support/stepper.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <pty.h>
#include <unistd.h>

namespace {

/// Puts another descriptor in the place of one of the process for a while.
class Replaced
{
public:
    Replaced(int fd, int by) : _fd(fd), _saved(::dup(fd)) { ::dup2(by, fd); }
    ~Replaced()
    {
        std::fflush(stdout);
        ::dup2(_saved, _fd);
        ::close(_saved);
    }

private:
    int _fd;
    int _saved;
};

/// A terminal of which the test has the other side: it types and reads the screen.
class Terminal
{
public:
    Terminal()
    {
        EXPECT_EQ(::openpty(&_master, &slave, nullptr, nullptr, nullptr), 0);
        ::fcntl(_master, F_SETFL, O_NONBLOCK);
    }
    ~Terminal()
    {
        ::close(_master);
        ::close(slave);
    }
    void type(const QByteArray &keys)
    {
        EXPECT_EQ(::write(_master, keys.constData(), size_t(keys.size())), keys.size());
    }
    QByteArray screen()
    {
        std::fflush(stdout);
        QByteArray all;
        char buffer[4096];
        for (ssize_t size = 0; (size = ::read(_master, buffer, sizeof buffer)) > 0;)
            all.append(buffer, size);
        return all;
    }
    termios settings() const
    {
        termios result = {};
        EXPECT_EQ(::tcgetattr(slave, &result), 0);
        return result;
    }
    int slave = -1;

private:
    int _master = -1;
};

/// Writes down what the keys ask for.
struct Wishes : QObject
{
    explicit Wishes(KeyboardTransport &keys)
    {
        using K = KeyboardTransport;
        connect(&keys, &K::play, this, [this](double speed) { all << QStringLiteral("play %1").arg(speed); });
        connect(&keys, &K::step, this, [this](int frames) { all << QStringLiteral("step %1").arg(frames); });
        const std::pair<void (K::*)(), const char *> plain[] = {
            {&K::still, "still"},   {&K::fastfwd, "fastfwd"},       {&K::rewind, "rewind"},
            {&K::record, "record"}, {&K::toggleMeta, "meta"},       {&K::cameraRecord, "camera"},
            {&K::quit, "quit"},     {&K::standbyOff, "standbyOff"},
        };
        for (const auto &[signal, name] : plain)
            connect(&keys, signal, this, [this, name = name] { all << QString::fromLatin1(name); });
    }
    QStringList all;
};

constexpr int tick = 100; // ms

VtrState playing(double speed)
{
    VtrState state;
    state.setMode(VtrMode::Play);
    state.setSpeed(speed);
    return state;
}

} // namespace

TEST(KeyboardTransport, keysBecomeWishesOnTheStateOfTheLastRefresh)
{
    Terminal terminal;
    const Replaced in(STDIN_FILENO, terminal.slave), out(STDOUT_FILENO, terminal.slave);
    KeyboardTransport keys(nullptr);
    Wishes wishes(keys);
    terminal.type(" RrFfNnPpOoCcVvMmQqSs+-\x03\x1b\r");
    Stepper::runMs(tick);
    EXPECT_EQ(wishes.all, QStringList({"play 1", "rewind",   "rewind",   "fastfwd",    "fastfwd",    "step 1",
                                       "step 1", "step -1",  "step -1",  "standbyOff", "standbyOff", "record",
                                       "record", "camera",   "camera",   "meta",       "meta",       "quit",
                                       "quit",   "play 0.1", "play -0.1"}));
    wishes.all.clear();
    keys.setVtrState(playing(1.0));
    terminal.type("++ ");
    Stepper::runMs(tick);
    keys.setVtrState(playing(1.1));
    terminal.type("+");
    Stepper::runMs(tick);
    EXPECT_EQ(wishes.all, QStringList({"play 1.1", "play 1.1", "still", "play 1.2"}));
}

TEST(KeyboardTransport, takesTheTerminalAndGivesItBack)
{
    Terminal terminal;
    const Replaced in(STDIN_FILENO, terminal.slave), out(STDOUT_FILENO, terminal.slave);
    const termios before = terminal.settings();
    {
        KeyboardTransport keys(nullptr);
        const termios raw = terminal.settings();
        EXPECT_EQ(raw.c_lflag & (ECHO | ECHONL | ICANON | ISIG | IEXTEN), 0u);
        EXPECT_EQ(raw.c_iflag & (IGNBRK | BRKINT | PARMRK | ISTRIP | INLCR | IGNCR | ICRNL | IXON), 0u);
        EXPECT_EQ(raw.c_oflag, before.c_oflag);
        EXPECT_EQ(raw.c_cflag & (CSIZE | PARENB), tcflag_t(CS8));
        terminal.screen();
    }
    const termios after = terminal.settings();
    EXPECT_EQ(after.c_lflag, before.c_lflag);
    EXPECT_EQ(after.c_iflag, before.c_iflag);
    EXPECT_EQ(after.c_cflag, before.c_cflag);
    EXPECT_EQ(terminal.screen(), QByteArray("\r\n\r\n"));
    QStringList keysToldOf;
    for (const QString &line : LogCollector::texts("keyboardtransport"))
        keysToldOf.append(line.section(' ', 0, 0));
    EXPECT_EQ(keysToldOf.join(' '), "Space R F S N P O C V M +/-");
}

TEST(KeyboardTransport, rewritesAnUnchangedLineEveryTwoSeconds)
{
    Terminal terminal;
    const Replaced in(STDIN_FILENO, terminal.slave), out(STDOUT_FILENO, terminal.slave);
    KeyboardTransport keys(nullptr);
    int refreshes = 0;
    QObject::connect(&keys, &KeyboardTransport::refreshed, &keys, [&] { ++refreshes; });
    keys.setStatus(QStringLiteral("VR 1"));
    Stepper::runMs(41 * tick);
    EXPECT_EQ(refreshes, 41);
    const QByteArray line = "[--:--:--:--] 0.000 Invalid  VR 1                    \r";
    EXPECT_EQ(terminal.screen(), line + line + line);

    keys.setCurrentTimecode(QmxTimecode(1, 2, 3, 4, 25, 0));
    keys.setVtrState(playing(-2.0));
    Stepper::runMs(3 * tick);
    EXPECT_EQ(terminal.screen(), QByteArray("[01:02:03:04] -2.000 Play  VR 1                    \r"));
}

TEST(KeyboardTransport, theEndOfInputIsNoKey)
{
    Terminal terminal;
    const Replaced out(STDOUT_FILENO, terminal.slave);
    int pipe[2];
    ASSERT_EQ(::pipe(pipe), 0);
    ASSERT_EQ(::write(pipe[1], "r", 1), 1);
    ::close(pipe[1]);
    const Replaced in(STDIN_FILENO, pipe[0]);
    KeyboardTransport keys(nullptr);
    Wishes wishes(keys);
    Stepper::runMs(5 * tick);
    EXPECT_EQ(wishes.all, QStringList({"rewind"}));
    ::close(pipe[0]);
}

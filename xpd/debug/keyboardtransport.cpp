// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/debug/keyboardtransport.h"

#include "platform/qmx/core/qmxloglevel.h"

#include <cstdio>

#include <sys/select.h>
#include <unistd.h>

namespace {

constexpr const char *logSource = "keyboardtransport";
constexpr int helpFirstLine = 29;

constexpr int pollInterval = 100; // ms
constexpr int forcedRedraw = 20;  // every so many redraws, that is every two seconds
constexpr double speedStep = 0.1;

// As printed. Stop has no key, and quit is not told.
constexpr const char *help[] = {
    "Space  Toggle Play/Still\n",
    "R      Rewind\n",
    "F      Fast Forward\n",
    "S      Stop\n",
    "N      Step to next frame\n",
    "P      Step to previous frame\n",
    "O      Standby Off (E-E mode)\n",
    "C      Record\n",
    "V      Toggle Camera Record\n",
    "M      Toggle Debug Metadata\n",
    "+/-    Varispeed\n",
};

bool keyIsWaiting()
{
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(STDIN_FILENO, &readable);
    timeval none = {};
    return ::select(STDIN_FILENO + 1, &readable, nullptr, nullptr, &none) > 0;
}

} // namespace

/// One row a key; letters stand for both cases.
struct KeyboardTransport::Keys
{
    using Action = void (*)(KeyboardTransport &);
    struct Row
    {
        char key;
        Action action;
    };

    static void toggle(KeyboardTransport &k)
    {
        if (k._state.speedFlags().isStill())
            emit k.play(1.0);
        else
            emit k.still();
    }

    static constexpr Row rows[] = {
        {' ', toggle},
        {'r', [](KeyboardTransport &k) { emit k.rewind(); }},
        {'f', [](KeyboardTransport &k) { emit k.fastfwd(); }},
        {'n', [](KeyboardTransport &k) { emit k.step(1); }},
        {'p', [](KeyboardTransport &k) { emit k.step(-1); }},
        {'o', [](KeyboardTransport &k) { emit k.standbyOff(); }},
        {'c', [](KeyboardTransport &k) { emit k.record(); }},
        {'v', [](KeyboardTransport &k) { emit k.cameraRecord(); }},
        {'m', [](KeyboardTransport &k) { emit k.toggleMeta(); }},
        {'+', [](KeyboardTransport &k) { emit k.play(k._state.speed() + speedStep); }},
        {'-', [](KeyboardTransport &k) { emit k.play(k._state.speed() - speedStep); }},
        {'q', [](KeyboardTransport &k) { emit k.quit(); }},
    };
};

KeyboardTransport::KeyboardTransport(QObject *parent) : QObject(parent)
{
    startTimer(pollInterval);

    ::tcgetattr(STDIN_FILENO, &_savedTerminal);
    termios raw = _savedTerminal;
    raw.c_iflag &= ~static_cast<tcflag_t>(IGNBRK | BRKINT | PARMRK | ISTRIP | INLCR | IGNCR | ICRNL | IXON);
    raw.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL | ICANON | ISIG | IEXTEN);
    raw.c_cflag &= ~static_cast<tcflag_t>(CSIZE | PARENB);
    raw.c_cflag |= CS8;
    // Output flags stay: the log's line feeds still return the carriage.
    ::tcsetattr(STDIN_FILENO, TCSANOW, &raw);

    int line = helpFirstLine;
    for (const char *text : help)
        qmxLogOutput(QmxLogLevel::Info, logSource, line++, "%s", text);
}

KeyboardTransport::~KeyboardTransport()
{
    ::tcsetattr(STDIN_FILENO, TCSANOW, &_savedTerminal);
    std::puts("\n");
}

void KeyboardTransport::setVtrState(const VtrState &state)
{
    _state = state;
}

void KeyboardTransport::setStatus(const QString &status)
{
    _status = status;
}

void KeyboardTransport::setCurrentTimecode(const QmxTimecode &timecode)
{
    _timecode = timecode;
}

void KeyboardTransport::timerEvent(QTimerEvent *)
{
    // The end of input is readable for ever: it ends the polling of this tick, like an error.
    char key;
    while (keyIsWaiting() && ::read(STDIN_FILENO, &key, 1) == 1)
        handleKey(key);
    redraw();
    emit refreshed();
}

void KeyboardTransport::handleKey(char key)
{
    const char lower = key >= 'A' && key <= 'Z' ? static_cast<char>(key - 'A' + 'a') : key;
    for (const Keys::Row &row : Keys::rows) {
        if (row.key == lower) {
            row.action(*this);
            return;
        }
    }
}

void KeyboardTransport::redraw()
{
    const bool forced = _redraws++ % forcedRedraw == 0;
    const QString line = QStringLiteral("[%1] %2 %3").arg(_timecode.toString(), _state.toString(), _status);
    if (!forced && line == _lastLine) return;
    _lastLine = line;
    // The blanks overwrite the end of a longer line before.
    std::printf("%s                    \r", line.toLocal8Bit().constData());
    std::fflush(stdout);
}
